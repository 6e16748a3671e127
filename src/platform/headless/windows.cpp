// Windows and controls as records.
#include "platform/clipboard.h"
#include "platform/field_text.h"
#include "platform/headless/desktop.h"
#include "platform/native_window.h"
#include "platform/policy.h"

#include <algorithm>
#include <utility>

namespace headless {

Desktop desktop;

const std::string& Clipboard()
{
    return desktop.clipboard;
}

Window* Find(HWND handle)
{
    const auto found = desktop.windows.find(handle);
    return found == desktop.windows.end() ? nullptr : &found->second;
}

Window* FindControl(const CDialog& dialog, int id)
{
    return Find(dialog.GetDlgItem(id).GetSafeHwnd());
}

void MoveFocus(HWND target)
{
    const HWND former = std::exchange(desktop.focus, target);
    const Window* const left = former == target ? nullptr : Find(former);
    if (left != nullptr && left->control != nullptr && left->control->kind == ControlKind::Edit &&
        !IsRejectionShown(left->dialog->GetSafeHwnd())) {
        left->dialog->Send(WM_COMMAND,
                           MAKEWPARAM(static_cast<UINT>(left->control->id), EN_KILLFOCUS));
    }
}

void Reset()
{
    desktop.timers.clear();
    desktop.now = 0;
    desktop.focus = nullptr;
    desktop.picture = {};
    desktop.beeps = 0;
    desktop.soon.clear();
}

void SetBaseUnits(int width, int height)
{
    desktop.baseWidth = width;
    desktop.baseHeight = height;
}

std::size_t LiveWindows()
{
    return desktop.windows.size();
}

std::size_t LiveTimers()
{
    return desktop.timers.size();
}

const Picture& LastPicture()
{
    return desktop.picture;
}

void Resize(CDialog& dialog, int width, int height)
{
    Window* const own = Find(dialog.GetSafeHwnd());
    const DialogTemplate& form = dialog.Template();
    if (own == nullptr || !form.resizable) {
        return;
    }
    const auto pixels = [](const DialogUnits& place) {
        return UnitsToPixels(place, desktop.baseWidth, desktop.baseHeight);
    };
    const RECT least = pixels({0, 0, form.width, form.height});
    const int across = std::max(width - least.right, 0);
    const int down = std::max(height - least.bottom, 0);
    own->place = {0, 0, least.right + across, least.bottom + down};
    for (auto& [handle, window] : desktop.windows) {
        if (window.dialog == &dialog && window.control != nullptr) {
            window.place =
                GrownPlace(pixels(window.control->place), window.control->flags, across, down);
        }
    }
    dialog.Send(WM_SIZE, SIZE_RESTORED, MAKELPARAM(own->place.right, own->place.bottom));
    own->invalid = true;
}

} // namespace headless

void* NativeWindowOf(HWND)
{
    return nullptr;
}

using namespace headless;

void SetClipboardText(const std::string& text)
{
    desktop.clipboard = text;
}

void CWnd::SetWindowText(const std::string& text)
{
    if (Window* const window = Find(m_hWnd)) {
        window->text = text;
        window->rejected = false;
    }
}

std::string CWnd::GetWindowText() const
{
    const Window* const window = Find(m_hWnd);
    return window != nullptr ? window->text : std::string();
}

void CWnd::EnableWindow(BOOL enable)
{
    if (Window* const window = Find(m_hWnd)) {
        window->enabled = enable != FALSE;
    }
}

BOOL CWnd::IsWindowEnabled() const
{
    const Window* const window = Find(m_hWnd);
    return window != nullptr && window->enabled ? TRUE : FALSE;
}

void CWnd::ShowWindow(int command)
{
    Window* const window = Find(m_hWnd);
    if (window == nullptr) {
        return;
    }
    window->visible = command != SW_HIDE;
    window->iconic = command == SW_MINIMIZE;
    window->invalid |= command != SW_HIDE;
}

BOOL CWnd::IsWindowVisible() const
{
    const Window* const window = Find(m_hWnd);
    return window != nullptr && window->visible ? TRUE : FALSE;
}

BOOL CWnd::IsIconic() const
{
    const Window* const window = Find(m_hWnd);
    return window != nullptr && window->iconic ? TRUE : FALSE;
}

void CWnd::SetFocus()
{
    if (Find(m_hWnd) != nullptr) {
        MoveFocus(m_hWnd);
    }
}

