// Dialogs as windows of the system.
#include "platform/win32/accessibility.h"
#include "platform/win32/dialog_window.h"
#include "platform/win32/text.h"

#include <algorithm>
#include <cstdint>
#include <utility>

namespace {

constexpr wchar_t RejectedMark[] = L"TarnTestRejected";
constexpr win::COLORREF RejectedColor = RGB(255, 200, 200);
constexpr win::WORD UnnamedControl = 0xFFFF;
constexpr int WheelNotch = 120;

std::uint64_t takenBack = 0; // the dispatched message in which a field took the focus back

class DialogWindow : public NativeWindow
{
public:
    DialogWindow(CDialog& dialog, bool isOwned);
};

// The window with its controls, not shown yet. style: beside those that all have.
win::HWND CreateWindowOf(CDialog& dialog, win::HWND owner, win::DWORD style);
void CreateControls(const CDialog& dialog, win::HWND window);
void ShowHints(const CDialog& dialog, win::HWND window);
win::INT_PTR CALLBACK DialogProc(win::HWND window, win::UINT message, win::WPARAM wParam,
                                 win::LPARAM lParam);
void LiftButtons(win::HWND window);
win::LRESULT CALLBACK ButtonProc(win::HWND button, win::UINT message, win::WPARAM wParam,
                                 win::LPARAM lParam, win::UINT_PTR, win::DWORD_PTR);

} // namespace

std::unique_ptr<ModalWindow> MakeDialogWindow(CDialog& dialog, CWnd* parent, HWND& handle)
{
    auto window = std::make_unique<DialogWindow>(dialog, parent != nullptr);
    handle = Contract(window->Window());
    return window;
}

std::shared_ptr<void> MakeModelessWindow(CDialog& dialog, const CWnd& parent, HWND& handle)
{
    const win::HWND window = CreateWindowOf(dialog, Native(parent.GetSafeHwnd()), 0);
    handle = Contract(window);
    return {window, [](void* gone) { win::DestroyWindow(static_cast<win::HWND>(gone)); }};
}

HWND ControlOf(HWND dialog, int id)
{
    return dialog != nullptr ? Contract(win::GetDlgItem(Native(dialog), id)) : nullptr;
}

void FocusFirst(HWND dialog)
{
    win::SetFocus(win::GetNextDlgTabItem(Native(dialog), nullptr, FALSE));
}

bool MarkRejected(HWND field, const std::string& reason)
{
    const win::HWND edit = Native(field);
    if (win::GetPropW(edit, RejectedMark) != nullptr) {
        return false;
    }
    win::SetPropW(edit, RejectedMark, edit);
    SetAccessibleDescription(edit, Wide(reason).c_str());
    win::InvalidateRect(edit, nullptr, TRUE);
    return true;
}

// A mouse press that took the focus away reaches its button only now, and its release went to the
// box: the click is lost, the button must not stay down.
void ReturnTo(HWND field)
{
    const win::HWND edit = Native(field);
    takenBack = DispatchedMessages();
    RunSoon([window = win::GetParent(edit)] { LiftButtons(window); });
    win::SetFocus(edit);
    win::SendMessageW(edit, EM_SETSEL, 0, -1);
}

void GuardClicks(win::HWND button)
{
    win::SetWindowSubclass(button, &ButtonProc, 0, 0);
}

CDialog* DialogOf(win::HWND window)
{
    const win::HWND top = window != nullptr ? win::GetAncestor(window, GA_ROOT) : nullptr;
    if (top == nullptr ||
        reinterpret_cast<win::DLGPROC>(win::GetWindowLongPtrW(top, DWLP_DLGPROC)) != &DialogProc) {
        return nullptr;
    }
    return reinterpret_cast<CDialog*>(win::GetWindowLongPtrW(top, DWLP_USER));
}

