// The preview as a child window: draws the live picture and turns a press into an exposure.
#include "simulator/quillet/preview.h"

#include "platform/win32/text.h"

#include <iterator>
#include <string>
#include <string_view>
#include <windows.h>

namespace {

constexpr wchar_t ClassName[] = L"QuilletSimulatorPreview";
constexpr UINT_PTR FrameTimer = 1;

// Its window may end with the owner before it is closed.
class PreviewWindow : public Preview
{
public:
    PreviewWindow(HWND owner, const ScreenArea& area, const SensorLink& sensor);
    ~PreviewWindow() override;

    bool Exists() const override;
    bool IsOver(const void* owner) const override { return m_owner == owner; }
    void Arm() override;
    void Disarm() override;

private:
    static LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
    void FollowSensor();
    void Expose();
    void Paint() const;
    void Draw(HDC dc, SIZE size) const;

    const HWND m_owner;
    HWND m_window = nullptr;
    SensorWatch m_sensor;
    std::uint64_t m_shownSince = 0; // milliseconds of the system's clock
};

void Line(HDC dc, int fromX, int fromY, int toX, int toY);
void DrawGrid(HDC dc, SIZE size);
void DrawCountdown(HDC dc, SIZE size, Color color, double share);
void DrawLine(HDC dc, RECT place, std::string_view text, Color color, int height, UINT flags);
COLORREF Solid(Color color);
COLORREF OnBackground(Color color);
HINSTANCE ThisLibrary();

} // namespace

std::unique_ptr<Preview> OpenPreview(void* owner, const ScreenArea& area, const SensorLink& sensor)
{
    return std::make_unique<PreviewWindow>(static_cast<HWND>(owner), area, sensor);
}

void* FindInTarn(const char* name)
{
    const HMODULE tarn = GetModuleHandleW(L"Tarn.dll");
    return tarn != nullptr ? reinterpret_cast<void*>(GetProcAddress(tarn, name)) : nullptr;
}

