// Operations on windows and controls by handle.
#include "platform/controls.h"

#include "platform/shown_text.h"
#include "platform/win32/dialog_window.h"
#include "platform/win32/text.h"

#include <algorithm>

namespace {

// Of the screen's coordinates to the contract's record.
RECT Rect(const win::RECT& rect)
{
    return {static_cast<LONG>(rect.left), static_cast<LONG>(rect.top),
            static_cast<LONG>(rect.right), static_cast<LONG>(rect.bottom)};
}

win::SCROLLINFO ScrollOf(HWND bar);
void SetScroll(HWND bar, int minimum, int maximum, int position, BOOL redraw);

} // namespace

void* NativeWindowOf(HWND window)
{
    return win::IsWindow(Native(window)) != FALSE ? window : nullptr;
}

void CWnd::SetWindowText(const std::string& text)
{
    const win::HWND window = Native(m_hWnd);
    const bool isTitle = window != nullptr && win::GetAncestor(window, GA_ROOT) == window;
    const std::wstring shown = isTitle                        ? ShownTitle(text)
                               : IsOfClass(window, EditClass) ? Wide(text)
                                                              : ShownText(EndsOf(text));
    // Writing what stands there already would flicker and, in a field, move the caret.
    if (Narrow(shown) != GetWindowText() || IsOfClass(window, EditClass)) {
        win::SetWindowTextW(window, shown.c_str());
    }
}

std::string CWnd::GetWindowText() const
{
    const win::HWND window = Native(m_hWnd);
    std::wstring text(static_cast<std::size_t>(win::GetWindowTextLengthW(window)) + 1, L'\0');
    text.resize(static_cast<std::size_t>(
        win::GetWindowTextW(window, text.data(), static_cast<int>(text.size()))));
    return Narrow(text);
}

void CWnd::EnableWindow(BOOL enable)
{
    win::EnableWindow(Native(m_hWnd), enable);
}

BOOL CWnd::IsWindowEnabled() const
{
    return win::IsWindowEnabled(Native(m_hWnd));
}

void CWnd::ShowWindow(int command)
{
    win::ShowWindow(Native(m_hWnd), command);
}

// A control of a dialog that is not shown yet counts by its own mark.
BOOL CWnd::IsWindowVisible() const
{
    const auto style = static_cast<win::DWORD>(win::GetWindowLongW(Native(m_hWnd), GWL_STYLE));
    return (style & WS_VISIBLE) != 0 ? TRUE : FALSE;
}

BOOL CWnd::IsIconic() const
{
    return win::IsIconic(Native(m_hWnd));
}

void CWnd::SetFocus()
{
    if (m_hWnd != nullptr) {
        win::SetFocus(Native(m_hWnd));
    }
}

void CWnd::GetWindowRect(RECT* rect) const
{
    win::RECT native{};
    win::GetWindowRect(Native(m_hWnd), &native);
    *rect = Rect(native);
}

void CWnd::GetClientRect(RECT* rect) const
{
    win::RECT native{};
    win::GetClientRect(Native(m_hWnd), &native);
    *rect = Rect(native);
}

void CWnd::ScreenToClient(POINT* point) const
{
    win::POINT native{point->x, point->y};
    if (win::ScreenToClient(Native(m_hWnd), &native) != FALSE) {
        *point = {static_cast<LONG>(native.x), static_cast<LONG>(native.y)};
    }
}

void CWnd::SetWindowPos(int x, int y, int width, int height, UINT flags)
{
    win::SetWindowPos(Native(m_hWnd), nullptr, x, y, width, height,
                      flags | SWP_NOZORDER | SWP_NOACTIVATE);
}

// What a dialog paints is what its frames show, or its icon while it is minimized. Its background
// and its other controls repaint themselves when they change.
void CWnd::Invalidate(BOOL erase)
{
    const win::HWND window = Native(m_hWnd);
    if (window == nullptr) {
        return;
    }
    if (win::GetAncestor(window, GA_ROOT) != window || win::IsIconic(window) != FALSE) {
        win::InvalidateRect(window, nullptr, erase);
        return;
    }
    win::HWND frame = nullptr;
    while ((frame = win::FindWindowExW(window, frame, FrameClass, nullptr)) != nullptr) {
        win::InvalidateRect(frame, nullptr, erase);
    }
}

void CWnd::SetTimer(UINT_PTR id, UINT period)
{
    if (m_hWnd != nullptr) {
        win::SetTimer(Native(m_hWnd), id, period, nullptr);
    }
}

void CWnd::KillTimer(UINT_PTR id)
{
    if (m_hWnd != nullptr) {
        win::KillTimer(Native(m_hWnd), id);
    }
}

int CButton::GetCheck() const
{
    return win::SendMessageW(Native(m_hWnd), BM_GETCHECK, 0, 0) == BST_CHECKED ? 1 : 0;
}

void CButton::SetCheck(int check)
{
    win::SendMessageW(Native(m_hWnd), BM_SETCHECK, check != 0 ? BST_CHECKED : BST_UNCHECKED, 0);
}

void CScrollBar::GetScrollRange(int* minimum, int* maximum) const
{
    const win::SCROLLINFO info = ScrollOf(m_hWnd);
    *minimum = info.nMin;
    *maximum = info.nMax;
}

void CScrollBar::SetScrollRange(int minimum, int maximum, BOOL redraw)
{
    SetScroll(m_hWnd, minimum, maximum, GetScrollPos(), redraw);
}

int CScrollBar::GetScrollPos() const
{
    return ScrollOf(m_hWnd).nPos;
}

void CScrollBar::SetScrollPos(int position, BOOL redraw)
{
    const win::SCROLLINFO info = ScrollOf(m_hWnd);
    SetScroll(m_hWnd, info.nMin, info.nMax, position, redraw);
}

void CSliderCtrl::SetRange(int minimum, int maximum, BOOL)
{
    const win::HWND bar = Native(m_hWnd);
    maximum = std::max(minimum, maximum);
    win::SendMessageW(bar, TBM_SETRANGEMIN, FALSE, minimum);
    win::SendMessageW(bar, TBM_SETRANGEMAX, TRUE, maximum);
    win::SendMessageW(bar, TBM_SETPAGESIZE, 0, std::max(1, (maximum - minimum) / 5));
}

void CSliderCtrl::SetTicFreq(int frequency)
{
    win::SendMessageW(Native(m_hWnd), TBM_SETTICFREQ, static_cast<WPARAM>(frequency), 0);
}

int CSliderCtrl::GetPos() const
{
    return static_cast<int>(win::SendMessageW(Native(m_hWnd), TBM_GETPOS, 0, 0));
}

void CSliderCtrl::SetPos(int position)
{
    win::SendMessageW(Native(m_hWnd), TBM_SETPOS, TRUE, position);
}

namespace {

win::SCROLLINFO ScrollOf(HWND bar)
{
    win::SCROLLINFO info{};
    info.cbSize = sizeof info;
    info.fMask = SIF_RANGE | SIF_POS;
    return win::GetScrollInfo(Native(bar), SB_CTL, &info) != FALSE ? info : win::SCROLLINFO{};
}

void SetScroll(HWND bar, int minimum, int maximum, int position, BOOL redraw)
{
    win::SCROLLINFO info{};
    info.cbSize = sizeof info;
    info.fMask = SIF_RANGE | SIF_POS;
    info.nMin = minimum;
    info.nMax = std::max(minimum, maximum);
    info.nPos = std::clamp(position, info.nMin, info.nMax);
    win::SetScrollInfo(Native(bar), SB_CTL, &info, redraw);
}

} // namespace
