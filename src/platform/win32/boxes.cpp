// Message boxes, the open-file dialog and the wait cursor.
#include "platform/shown_text.h"
#include "platform/win32/dialog_window.h"
#include "platform/win32/text.h"

#include <algorithm>
#include <utility>

namespace {

constexpr int IconSide = 32;
constexpr int TextId = 0xFFFF;

bool isWaitCursorShown = false;

// A box on the screen, from its opening to its answer.
class MessageBoxWindow : public NativeWindow
{
public:
    MessageBoxWindow(const std::wstring& text, const std::wstring& caption, UINT style);

    void Show() override;
    bool Ignores(const win::MSG& message) const override;

private:
    struct Layout
    {
        int unit; // a twelfth of the box's measures: the width of an average character
        win::RECT text;
        bool scrolls;
        win::SIZE client;
    };
    static win::INT_PTR CALLBACK Procedure(win::HWND window, win::UINT message, win::WPARAM wParam,
                                           win::LPARAM lParam);
    Layout Measure(const std::wstring& text) const;
    void Fill(const std::wstring& text, const Layout& layout);
    win::HWND Add(const wchar_t* className, const std::wstring& text, win::DWORD style,
                  const win::RECT& place, int id) const;

    UINT m_style;
    std::uint64_t m_active = 0; // when it got the keyboard, from another box again; 0 before
    bool m_isBack = false;      // from under another box, and has not got the keyboard yet
};

// The system's dialog, whose own loop serves messages.
class FileWindow : public NativeWindow
{
public:
    FileWindow(const FileRequest& request, std::string& path);
    ~FileWindow() override;

    void Show() override {}
    void Serve() override;
    void Stop() override;
    void Hide() override {}

private:
    static win::LRESULT CALLBACK OnActivate(int code, win::WPARAM wParam, win::LPARAM lParam);

    static inline FileWindow* sWaiting = nullptr; // for the system to open its window
    const FileRequest m_request;
    std::string& m_path;
    win::HHOOK m_hook;
};

const wchar_t* IconOf(UINT style);
void PlaceAbove(win::HWND window, win::HWND below);
bool IsText(const win::MSG& key);
std::wstring ForScrolling(const std::wstring& text);

} // namespace

std::unique_ptr<ModalWindow> MakeBox(HWND, const char* text, const char* caption, UINT style)
{
    return std::make_unique<MessageBoxWindow>(ShownText(text), ShownTitle(caption), style);
}

std::unique_ptr<ModalWindow> MakeFileChooser(const FileRequest& request, std::string& path)
{
    return std::make_unique<FileWindow>(request, path);
}

void ShowWaitCursor(bool shown)
{
    isWaitCursorShown = shown;
    win::SetCursor(win::LoadCursorW(nullptr, shown ? IDC_WAIT : IDC_ARROW));
}

bool IsWaitCursorShown()
{
    return isWaitCursorShown;
}