namespace {

DialogWindow::DialogWindow(CDialog& dialog, bool isOwned)
{
    m_window = CreateWindowOf(dialog, isOwned ? Owner() : nullptr, DS_MODALFRAME);
}

win::HWND CreateWindowOf(CDialog& dialog, win::HWND owner, win::DWORD style)
{
    const DialogTemplate& form = dialog.Template();
    const win::SIZE base = BaseUnits();
    const RECT client = UnitsToPixels({0, 0, form.width, form.height}, base.cx, base.cy);
    const win::HWND window = CreateDialogWindow(
        {ShownTitle(form.title),
         {client.right, client.bottom},
         static_cast<win::DWORD>((form.resizable ? WS_THICKFRAME | WS_MAXIMIZEBOX : style) |
                                 WS_POPUP | WS_CAPTION | WS_SYSMENU |
                                 (form.minimizable ? WS_MINIMIZEBOX : 0)),
         static_cast<win::DWORD>(owner == nullptr ? WS_EX_APPWINDOW : 0),
         owner},
        &DialogProc, reinterpret_cast<win::LPARAM>(&dialog));
    CreateControls(dialog, window);
    ShowHints(dialog, window);
    CenterWindow(window, owner);
    win::DragAcceptFiles(window, Handles(dialog, WM_DROPFILES) ? TRUE : FALSE);
    return window;
}

void LiftButtons(win::HWND window)
{
    if (win::IsChild(window, win::GetCapture()) != FALSE) {
        win::ReleaseCapture();
    }
    win::HWND button = nullptr;
    while ((button = win::FindWindowExW(window, button, ButtonClass, nullptr)) != nullptr) {
        win::SendMessageW(button, BM_SETSTATE, FALSE, 0);
    }
}

// A key with Alt and a screen reader click in one go, whatever the focus does meanwhile.
win::LRESULT CALLBACK ButtonProc(win::HWND button, win::UINT message, win::WPARAM wParam,
                                 win::LPARAM lParam, win::UINT_PTR, win::DWORD_PTR)
{
    const bool isClick = message == BM_CLICK || message == WM_LBUTTONUP;
    if (isClick && (takenBack == DispatchedMessages() ||
                    win::IsWindowEnabled(win::GetParent(button)) == FALSE)) {
        return 0;
    }
    return win::DefSubclassProc(button, message, wParam, lParam);
}

struct ControlForm
{
    ControlKind kind;
    const wchar_t* className;
    win::DWORD style;
    win::DWORD extendedStyle;
};

constexpr ControlForm ControlForms[] = {
    {ControlKind::PushButton, ButtonClass, BS_PUSHBUTTON | WS_TABSTOP, 0},
    {ControlKind::DefaultButton, ButtonClass, BS_DEFPUSHBUTTON | WS_TABSTOP, 0},
    {ControlKind::CheckBox, ButtonClass, BS_AUTOCHECKBOX | WS_TABSTOP, 0},
    {ControlKind::RadioButton, ButtonClass, BS_AUTORADIOBUTTON | WS_TABSTOP, 0},
    {ControlKind::Label, L"Static", SS_LEFTNOWORDWRAP, 0},
    {ControlKind::Edit, EditClass, ES_AUTOHSCROLL | WS_TABSTOP, WS_EX_CLIENTEDGE},
    {ControlKind::GroupBox, ButtonClass, BS_GROUPBOX, 0},
    {ControlKind::Frame, FrameClass, WS_CLIPSIBLINGS, WS_EX_STATICEDGE},
    {ControlKind::HorizontalScrollBar, ScrollBarClass, SBS_HORZ | WS_TABSTOP, 0},
    {ControlKind::VerticalScrollBar, ScrollBarClass, SBS_VERT | WS_TABSTOP, 0},
    {ControlKind::TrackBar, L"msctls_trackbar32", TBS_HORZ | TBS_TOP | TBS_AUTOTICKS | WS_TABSTOP,
     0},
};

void CreateControls(const CDialog& dialog, win::HWND window)
{
    const win::SIZE base = BaseUnits();
    std::wstring label; // before the control
    bool inGroup = false;
    for (const ControlTemplate& control : dialog.Template().controls) {
        const ControlForm& form =
            *std::ranges::find(ControlForms, control.kind, &ControlForm::kind);
        const bool isRadio = control.kind == ControlKind::RadioButton;
        win::DWORD style = form.style | WS_CHILD;
        style |= (control.flags & ControlHidden) == 0 ? WS_VISIBLE : 0;
        style |= (control.flags & ControlDisabled) != 0 ? WS_DISABLED : 0;
        style |= (control.flags & FrameTakesInput) != 0 ? WS_TABSTOP : 0;
        // What follows a group of radio buttons ends it.
        style |= (control.flags & GroupStart) != 0 || (inGroup && !isRadio) ? WS_GROUP : 0;
        inGroup = isRadio;

        const RECT place = UnitsToPixels(control.place, base.cx, base.cy);
        const auto id = static_cast<std::uintptr_t>(control.id != 0 ? control.id : UnnamedControl);
        const win::HWND made = win::CreateWindowExW(
            form.extendedStyle, form.className, ShownText(control.text).c_str(), style, place.left,
            place.top, place.right - place.left, place.bottom - place.top, window,
            reinterpret_cast<win::HMENU>(id), win::GetModuleHandleW(nullptr), nullptr);
        win::SetWindowLongPtrW(made, GWLP_USERDATA, reinterpret_cast<win::LONG_PTR>(&control));
        win::SendMessageW(made, WM_SETFONT, reinterpret_cast<win::WPARAM>(DialogFont()), FALSE);
        if (form.className == ButtonClass) {
            GuardClicks(made);
        }
        if (control.kind == ControlKind::DefaultButton) {
            win::SendMessageW(window, DM_SETDEFID, id, 0);
        }
        if (control.accessibleName != nullptr) {
            SetAccessibleName(made, Wide(control.accessibleName).c_str());
        } else if (control.kind == ControlKind::Edit) {
            SetAccessibleName(made, label.c_str());
        }
        label = control.kind == ControlKind::Label ? Wide(control.text) : L"";
        std::erase(label, L'&');
    }
}

void ShowHints(const CDialog& dialog, win::HWND window)
{
    const win::HWND tips = win::CreateWindowExW(
        WS_EX_TOPMOST, TOOLTIPS_CLASSW, nullptr, WS_POPUP | TTS_ALWAYSTIP | TTS_NOPREFIX, 0, 0, 0,
        0, window, nullptr, win::GetModuleHandleW(nullptr), nullptr);
    for (const ControlHint& hint : dialog.Template().hints) {
        const win::HWND control = win::GetDlgItem(window, hint.id);
        std::wstring text = Wide(hint.text);
        win::TOOLINFOW tool{};
        tool.cbSize = sizeof tool;
        tool.uFlags = TTF_IDISHWND | TTF_SUBCLASS;
        tool.hwnd = window;
        tool.uId = reinterpret_cast<std::uintptr_t>(control);
        tool.lpszText = text.data();
        win::SendMessageW(tips, TTM_ADDTOOLW, 0, reinterpret_cast<win::LPARAM>(&tool));
        SetAccessibleDescription(control, text.c_str());
    }
}

RECT OpeningArea(const CDialog& dialog)
{
    const win::SIZE base = BaseUnits();
    return UnitsToPixels({0, 0, dialog.Template().width, dialog.Template().height}, base.cx,
                         base.cy);
}

// Moves the controls as their lines in the template say, and tells the dialog.
void OnSize(CDialog& dialog, WPARAM type, LPARAM size)
{
    const win::SIZE base = BaseUnits();
    const RECT opening = OpeningArea(dialog);
    const POINT corner = PointOf(size);
    for (win::HWND child = win::GetWindow(Native(dialog.GetSafeHwnd()), GW_CHILD); child != nullptr;
         child = win::GetWindow(child, GW_HWNDNEXT)) {
        const auto* const control =
            reinterpret_cast<const ControlTemplate*>(win::GetWindowLongPtrW(child, GWLP_USERDATA));
        if (control == nullptr) {
            continue;
        }
        const RECT place =
            GrownPlace(UnitsToPixels(control->place, base.cx, base.cy), control->flags,
                       corner.x - opening.right, corner.y - opening.bottom);
        win::SetWindowPos(child, nullptr, place.left, place.top, place.right - place.left,
                          place.bottom - place.top, SWP_NOZORDER | SWP_NOACTIVATE);
    }
    // Group boxes do not clip what lies in them, nor are clipped.
    win::RedrawWindow(Native(dialog.GetSafeHwnd()), nullptr, nullptr,
                      RDW_INVALIDATE | RDW_ERASE | RDW_ALLCHILDREN);
    dialog.Send(WM_SIZE, type, size);
}

// Not smaller than it opened.
void LimitSize(const CDialog& dialog, win::MINMAXINFO& limits)
{
    const win::HWND window = Native(dialog.GetSafeHwnd());
    const RECT opening = OpeningArea(dialog);
    win::RECT outside{0, 0, opening.right, opening.bottom};
    win::AdjustWindowRectEx(&outside,
                            static_cast<win::DWORD>(win::GetWindowLongW(window, GWL_STYLE)), FALSE,
                            static_cast<win::DWORD>(win::GetWindowLongW(window, GWL_EXSTYLE)));
    limits.ptMinTrackSize = {outside.right - outside.left, outside.bottom - outside.top};
}

// The message has 16 bits of the thumb's position, the bar has all of them.
void OnScroll(CDialog& dialog, UINT message, WPARAM wParam, LPARAM lParam)
{
    const auto bar = reinterpret_cast<win::HWND>(lParam);
    if (!IsOfClass(bar, ScrollBarClass)) {
        return;
    }
    const auto code = static_cast<UINT>(wParam & 0xFFFF);
    auto position = static_cast<UINT>(wParam >> 16 & 0xFFFF);
    if (code == SB_THUMBPOSITION || code == SB_THUMBTRACK) {
        win::SCROLLINFO info{};
        info.cbSize = sizeof info;
        info.fMask = SIF_TRACKPOS;
        win::GetScrollInfo(bar, SB_CTL, &info);
        const auto full = static_cast<UINT>(info.nTrackPos);
        position = (full & 0xFFFF) == position ? full : position;
    }
    dialog.Send(message, static_cast<WPARAM>(position) << 16 | code, lParam);
}

// One notch of the wheel is one line of the scroll bar that has the focus; a fraction waits for the
// rest of its notch.
bool OnWheel(CDialog& dialog, WPARAM wParam)
{
    static int left = 0;
    const win::HWND bar = win::GetFocus();
    if (!IsOfClass(bar, ScrollBarClass)) {
        return false;
    }
    const bool vertical = (win::GetWindowLongW(bar, GWL_STYLE) & SBS_VERT) != 0;
    left += static_cast<std::int16_t>(wParam >> 16 & 0xFFFF);
    for (; left >= WheelNotch || left <= -WheelNotch; left -= left > 0 ? WheelNotch : -WheelNotch) {
        dialog.Send(vertical ? WM_VSCROLL : WM_HSCROLL, left > 0 ? SB_LINEUP : SB_LINEDOWN,
                    reinterpret_cast<LPARAM>(bar));
    }
    return true;
}

// The handler may open a box; the program that the file comes from must not wait for its answer.
void OnDrop(CDialog& dialog, win::HDROP drop)
{
    std::wstring path(LongestPath, L'\0');
    const win::UINT files = win::DragQueryFileW(drop, 0xFFFFFFFF, nullptr, 0);
    path.resize(win::DragQueryFileW(drop, 0, path.data(), static_cast<win::UINT>(path.size())));
    win::DragFinish(drop);
    if (files != 1 || !ModalLoop::TakesInput(dialog)) {
        return;
    }
    RunSoon([&dialog, window = dialog.GetSafeHwnd(), file = Narrow(path)] {
        if (DialogOf(Native(window)) == &dialog && ModalLoop::TakesInput(dialog)) {
            dialog.Send(WM_DROPFILES, 0, reinterpret_cast<LPARAM>(file.c_str()));
        }
    });
}

// The system ends the process when this returns, so that no handler inside is waited for.
void OnEndSession(CDialog& dialog)
{
    ModalLoop::AskToEnd();
    if (ModalLoop::IsOpen(dialog)) {
        dialog.Send(WM_QUERYENDSESSION);
    }
}

void OnCommand(CDialog& dialog, WPARAM wParam, LPARAM lParam)
{
    const auto field = reinterpret_cast<win::HWND>(lParam);
    const auto code = static_cast<UINT>(wParam >> 16);
    if (code == EN_CHANGE && win::RemovePropW(field, RejectedMark) != nullptr) {
        SetAccessibleDescription(field, L"");
        win::InvalidateRect(field, nullptr, TRUE);
    }
    // While the box about a rejected field is open, fields lose the focus for its sake only.
    const bool leaving = code == EN_KILLFOCUS && !IsRejectionShown(dialog.GetSafeHwnd());
    if (code == BN_CLICKED || leaving) {
        dialog.Send(WM_COMMAND, wParam, lParam);
    }
}

LRESULT OnNotify(CDialog& dialog, WPARAM wParam, const win::NMHDR& native)
{
    if (native.code != NM_CUSTOMDRAW && native.code != NM_RELEASEDCAPTURE) {
        return 0;
    }
    const PaintRequest drawing(native.hwndFrom);
    const NMHDR header{Contract(native.hwndFrom), native.idFrom, native.code};
    return dialog.Send(WM_NOTIFY, wParam, reinterpret_cast<LPARAM>(&header));
}

// Whether the message is answered; result: with what.
bool Serve(CDialog& dialog, UINT message, WPARAM wParam, LPARAM lParam, LRESULT& result)
{
    switch (message) {
    case WM_COMMAND:
        OnCommand(dialog, wParam, lParam);
        return true;
    case WM_CLOSE:
        // Behind a box or another dialog a handler is still at work with what a close would take
        // away.
        if (ModalLoop::TakesInput(dialog)) {
            dialog.Send(WM_CLOSE);
        }
        return true;
    case WM_TIMER:
        dialog.Send(WM_TIMER, wParam);
        return true;
    case WM_SIZE:
        if (dialog.Template().resizable && dialog.GetSafeHwnd() != nullptr &&
            (wParam == SIZE_RESTORED || wParam == SIZE_MAXIMIZED)) {
            OnSize(dialog, wParam, lParam);
        }
        return true;
    case WM_GETMINMAXINFO:
        if (!dialog.Template().resizable || dialog.GetSafeHwnd() == nullptr) {
            return false;
        }
        LimitSize(dialog, *reinterpret_cast<win::MINMAXINFO*>(lParam));
        return true;
    case WM_HSCROLL:
    case WM_VSCROLL:
        OnScroll(dialog, message, wParam, lParam);
        return true;
    case WM_MOUSEWHEEL:
        return OnWheel(dialog, wParam);
    case WM_NOTIFY:
        result = OnNotify(dialog, wParam, *reinterpret_cast<const win::NMHDR*>(lParam));
        return true;
    case WM_DROPFILES:
        OnDrop(dialog, reinterpret_cast<win::HDROP>(wParam));
        return true;
    case WM_HELP:
        ServeHelpKey(dialog.GetSafeHwnd());
        return true;
    case WM_QUERYENDSESSION:
        result = TRUE;
        return true;
    case WM_ENDSESSION:
        if (wParam != 0) {
            OnEndSession(dialog);
        }
        return true;
    case WM_PAINT: {
        // Only a minimized window paints on itself.
        const win::HWND window = Native(dialog.GetSafeHwnd());
        if (win::IsIconic(window) == FALSE) {
            return false;
        }
        const PaintRequest request(window);
        dialog.Send(WM_PAINT);
        return request.IsTaken();
    }
    case WM_QUERYDRAGICON:
        return false; // the window has its icon
    case WM_CTLCOLOREDIT:
        if (win::GetPropW(reinterpret_cast<win::HWND>(lParam), RejectedMark) == nullptr) {
            return false;
        }
        {
            static const win::HBRUSH Rejected = win::CreateSolidBrush(RejectedColor);
            win::SetBkColor(reinterpret_cast<win::HDC>(wParam), RejectedColor);
            result = reinterpret_cast<LRESULT>(Rejected);
        }
        return true;
    case WM_SETCURSOR:
        return IsWaitCursorShown();
    default:
        if (message < WM_USER || !Handles(dialog, message)) {
            return false;
        }
        result = dialog.Send(message, wParam, lParam);
        return true;
    }
}

// Nothing may be thrown through the system's calls.
win::INT_PTR CALLBACK DialogProc(win::HWND window, win::UINT message, win::WPARAM wParam,
                                 win::LPARAM lParam)
try {
    if (message == WM_INITDIALOG) {
        win::SetWindowLongPtrW(window, DWLP_USER, static_cast<win::LONG_PTR>(lParam));
        return FALSE; // the focus is set later
    }
    auto* const dialog = reinterpret_cast<CDialog*>(win::GetWindowLongPtrW(window, DWLP_USER));
    if (dialog == nullptr || !ModalLoop::IsOpen(*dialog) ||
        dialog->GetSafeHwnd() != Contract(window)) {
        return FALSE;
    }
    if (message >= WM_USER) {
        ServeBehindPosted(window, message, wParam, lParam);
        if (!ModalLoop::IsOpen(*dialog)) {
            return TRUE;
        }
    }
    LRESULT result = 0;
    if (!Serve(*dialog, message, wParam, lParam, result)) {
        return FALSE;
    }
    // These are answered by the value itself.
    if (message == WM_CTLCOLOREDIT) {
        return static_cast<win::INT_PTR>(result);
    }
    win::SetWindowLongPtrW(window, DWLP_MSGRESULT, static_cast<win::LONG_PTR>(result));
    return TRUE;
} catch (...) {
    ReportCurrentException(Contract(window));
    return TRUE;
}

} // namespace
