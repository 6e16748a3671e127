// Windows of dialogs and boxes: their creation, font and place.
#include "platform/win32/dialog_window.h"

#include "platform/shown_text.h"
#include "platform/win32/text.h"

#include <algorithm>
#include <iterator>
#include <stdexcept>

namespace {

constexpr int FontPixels = 11;
constexpr int StandardScale = 96; // dots an inch
constexpr wchar_t FontName[] = L"MS Shell Dlg";

int Scaled(int pixels);
std::wstring Made(std::u16string (*make)(std::u16string_view), std::string_view text);

} // namespace

bool IsOfClass(win::HWND window, std::wstring_view className)
{
    wchar_t name[64];
    const int length = win::GetClassNameW(window, name, static_cast<int>(std::size(name)));
    return std::wstring_view(name, static_cast<std::size_t>(length)) == className;
}

// The system makes the window of an empty template; controls are added to it one by one, on the
// pixels that they have on every system.
win::HWND CreateDialogWindow(const WindowForm& form, win::DLGPROC procedure, win::LPARAM argument)
{
    struct
    {
        win::DLGTEMPLATE head{};
        win::WORD menu = 0, windowClass = 0, title = 0;
    } const empty{{form.style, form.extendedStyle, 0, 0, 0, 0, 0}, 0, 0, 0};
    const win::HWND window = win::CreateDialogIndirectParamW(
        win::GetModuleHandleW(nullptr), &empty.head, form.owner, procedure, argument);
    if (window == nullptr) {
        throw std::runtime_error("The system opens no more windows.");
    }
    win::RECT outside{0, 0, form.client.cx, form.client.cy};
    win::AdjustWindowRectEx(&outside, form.style, FALSE, form.extendedStyle);
    win::SetWindowPos(window, nullptr, 0, 0, outside.right - outside.left,
                      outside.bottom - outside.top, SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
    win::SetWindowTextW(window, form.title.c_str());
    win::SendMessageW(window, WM_SETFONT, reinterpret_cast<win::WPARAM>(DialogFont()), FALSE);
    return window;
}

std::wstring ShownText(std::string_view text)
{
    return Made(&Shown, text);
}

std::wstring ShownTitle(std::string_view text)
{
    return Made(&ShownAsTitle, EndsOf(text));
}

win::HFONT DialogFont()
{
    static const win::HFONT Font = win::CreateFontW(
        -Scaled(FontPixels), 0, 0, 0, FW_NORMAL, FALSE, FALSE, FALSE, DEFAULT_CHARSET,
        OUT_DEFAULT_PRECIS, CLIP_DEFAULT_PRECIS, DEFAULT_QUALITY, DEFAULT_PITCH, FontName);
    return Font;
}

win::SIZE BaseUnits()
{
    return {Scaled(BaseUnitX), Scaled(BaseUnitY)};
}

win::RECT ScreenOf(win::HWND window)
{
    win::MONITORINFO monitor{};
    monitor.cbSize = sizeof monitor;
    win::GetMonitorInfoW(win::MonitorFromWindow(window, MONITOR_DEFAULTTONEAREST), &monitor);
    return monitor.rcWork;
}

void CenterWindow(win::HWND window, win::HWND owner)
{
    const win::RECT screen = ScreenOf(owner != nullptr ? owner : window);
    win::RECT around = screen;
    if (owner != nullptr) {
        win::GetWindowRect(owner, &around);
    }
    win::RECT own{};
    win::GetWindowRect(window, &own);
    const auto place = [](win::LONG size, win::LONG first, win::LONG last, win::LONG least,
                          win::LONG most) {
        return std::max(least, std::min((first + last - size) / 2, most - size));
    };
    win::SetWindowPos(
        window, nullptr,
        place(own.right - own.left, around.left, around.right, screen.left, screen.right),
        place(own.bottom - own.top, around.top, around.bottom, screen.top, screen.bottom), 0, 0,
        SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
}

namespace {

// In the pixels of a screen of the system's scale.
int Scaled(int pixels)
{
    const win::HDC screen = win::GetDC(nullptr);
    const int scale = win::GetDeviceCaps(screen, LOGPIXELSY);
    win::ReleaseDC(nullptr, screen);
    return (pixels * scale + StandardScale / 2) / StandardScale;
}

std::wstring Made(std::u16string (*make)(std::u16string_view), std::string_view text)
{
    const std::wstring wide = Wide(text);
    const std::u16string made = make(std::u16string(wide.begin(), wide.end()));
    return {made.begin(), made.end()};
}

} // namespace
