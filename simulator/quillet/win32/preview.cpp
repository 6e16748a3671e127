// Draws the live picture and turns a press into an exposure.
#include "simulator/quillet/win32/preview.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <numbers>
#include <string>
#include <windows.h>

namespace {

constexpr wchar_t ClassName[] = L"QuilletSimulatorPreview";
constexpr UINT_PTR FrameTimer = 1;
constexpr UINT FramePeriod = 40;    // milliseconds
constexpr double SweepPeriod = 4.0; // seconds
constexpr int GridStep = 24;        // pixels; every fifth line is a major one
constexpr int Margin = 18;
constexpr int RingRadius = 3 * GridStep;

constexpr COLORREF Background = RGB(9, 17, 22);
constexpr COLORREF MinorLine = RGB(16, 32, 37);
constexpr COLORREF MajorLine = RGB(24, 55, 62);
constexpr COLORREF Mark = RGB(120, 226, 226);
constexpr COLORREF Text = RGB(226, 240, 240);
constexpr COLORREF Gray = RGB(140, 160, 164);
constexpr COLORREF Amber = RGB(255, 184, 60);
constexpr COLORREF Green = RGB(96, 222, 130);
constexpr COLORREF Red = RGB(255, 94, 72);

// What the picture says in each phase of the sensor; the seconds left stand between the last two.
struct PhaseLook
{
    std::uint32_t phase;
    COLORREF lamp;
    const wchar_t* state;
    const wchar_t* prompt;
    const wchar_t* before;
    const wchar_t* after;
};
constexpr PhaseLook PhaseLooks[] = {
    {PhaseIdle, Gray, L"SENSOR IDLE", L"", L"", L""},
    {PhaseArming, Amber, L"ARMING", L"The sensor is getting ready", L"ready in ", L" s"},
    {PhaseArmed, Green, L"SENSOR ARMED", L"Click here or press Space to expose", L"", L" s left"},
    {PhaseReading, Red, L"READING OUT", L"The image is on its way", L"image in ", L" s"},
};
// With a capture library that does not tell its phase.
constexpr PhaseLook UnknownLook = {0, Green, L"SENSOR ARMED", L"", L"", L""};

HINSTANCE ThisLibrary();

} // namespace

struct Preview::Painter
{
    static LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
    static void Paint(const Preview& preview, HWND window);
    static void Draw(const Preview& preview, HDC dc, SIZE size);
    static const PhaseLook& LookOf(const Preview& preview);
};

void* FindInTarn(const char* name)
{
    const HMODULE tarn = GetModuleHandleW(L"Tarn.dll");
    return tarn != nullptr ? reinterpret_cast<void*>(GetProcAddress(tarn, name)) : nullptr;
}

Preview::Preview(void* owner, const ScreenArea& area, const SensorLink& sensor)
    : m_owner(owner), m_window(nullptr), m_sensor(sensor)
{
    WNDCLASSW windowClass{};
    windowClass.lpfnWndProc = &Painter::Procedure;
    windowClass.hInstance = ThisLibrary();
    windowClass.hCursor = LoadCursorW(nullptr, sensor.expose != nullptr ? IDC_HAND : IDC_ARROW);
    windowClass.lpszClassName = ClassName;
    RegisterClassW(&windowClass);
    POINT corner{area.left, area.top};
    ScreenToClient(static_cast<HWND>(owner), &corner);
    const HWND window = CreateWindowExW(
        0, ClassName, L"Preview", WS_CHILD | WS_CLIPSIBLINGS | WS_TABSTOP, corner.x, corner.y,
        area.width, area.height, static_cast<HWND>(owner), nullptr, windowClass.hInstance, nullptr);
    SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
    m_window = window;
}

// The window may have gone with its owner.
Preview::~Preview()
{
    const auto window = static_cast<HWND>(m_window);
    if (IsWindow(window) != FALSE &&
        reinterpret_cast<Preview*>(GetWindowLongPtrW(window, GWLP_USERDATA)) == this) {
        SetWindowLongPtrW(window, GWLP_USERDATA, 0);
        Disarm();
        DestroyWindow(window);
    }
}