void CWnd::GetWindowRect(RECT* rect) const
{
    const Window* const window = Find(m_hWnd);
    *rect = window != nullptr ? window->place : RECT{};
}

void CWnd::GetClientRect(RECT* rect) const
{
    RECT window;
    GetWindowRect(&window);
    *rect = {0, 0, window.right - window.left, window.bottom - window.top};
}

void CWnd::ScreenToClient(POINT* point) const
{
    if (const Window* const window = Find(m_hWnd)) {
        *point = {point->x - window->place.left, point->y - window->place.top};
    }
}

void CWnd::SetWindowPos(int x, int y, int width, int height, UINT flags)
{
    Window* const window = Find(m_hWnd);
    if (window == nullptr) {
        return;
    }
    RECT& place = window->place;
    if (flags & SWP_NOMOVE) {
        x = place.left;
        y = place.top;
    }
    if (flags & SWP_NOSIZE) {
        width = place.right - place.left;
        height = place.bottom - place.top;
    }
    place = {x, y, x + width, y + height};
}

void CWnd::Invalidate(BOOL)
{
    if (Window* const window = Find(m_hWnd)) {
        window->invalid = true;
    }
}

void CWnd::SetTimer(UINT_PTR id, UINT period)
{
    KillTimer(id);
    if (Find(m_hWnd) != nullptr) {
        desktop.timers.push_back({m_hWnd, id, period, desktop.now + period});
    }
}

void CWnd::KillTimer(UINT_PTR id)
{
    std::erase_if(desktop.timers,
                  [&](const Timer& timer) { return timer.window == m_hWnd && timer.id == id; });
}

int CButton::GetCheck() const
{
    const Window* const window = Find(m_hWnd);
    return window != nullptr ? window->checked : 0;
}

void CButton::SetCheck(int check)
{
    if (Window* const window = Find(m_hWnd)) {
        window->checked = check != 0 ? 1 : 0;
    }
}

void CScrollBar::GetScrollRange(int* minimum, int* maximum) const
{
    const Window* const window = Find(m_hWnd);
    *minimum = window != nullptr ? window->minimum : 0;
    *maximum = window != nullptr ? window->maximum : 0;
}

void CScrollBar::SetScrollRange(int minimum, int maximum, BOOL)
{
    if (Window* const window = Find(m_hWnd)) {
        window->minimum = minimum;
        window->maximum = std::max(minimum, maximum);
        SetScrollPos(window->position);
    }
}

int CScrollBar::GetScrollPos() const
{
    const Window* const window = Find(m_hWnd);
    return window != nullptr ? window->position : 0;
}

void CScrollBar::SetScrollPos(int position, BOOL)
{
    if (Window* const window = Find(m_hWnd)) {
        window->position = std::clamp(position, window->minimum, window->maximum);
    }
}

void CSliderCtrl::SetRange(int minimum, int maximum, BOOL)
{
    if (Window* const window = Find(m_hWnd)) {
        window->minimum = minimum;
        window->maximum = std::max(minimum, maximum);
        SetPos(window->position);
    }
}

void CSliderCtrl::SetTicFreq(int) {}

int CSliderCtrl::GetPos() const
{
    const Window* const window = Find(m_hWnd);
    return window != nullptr ? window->position : 0;
}

void CSliderCtrl::SetPos(int position)
{
    if (Window* const window = Find(m_hWnd)) {
        window->position = std::clamp(position, window->minimum, window->maximum);
        window->invalid = true;
    }
}

HWND ControlOf(HWND dialog, int id)
{
    const Window* const own = Find(dialog);
    return own != nullptr && own->controls.contains(id) ? own->controls.at(id) : nullptr;
}

void FocusFirst(HWND dialog)
{
    for (const ControlTemplate& line : Find(dialog)->dialog->Template().controls) {
        const bool takesFocus =
            line.kind != ControlKind::Label && line.kind != ControlKind::GroupBox &&
            (line.kind != ControlKind::Frame || (line.flags & FrameTakesInput) != 0);
        const Window* const control = Find(ControlOf(dialog, line.id));
        if (takesFocus && control->visible && control->enabled) {
            return MoveFocus(control->handle);
        }
    }
}

void SetWindowIcon(HWND, const IconResource&, bool) {}

bool MarkRejected(HWND field, const std::string&)
{
    return !std::exchange(Find(field)->rejected, true);
}

void ReturnTo(HWND field)
{
    MoveFocus(field);
}