namespace {

MessageBoxWindow::MessageBoxWindow(const std::wstring& text, const std::wstring& caption,
                                   UINT style)
    : m_style(style)
{
    const Layout layout = Measure(text);
    m_window = CreateDialogWindow(
        {caption, layout.client, WS_POPUP | WS_CAPTION | WS_SYSMENU | DS_MODALFRAME,
         static_cast<win::DWORD>(((style & MB_TOPMOST) != 0 ? WS_EX_TOPMOST : 0) |
                                 WS_EX_DLGMODALFRAME),
         Owner()},
        &Procedure, reinterpret_cast<win::LPARAM>(this));
    Fill(text, layout);
    if (IsAboveBox()) {
        PlaceAbove(m_window, Owner());
    } else {
        CenterWindow(m_window, Owner());
    }
}

void MessageBoxWindow::Show()
{
    win::MessageBeep(m_style & 0xF0);
    win::ShowWindow(m_window, SW_SHOW);
    win::SetForegroundWindow(m_window);
    win::SetFocus(win::GetDlgItem(m_window, (m_style & MB_YESNO) != 0 ? IDYES : IDOK));
    // The system had given the keyboard to a text that scrolls, and had gone to its end.
    const win::HWND text = win::FindWindowExW(m_window, nullptr, EditClass, nullptr);
    win::SendMessageW(text, EM_SETSEL, 0, 0);
    win::SendMessageW(text, EM_SCROLLCARET, 0, 0);
}

// A key that is still held down from before repeats itself for longer.
bool MessageBoxWindow::Ignores(const win::MSG& message) const
{
    constexpr win::LPARAM Repeated = 1 << 30;
    if ((m_style & (MB_YESNO | MB_OKCANCEL)) == 0) {
        return false;
    }
    const bool isEarly =
        m_active == 0 || win::GetTickCount64() - m_active < static_cast<std::uint64_t>(DeafTime);
    const bool isPress = message.message == WM_LBUTTONDOWN || message.message == WM_LBUTTONDBLCLK;
    const bool isTyped = message.message == WM_KEYDOWN && IsText(message);
    return isPress ? isEarly : isTyped && (isEarly || (message.lParam & Repeated) != 0);
}

win::INT_PTR CALLBACK MessageBoxWindow::Procedure(win::HWND window, win::UINT message,
                                                  win::WPARAM wParam, win::LPARAM lParam)
{
    if (message == WM_INITDIALOG) {
        win::SetWindowLongPtrW(window, DWLP_USER, static_cast<win::LONG_PTR>(lParam));
        return FALSE;
    }
    auto* const box =
        reinterpret_cast<MessageBoxWindow*>(win::GetWindowLongPtrW(window, DWLP_USER));
    if (box == nullptr || box->m_loop == nullptr) {
        return FALSE;
    }
    const bool isEnabled = message == WM_ENABLE && wParam != FALSE;
    const bool isActivated = message == WM_ACTIVATE && wParam != WA_INACTIVE;
    if (isEnabled || (isActivated && (std::exchange(box->m_isBack, false) || box->m_active == 0))) {
        box->m_active = win::GetTickCount64();
        box->m_isBack = isEnabled;
    }
    if (message == WM_CLOSE) {
        box->m_loop->Quit(IDCANCEL);
        return TRUE;
    }
    const auto pressed = static_cast<int>(wParam & 0xFFFF);
    if (message != WM_COMMAND || pressed == TextId) {
        return FALSE;
    }
    box->m_loop->Quit(pressed);
    return TRUE;
}

MessageBoxWindow::Layout MessageBoxWindow::Measure(const std::wstring& text) const
{
    Layout layout{};
    layout.unit = static_cast<int>(BaseUnits().cx);
    const int unit = layout.unit;
    win::RECT screen{};
    win::SystemParametersInfoW(SPI_GETWORKAREA, 0, &screen, 0);
    const int left = (m_style & 0xF0) != 0 ? 2 * unit + IconSide + 2 * unit : 2 * unit;
    const win::LONG widest = std::min<win::LONG>(80 * unit, (screen.right - screen.left) * 3 / 4);

    win::RECT measured{0, 0, widest, 0};
    layout.scrolls = text.size() > LongestLabel;
    if (!layout.scrolls) {
        const win::HDC dc = win::GetDC(nullptr);
        const win::HGDIOBJ former = win::SelectObject(dc, DialogFont());
        win::DrawTextW(dc, text.c_str(), static_cast<int>(text.size()), &measured,
                       DT_CALCRECT | DT_WORDBREAK | DT_NOPREFIX | DT_EXPANDTABS);
        win::SelectObject(dc, former);
        win::ReleaseDC(nullptr, dc);
        layout.scrolls =
            measured.bottom > (screen.bottom - screen.top) / 2 || measured.right > widest;
    }
    if (layout.scrolls) {
        measured = {0, 0, std::min<win::LONG>(107 * unit, (screen.right - screen.left) * 3 / 4),
                    std::min<win::LONG>(80 * unit, (screen.bottom - screen.top) / 2)};
    }
    const win::LONG height = std::max<win::LONG>(measured.bottom, IconSide);
    const win::LONG top = 2 * unit + (layout.scrolls ? 0 : (height - measured.bottom) / 2);
    layout.text = {left, top, left + std::max<win::LONG>(measured.right, 30 * unit),
                   top + measured.bottom};
    layout.client = {layout.text.right + 2 * unit, 2 * unit + height + 2 * unit + 6 * unit};
    return layout;
}

void MessageBoxWindow::Fill(const std::wstring& text, const Layout& layout)
{
    const int unit = layout.unit;
    if (const wchar_t* const icon = IconOf(m_style)) {
        const win::HWND place =
            Add(L"Static", L"", SS_ICON,
                {2 * unit, 2 * unit, 2 * unit + IconSide, 2 * unit + IconSide}, TextId);
        win::SendMessageW(place, STM_SETICON,
                          reinterpret_cast<win::WPARAM>(win::LoadIconW(nullptr, icon)), 0);
    }
    if (layout.scrolls) {
        const win::HWND view =
            Add(EditClass, L"",
                ES_MULTILINE | ES_READONLY | ES_AUTOVSCROLL | WS_VSCROLL | WS_TABSTOP | WS_BORDER,
                layout.text, TextId);
        win::SendMessageW(view, EM_SETLIMITTEXT, 0, 0);
        win::SetWindowTextW(view, ForScrolling(text).c_str());
    } else {
        Add(L"Static", text, SS_LEFT | SS_NOPREFIX, layout.text, TextId);
    }

    struct Button
    {
        int id;
        const wchar_t* text;
    };
    std::vector<Button> buttons = {{IDOK, L"OK"}};
    if ((m_style & MB_YESNO) != 0) {
        buttons = {{IDYES, L"&Yes"}, {IDNO, L"&No"}};
    } else if ((m_style & MB_OKCANCEL) != 0) {
        buttons.push_back({IDCANCEL, L"Cancel"});
    }
    const int width = 13 * unit;
    const auto count = static_cast<int>(buttons.size());
    int x = static_cast<int>(layout.client.cx - count * width - (count - 1) * unit) / 2;
    const auto top = static_cast<int>(layout.client.cy) - 6 * unit;
    for (const Button& button : buttons) {
        const bool isFirst = button.id == buttons.front().id;
        GuardClicks(Add(ButtonClass, button.text,
                        (isFirst ? BS_DEFPUSHBUTTON : BS_PUSHBUTTON) | WS_TABSTOP,
                        {x, top, x + width, top + 4 * unit}, button.id));
        x += width + unit;
    }
    win::SendMessageW(m_window, DM_SETDEFID, static_cast<win::WPARAM>(buttons.front().id), 0);
}

win::HWND MessageBoxWindow::Add(const wchar_t* className, const std::wstring& text,
                                win::DWORD style, const win::RECT& place, int id) const
{
    const win::HWND made =
        win::CreateWindowExW(0, className, text.c_str(), style | WS_CHILD | WS_VISIBLE, place.left,
                             place.top, place.right - place.left, place.bottom - place.top,
                             m_window, reinterpret_cast<win::HMENU>(static_cast<std::intptr_t>(id)),
                             win::GetModuleHandleW(nullptr), nullptr);
    win::SendMessageW(made, WM_SETFONT, reinterpret_cast<win::WPARAM>(DialogFont()), FALSE);
    return made;
}

FileWindow::FileWindow(const FileRequest& request, std::string& path)
    : m_request(request),
      m_path(path),
      m_hook(win::SetWindowsHookExW(WH_CBT, &OnActivate, nullptr, win::GetCurrentThreadId()))
{
    sWaiting = this;
}

FileWindow::~FileWindow()
{
    sWaiting = nullptr;
    win::UnhookWindowsHookEx(m_hook);
}

void FileWindow::Serve()
{
    std::wstring filter = Wide(m_request.filter);
    std::replace(filter.begin(), filter.end(), L'|', L'\0');
    const std::wstring folder = Wide(m_request.folder);
    std::wstring extension = Wide(m_request.defaultExtension);
    extension.erase(0, extension.rfind(L'.') + 1);
    std::wstring path = Wide(m_request.fileName);
    path.resize(LongestPath);

    win::OPENFILENAMEW open{};
    open.lStructSize = sizeof open;
    open.hwndOwner = Owner();
    open.lpstrFilter = filter.c_str();
    open.lpstrFile = path.data();
    open.nMaxFile = static_cast<win::DWORD>(path.size());
    open.lpstrInitialDir = folder.empty() ? nullptr : folder.c_str();
    open.lpstrDefExt = extension.empty() ? nullptr : extension.c_str();
    open.Flags = (m_request.mustExist ? OFN_FILEMUSTEXIST : 0) | OFN_HIDEREADONLY |
                 OFN_NOCHANGEDIR | OFN_EXPLORER;
    const bool isChosen = win::GetOpenFileNameW(&open) != FALSE;
    m_window = nullptr; // the system has destroyed it
    m_path = isChosen ? Narrow(path.c_str()) : "";
    m_loop->Quit(isChosen ? IDOK : IDCANCEL);
}

// What it has opened itself, such as a box, comes first. A window that is over is still there, and
// may not bear to be told twice.
void FileWindow::Stop()
{
    NativeWindow::Stop();
    if (win::IsWindowVisible(m_window) != FALSE) {
        win::PostMessageW(win::GetLastActivePopup(m_window), WM_COMMAND, IDCANCEL, 0);
    }
}

win::LRESULT CALLBACK FileWindow::OnActivate(int code, win::WPARAM wParam, win::LPARAM lParam)
{
    if (code == HCBT_ACTIVATE && sWaiting != nullptr) {
        std::exchange(sWaiting, nullptr)->m_window = reinterpret_cast<win::HWND>(wParam);
    }
    return win::CallNextHookEx(nullptr, code, wParam, lParam);
}

const wchar_t* IconOf(UINT style)
{
    switch (style & 0xF0) {
    case MB_ICONHAND:
        return IDI_ERROR;
    case MB_ICONEXCLAMATION:
        return IDI_WARNING;
    case MB_ICONASTERISK:
        return IDI_INFORMATION;
    default:
        return nullptr;
    }
}

// A title bar's height lower and to the right, so that two boxes do not look like one. What would
// stick out of the screen begins at its edge again.
void PlaceAbove(win::HWND window, win::HWND below)
{
    win::RECT base{}, own{};
    win::GetWindowRect(below, &base);
    win::GetWindowRect(window, &own);
    const win::RECT screen = ScreenOf(below);
    const int titleBar = win::GetSystemMetrics(SM_CYCAPTION);
    win::POINT place{base.left + titleBar, base.top + titleBar};
    if (place.x + own.right - own.left > screen.right) {
        place.x = screen.left;
    }
    if (place.y + own.bottom - own.top > screen.bottom) {
        place.y = screen.top;
    }
    win::SetWindowPos(window, nullptr, place.x, place.y, 0, 0,
                      SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
}

// Enter, or a character typed without Ctrl and Alt.
bool IsText(const win::MSG& key)
{
    constexpr win::UINT Dead = 0x80000000;
    const auto number = static_cast<win::UINT>(key.wParam);
    const win::UINT character = win::MapVirtualKeyW(number, MAPVK_VK_TO_CHAR) & ~Dead;
    return number == VK_RETURN || (character >= L' ' && win::GetKeyState(VK_CONTROL) >= 0);
}

// With the line ends of the system's field.
std::wstring ForScrolling(const std::wstring& text)
{
    std::wstring broken;
    for (const char16_t c : WithShortLines(std::u16string(text.begin(), text.end()))) {
        broken += c == u'\n' ? L"\r\n" : std::wstring(1, static_cast<wchar_t>(c));
    }
    return broken;
}

} // namespace