void Preview::Arm()
{
    const auto window = static_cast<HWND>(m_window);
    wchar_t focused[16] = {};
    const HWND focus = GetFocus();
    GetClassNameW(focus, focused, static_cast<int>(std::size(focused)));
    const LONG kind = GetWindowLongW(focus, GWL_STYLE) & BS_TYPEMASK;
    const bool onPushButton = std::wstring_view(focused) == L"Button" &&
                              (kind == BS_PUSHBUTTON || kind == BS_DEFPUSHBUTTON);
    m_shownSince = GetTickCount64();
    SetTimer(window, FrameTimer, FramePeriod, nullptr);
    FollowSensor();
    SetWindowPos(window, HWND_TOP, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE | SWP_SHOWWINDOW);
    if (focus == nullptr || onPushButton || GetParent(focus) != m_owner) {
        SetFocus(window);
    }
}

void Preview::Disarm()
{
    const auto window = static_cast<HWND>(m_window);
    KillTimer(window, FrameTimer);
    // Left to itself the focus would go on to a button, and a second Space would press that.
    if (GetFocus() == window) {
        SetFocus(static_cast<HWND>(m_owner));
    }
    ShowWindow(window, SW_HIDE);
}

void Preview::FollowSensor()
{
    double secondsLeft = -1.0;
    const std::uint32_t phase = m_sensor.phase != nullptr ? m_sensor.phase(&secondsLeft) : m_phase;
    if (phase != m_phase || m_phaseLength < secondsLeft) {
        m_phase = phase;
        m_phaseLength = secondsLeft;
    }
    m_secondsLeft = secondsLeft;
}

void Preview::Expose()
{
    if (m_sensor.expose != nullptr) {
        m_sensor.expose();
        FollowSensor();
        InvalidateRect(static_cast<HWND>(m_window), nullptr, FALSE);
    }
}