namespace {

PreviewWindow::PreviewWindow(HWND owner, const ScreenArea& area, const SensorLink& sensor)
    : m_owner(owner), m_sensor(sensor)
{
    WNDCLASSW windowClass{};
    windowClass.lpfnWndProc = &Procedure;
    windowClass.hInstance = ThisLibrary();
    windowClass.hCursor = LoadCursorW(nullptr, m_sensor.CanExpose() ? IDC_HAND : IDC_ARROW);
    windowClass.lpszClassName = ClassName;
    RegisterClassW(&windowClass);
    POINT corner{area.left, area.top};
    ScreenToClient(m_owner, &corner);
    m_window = CreateWindowExW(0, ClassName, L"Preview", WS_CHILD | WS_CLIPSIBLINGS | WS_TABSTOP,
                               corner.x, corner.y, area.width, area.height, m_owner, nullptr,
                               windowClass.hInstance, nullptr);
    SetWindowLongPtrW(m_window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
}

PreviewWindow::~PreviewWindow()
{
    if (Exists()) {
        SetWindowLongPtrW(m_window, GWLP_USERDATA, 0);
        Disarm();
        DestroyWindow(m_window);
    }
}

bool PreviewWindow::Exists() const
{
    return IsWindow(m_window) != FALSE &&
           reinterpret_cast<PreviewWindow*>(GetWindowLongPtrW(m_window, GWLP_USERDATA)) == this;
}

void PreviewWindow::Arm()
{
    wchar_t focused[16] = {};
    const HWND focus = GetFocus();
    GetClassNameW(focus, focused, static_cast<int>(std::size(focused)));
    const LONG kind = GetWindowLongW(focus, GWL_STYLE) & BS_TYPEMASK;
    const bool onPushButton = std::wstring_view(focused) == L"Button" &&
                              (kind == BS_PUSHBUTTON || kind == BS_DEFPUSHBUTTON);
    m_shownSince = GetTickCount64();
    SetTimer(m_window, FrameTimer, FramePeriod, nullptr);
    FollowSensor();
    SetWindowPos(m_window, HWND_TOP, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE | SWP_SHOWWINDOW);
    if (focus == nullptr || onPushButton || GetParent(focus) != m_owner) {
        SetFocus(m_window);
    }
}

void PreviewWindow::Disarm()
{
    KillTimer(m_window, FrameTimer);
    // Left to itself the focus would go on to a button, and a second Space would press that.
    if (GetFocus() == m_window) {
        SetFocus(m_owner);
    }
    ShowWindow(m_window, SW_HIDE);
}

void PreviewWindow::FollowSensor()
{
    m_sensor.Follow();
    InvalidateRect(m_window, nullptr, FALSE);
}

void PreviewWindow::Expose()
{
    m_sensor.Expose();
    FollowSensor();
}

LRESULT CALLBACK PreviewWindow::Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    auto* const preview =
        reinterpret_cast<PreviewWindow*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    if (preview == nullptr) {
        return DefWindowProcW(window, message, wParam, lParam);
    }
    switch (message) {
    case WM_ERASEBKGND:
        return TRUE;
    case WM_PAINT:
        preview->Paint();
        return 0;
    case WM_TIMER:
        preview->FollowSensor();
        return 0;
    case WM_LBUTTONDOWN:
        SetFocus(window);
        preview->Expose();
        return 0;
    case WM_KEYDOWN:
        if (wParam == VK_SPACE && (lParam & 1 << 30) == 0) { // no repetition
            preview->Expose();
        }
        return 0;
    default:
        return DefWindowProcW(window, message, wParam, lParam);
    }
}

// By way of a bitmap, so that nothing flickers.
void PreviewWindow::Paint() const
{
    PAINTSTRUCT paint;
    const HDC screen = BeginPaint(m_window, &paint);
    RECT client;
    GetClientRect(m_window, &client);
    const HDC dc = CreateCompatibleDC(screen);
    const HBITMAP bitmap = CreateCompatibleBitmap(screen, client.right, client.bottom);
    const HGDIOBJ former = SelectObject(dc, bitmap);
    Draw(dc, {client.right, client.bottom});
    if (GetFocus() == m_window) {
        DrawFocusRect(dc, &client);
    }
    BitBlt(screen, 0, 0, client.right, client.bottom, dc, 0, 0, SRCCOPY);
    SelectObject(dc, former);
    DeleteObject(bitmap);
    DeleteDC(dc);
    EndPaint(m_window, &paint);
}

void PreviewWindow::Draw(HDC dc, SIZE size) const
{
    const PhaseLook& look = m_sensor.Look();
    const double seconds = static_cast<double>(GetTickCount64() - m_shownSince) / 1000.0;

    const RECT whole{0, 0, size.cx, size.cy};
    SetDCBrushColor(dc, Solid(Background));
    FillRect(dc, &whole, static_cast<HBRUSH>(GetStockObject(DC_BRUSH)));
    DrawGrid(dc, size);
    SetDCPenColor(dc, Solid(Mark));
    const int x = static_cast<int>(SweepPosition(seconds) * size.cx);
    Line(dc, x, 0, x, size.cy);
    if (m_sensor.ShareLeft() > 0.0) {
        DrawCountdown(dc, size, look.lamp, m_sensor.ShareLeft());
    }

    // Top left the lamp and the state; bottom, in the middle, what to do now and how long it takes.
    SetDCPenColor(dc, Solid(look.lamp));
    SetDCBrushColor(dc, Solid(look.lamp));
    SelectObject(dc, GetStockObject(DC_BRUSH));
    Ellipse(dc, 2 * Margin, 2 * Margin + 3, 2 * Margin + 12, 2 * Margin + 15);
    DrawLine(dc, {2 * Margin + 20, 2 * Margin, size.cx, 2 * Margin + 18}, look.state, Text, 15,
             DT_LEFT | DT_VCENTER);
    DrawLine(dc, {0, size.cy - 80, size.cx, size.cy - 55}, look.prompt, Text, 18,
             DT_CENTER | DT_VCENTER);
    DrawLine(dc, {0, size.cy - 55, size.cx, size.cy - 35}, m_sensor.Countdown(), Gray, 13,
             DT_CENTER | DT_VCENTER);
}

void Line(HDC dc, int fromX, int fromY, int toX, int toY)
{
    MoveToEx(dc, fromX, fromY, nullptr);
    LineTo(dc, toX, toY);
}

// Lines are counted from the middle, where the beam's center should be.
void DrawGrid(HDC dc, SIZE size)
{
    const int centerX = static_cast<int>(size.cx) / 2;
    const int centerY = static_cast<int>(size.cy) / 2;
    SelectObject(dc, GetStockObject(DC_PEN));
    for (int i = -centerX / GridStep; i * GridStep <= centerX; ++i) {
        SetDCPenColor(dc, OnBackground(GridLine(i)));
        Line(dc, centerX + i * GridStep, 0, centerX + i * GridStep, size.cy);
    }
    for (int i = -centerY / GridStep; i * GridStep <= centerY; ++i) {
        SetDCPenColor(dc, OnBackground(GridLine(i)));
        Line(dc, 0, centerY + i * GridStep, size.cx, centerY + i * GridStep);
    }
    SetDCPenColor(dc, Solid(Mark));
    SelectObject(dc, GetStockObject(HOLLOW_BRUSH));
    for (const int radius : {GridStep, RingRadius}) {
        Ellipse(dc, centerX - radius, centerY - radius, centerX + radius, centerY + radius);
    }
    Line(dc, centerX - 4 * GridStep, centerY, centerX + 4 * GridStep, centerY);
    Line(dc, centerX, centerY - 4 * GridStep, centerX, centerY + 4 * GridStep);
}

// A ring around the middle that runs out clockwise. share: what is left, 0 to 1.
void DrawCountdown(HDC dc, SIZE size, Color color, double share)
{
    const int centerX = static_cast<int>(size.cx) / 2;
    const int centerY = static_cast<int>(size.cy) / 2;
    const HPEN pen = CreatePen(PS_SOLID, 5, Solid(color));
    const HGDIOBJ former = SelectObject(dc, pen);
    MoveToEx(dc, centerX, centerY - RingRadius, nullptr);
    AngleArc(dc, centerX, centerY, RingRadius, 90.0F, static_cast<float>(share * 360.0));
    SelectObject(dc, former);
    DeleteObject(pen);
}

void DrawLine(HDC dc, RECT place, std::string_view text, Color color, int height, UINT flags)
{
    const std::wstring wide = Wide(text);
    const HFONT font = CreateFontW(-height, 0, 0, 0, FW_NORMAL, FALSE, FALSE, FALSE,
                                   DEFAULT_CHARSET, OUT_DEFAULT_PRECIS, CLIP_DEFAULT_PRECIS,
                                   DEFAULT_QUALITY, DEFAULT_PITCH, L"MS Shell Dlg");
    const HGDIOBJ former = SelectObject(dc, font);
    SetBkMode(dc, TRANSPARENT);
    SetTextColor(dc, Solid(color));
    DrawTextW(dc, wide.c_str(), static_cast<int>(wide.size()), &place,
              flags | DT_SINGLELINE | DT_NOPREFIX);
    SelectObject(dc, former);
    DeleteObject(font);
}

COLORREF Solid(Color color)
{
    return RGB(color.red, color.green, color.blue);
}

// The system's lines do not shine through; these look like it on the background.
COLORREF OnBackground(Color color)
{
    const auto mix = [&color](int above, int below) {
        return below + ((above - below) * color.alpha + 127) / 255;
    };
    return RGB(mix(color.red, Background.red), mix(color.green, Background.green),
               mix(color.blue, Background.blue));
}

HINSTANCE ThisLibrary()
{
    static const char Anchor = 0;
    HMODULE module = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS |
                           GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       reinterpret_cast<const wchar_t*>(&Anchor), &module);
    return module;
}

} // namespace