LRESULT CALLBACK Preview::Painter::Procedure(HWND window, UINT message, WPARAM wParam,
                                             LPARAM lParam)
{
    auto* const preview = reinterpret_cast<Preview*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    if (preview == nullptr) {
        return DefWindowProcW(window, message, wParam, lParam);
    }
    switch (message) {
    case WM_ERASEBKGND:
        return TRUE;
    case WM_PAINT:
        Paint(*preview, window);
        return 0;
    case WM_TIMER:
        preview->FollowSensor();
        InvalidateRect(window, nullptr, FALSE);
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
void Preview::Painter::Paint(const Preview& preview, HWND window)
{
    PAINTSTRUCT paint;
    const HDC screen = BeginPaint(window, &paint);
    RECT client;
    GetClientRect(window, &client);
    const HDC dc = CreateCompatibleDC(screen);
    const HBITMAP bitmap = CreateCompatibleBitmap(screen, client.right, client.bottom);
    const HGDIOBJ former = SelectObject(dc, bitmap);
    Draw(preview, dc, {client.right, client.bottom});
    if (GetFocus() == window) {
        DrawFocusRect(dc, &client);
    }
    BitBlt(screen, 0, 0, client.right, client.bottom, dc, 0, 0, SRCCOPY);
    SelectObject(dc, former);
    DeleteObject(bitmap);
    DeleteDC(dc);
    EndPaint(window, &paint);
}

namespace {

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
        SetDCPenColor(dc, i % 5 == 0 ? MajorLine : MinorLine);
        Line(dc, centerX + i * GridStep, 0, centerX + i * GridStep, size.cy);
    }
    for (int i = -centerY / GridStep; i * GridStep <= centerY; ++i) {
        SetDCPenColor(dc, i % 5 == 0 ? MajorLine : MinorLine);
        Line(dc, 0, centerY + i * GridStep, size.cx, centerY + i * GridStep);
    }
    SetDCPenColor(dc, Mark);
    SelectObject(dc, GetStockObject(HOLLOW_BRUSH));
    for (const int radius : {GridStep, RingRadius}) {
        Ellipse(dc, centerX - radius, centerY - radius, centerX + radius, centerY + radius);
    }
    Line(dc, centerX - 4 * GridStep, centerY, centerX + 4 * GridStep, centerY);
    Line(dc, centerX, centerY - 4 * GridStep, centerX, centerY + 4 * GridStep);
}

// A ring around the middle that runs out clockwise. share: what is left, 0 to 1.
void DrawCountdown(HDC dc, SIZE size, COLORREF color, double share)
{
    const int centerX = static_cast<int>(size.cx) / 2;
    const int centerY = static_cast<int>(size.cy) / 2;
    const HPEN pen = CreatePen(PS_SOLID, 5, color);
    const HGDIOBJ former = SelectObject(dc, pen);
    MoveToEx(dc, centerX, centerY - RingRadius, nullptr);
    AngleArc(dc, centerX, centerY, RingRadius, 90.0F, static_cast<float>(share * 360.0));
    SelectObject(dc, former);
    DeleteObject(pen);
}

void DrawLine(HDC dc, RECT place, const std::wstring& text, COLORREF color, int height, UINT flags)
{
    const HFONT font = CreateFontW(-height, 0, 0, 0, FW_NORMAL, FALSE, FALSE, FALSE,
                                   DEFAULT_CHARSET, OUT_DEFAULT_PRECIS, CLIP_DEFAULT_PRECIS,
                                   DEFAULT_QUALITY, DEFAULT_PITCH, L"MS Shell Dlg");
    const HGDIOBJ former = SelectObject(dc, font);
    SetBkMode(dc, TRANSPARENT);
    SetTextColor(dc, color);
    DrawTextW(dc, text.c_str(), static_cast<int>(text.size()), &place,
              flags | DT_SINGLELINE | DT_NOPREFIX);
    SelectObject(dc, former);
    DeleteObject(font);
}

std::wstring Seconds(double seconds)
{
    const auto tenths = static_cast<int>(seconds * 10.0 + 0.5);
    return std::to_wstring(tenths / 10) + L'.' + std::to_wstring(tenths % 10);
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

void Preview::Painter::Draw(const Preview& preview, HDC dc, SIZE size)
{
    const PhaseLook& look = LookOf(preview);
    const double seconds = static_cast<double>(GetTickCount64() - preview.m_shownSince) / 1000.0;
    const double sweep = 0.5 - 0.5 * std::cos(2.0 * std::numbers::pi * seconds / SweepPeriod);
    const bool counting = preview.m_secondsLeft >= 0.0 && *look.after != 0;

    const RECT whole{0, 0, size.cx, size.cy};
    SetDCBrushColor(dc, Background);
    FillRect(dc, &whole, static_cast<HBRUSH>(GetStockObject(DC_BRUSH)));
    DrawGrid(dc, size);
    SetDCPenColor(dc, Mark);
    const int x = static_cast<int>(sweep * size.cx);
    Line(dc, x, 0, x, size.cy);
    if (counting && preview.m_phaseLength > 0.0) {
        DrawCountdown(dc, size, look.lamp,
                      std::min(preview.m_secondsLeft / preview.m_phaseLength, 1.0));
    }

    // Top left the lamp and the state; bottom, in the middle, what to do now and how long it takes.
    SetDCPenColor(dc, look.lamp);
    SetDCBrushColor(dc, look.lamp);
    SelectObject(dc, GetStockObject(DC_BRUSH));
    Ellipse(dc, 2 * Margin, 2 * Margin + 3, 2 * Margin + 12, 2 * Margin + 15);
    DrawLine(dc, {2 * Margin + 20, 2 * Margin, size.cx, 2 * Margin + 18}, look.state, Text, 15,
             DT_LEFT | DT_VCENTER);
    DrawLine(dc, {0, size.cy - 80, size.cx, size.cy - 55}, look.prompt, Text, 18,
             DT_CENTER | DT_VCENTER);
    if (counting) {
        DrawLine(dc, {0, size.cy - 55, size.cx, size.cy - 35},
                 look.before + Seconds(preview.m_secondsLeft) + look.after, Gray, 13,
                 DT_CENTER | DT_VCENTER);
    }
}

const PhaseLook& Preview::Painter::LookOf(const Preview& preview)
{
    const auto* const look = std::ranges::find(PhaseLooks, preview.m_phase, &PhaseLook::phase);
    return preview.m_sensor.phase != nullptr && look != std::end(PhaseLooks) ? *look : UnknownLook;
}
