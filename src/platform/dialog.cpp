// Dialogs: their life, the way of a message to its handler, and the default processing.
#include "platform/dialog.h"

#include "platform/boxes.h"
#include "platform/policy.h"
#include "platform/scope.h"

#include <algorithm>
#include <cstdio>
#include <exception>
#include <utility>

namespace {

struct Modeless
{
    CDialog* dialog;
    const CDialog* parent;
    bool isOpen;
};
std::vector<Modeless> modeless; // those that have a window

HWND rejecting = nullptr; // the dialog about whose rejected field a box is open

bool Fits(const DispatchEntry& entry, UINT message, WPARAM wParam, LPARAM lParam);
void ReportException(HWND dialog, const std::string& text);
void RejectEdit(const CDataExchange& dx);
void ShowInBox(HWND dialog, const std::string& text, UINT icon);

} // namespace

CDialog::CDialog(const DialogTemplate& dialogTemplate, CWnd* parent)
    : m_template(dialogTemplate), m_parent(parent)
{
}

CDialog::~CDialog()
{
    CloseModeless();
}

int CDialog::DoModal()
{
    if (IsSessionEnding()) {
        return IDCANCEL;
    }
    // The handle dies with the window, also when the initialization throws.
    const ScopeExit handle([this] { m_hWnd = nullptr; });
    const std::unique_ptr<ModalWindow> window = MakeDialogWindow(*this, m_parent, m_hWnd);
    const ScopeExit children([this] {
        for (const Modeless& child : std::vector(modeless)) {
            if (child.parent == this) {
                child.dialog->CloseModeless();
            }
        }
    });
    ModalLoop loop(*window, this);

    const BOOL defaultFocus = OnInitDialog();
    if (!loop.IsOver() && !IsSessionEnding()) {
        window->Show();
        if (defaultFocus != FALSE) {
            FocusFirst(m_hWnd);
        }
    }
    return loop.Run();
}

BOOL CDialog::Create()
{
    CloseModeless();
    if (IsSessionEnding()) {
        return FALSE;
    }
    m_modelessWindow = MakeModelessWindow(*this, *m_parent, m_hWnd);
    modeless.push_back({this, dynamic_cast<const CDialog*>(m_parent), true});
    BOOL defaultFocus = FALSE;
    try {
        defaultFocus = OnInitDialog();
    } catch (...) {
        CloseModeless();
        throw;
    }
    ShowWindow(SW_SHOW);
    if (defaultFocus != FALSE) {
        FocusFirst(m_hWnd);
    }
    return TRUE;
}

void CDialog::CloseModeless()
{
    if (m_modelessWindow != nullptr) {
        std::erase_if(modeless, [this](const Modeless& entry) { return entry.dialog == this; });
        m_modelessWindow.reset();
        m_hWnd = nullptr;
    }
}

// The window of a modeless dialog, whose handler may be at work, goes later.
void CDialog::EndDialog(int result)
{
    if (ModalLoop* const loop = ModalLoop::Of(*this)) {
        return loop->Quit(result);
    }
    const auto own = std::ranges::find(modeless, this, &Modeless::dialog);
    if (own != modeless.end() && std::exchange(own->isOpen, false)) {
        ShowWindow(SW_HIDE);
    }
}

const CDialog* ParentOfModeless(const CDialog& dialog)
{
    const auto found = std::ranges::find(modeless, &dialog, &Modeless::dialog);
    return found != modeless.end() && found->isOpen ? found->parent : nullptr;
}

LRESULT CDialog::Send(UINT message, WPARAM wParam, LPARAM lParam)
{
    // A handler that opens a box or a dialog is still running while the next messages are served.
    const ScopedValue<MessageInService> served(m_current, {message, wParam, lParam});
    try {
        return Dispatch(message, wParam, lParam);
    } catch (...) {
        ReportCurrentException(m_hWnd);
        return 0;
    }
}

void ReportCurrentException(HWND dialog) noexcept
try {
    try {
        throw;
    } catch (const std::exception& failure) {
        ReportException(dialog, failure.what());
    } catch (...) {
        ReportException(dialog, "Unknown error");
    }
} catch (...) {
    std::fputs("An error could not be reported in a box.\n", stderr);
}

LRESULT CDialog::Dispatch(UINT message, WPARAM wParam, LPARAM lParam)
{
    for (const DispatchEntry& entry : DispatchTable()) {
        if (Fits(entry, message, wParam, lParam)) {
            return entry.call(*this, wParam, lParam);
        }
    }
    return Default();
}

LRESULT CDialog::Default()
{
    switch (m_current.message) {
    case WM_CLOSE:
    case WM_QUERYENDSESSION:
        EndDialog(IDCANCEL);
        break;
    case WM_COMMAND:
        if (m_current.wParam == MAKEWPARAM(IDOK, BN_CLICKED)) {
            OnOK();
        } else if (m_current.wParam == MAKEWPARAM(IDCANCEL, BN_CLICKED)) {
            OnCancel();
        }
        break;
    default:
        break;
    }
    return 0;
}

BOOL CDialog::OnInitDialog()
{
    UpdateData(FALSE);
    return TRUE;
}

void CDialog::DoDataExchange(CDataExchange*) {}

void CDialog::OnOK()
{
    if (UpdateData(TRUE)) {
        EndDialog(IDOK);
    }
}

void CDialog::OnCancel()
{
    EndDialog(IDCANCEL);
}

BOOL CDialog::UpdateData(BOOL saveAndValidate)
{
    const auto run = [this](CDataExchange::Pass pass) {
        CDataExchange dx(this, pass);
        DoDataExchange(&dx);
        return dx;
    };
    if (saveAndValidate == FALSE) {
        run(CDataExchange::Pass::Write);
        return TRUE;
    }
    CDataExchange check = run(CDataExchange::Pass::Check);
    if (check.m_rejectedField == nullptr) {
        run(CDataExchange::Pass::Read);
        return TRUE;
    }
    // Before the box, in whose loop the program goes on with the members as they are.
    run(CDataExchange::Pass::RestoreChecks);
    check.m_leavingField =
        m_current.message == WM_COMMAND && (m_current.wParam >> 16) == EN_KILLFOCUS;
    RejectEdit(check);
    return FALSE;
}

CWnd CDialog::GetDlgItem(int id) const
{
    return CWnd(ControlOf(m_hWnd, id));
}

void CDialog::SetDlgItemText(int id, const std::string& text)
{
    GetDlgItem(id).SetWindowText(text);
}

void CDialog::SetDlgItemInt(int id, std::int32_t value)
{
    SetDlgItemText(id, std::to_string(value));
}

void CDialog::CheckRadioButton(int first, int last, int check)
{
    for (int id = first; id <= last; ++id) {
        CButton(GetDlgItem(id).GetSafeHwnd()).SetCheck(id == check ? 1 : 0);
    }
}

void CDialog::SetIcon(HICON icon, BOOL big)
{
    if (icon != nullptr) {
        SetWindowIcon(m_hWnd, *icon, big != FALSE);
    }
}

bool IsRejectionShown(HWND dialog)
{
    return rejecting == dialog;
}

bool Handles(const CDialog& dialog, UINT message)
{
    return std::ranges::count(dialog.DispatchTable(), message, &DispatchEntry::message) > 0;
}

namespace {

bool Fits(const DispatchEntry& entry, UINT message, WPARAM wParam, LPARAM lParam)
{
    if (entry.message != message) {
        return false;
    }
    if (message == WM_COMMAND) {
        return wParam == MAKEWPARAM(static_cast<UINT>(entry.id), entry.code);
    }
    if (message == WM_NOTIFY) {
        return wParam == static_cast<WPARAM>(entry.id) && lParam != 0 &&
               reinterpret_cast<const NMHDR*>(lParam)->code == entry.code;
    }
    return true;
}

// A box that opened inside a paint request would have the system paint inside its painting; it
// waits for the end of it, and so that every further painting does not bring one more, it stands
// alone.
void ReportException(HWND dialog, const std::string& text)
{
    if (!IsPainting()) {
        return ShowInBox(dialog, text, MB_ICONSTOP);
    }
    static bool waiting = false;
    if (waiting) {
        return;
    }
    RunSoon([dialog, text] {
        const ScopeExit shown([] { waiting = false; });
        try {
            ShowInBox(dialog, text, MB_ICONSTOP);
        } catch (...) {
            ReportCurrentException(dialog);
        }
    });
    waiting = true;
}

// An operator who was told about this text before and only leaves the field is not told again.
void RejectEdit(const CDataExchange& dx)
{
    const bool isNew = MarkRejected(dx.m_rejectedField, dx.m_rejectionReason);
    if (!isNew && dx.m_leavingField) {
        return;
    }
    {
        const HWND dialog = dx.m_pDlg->GetSafeHwnd();
        const ScopedValue shown(rejecting, dialog);
        ShowInBox(dialog, dx.m_rejectionReason, MB_ICONEXCLAMATION);
    }
    ReturnTo(dx.m_rejectedField);
}

void ShowInBox(HWND dialog, const std::string& text, UINT icon)
{
    MessageBoxA(dialog, text.c_str(), AfxGetApp() != nullptr ? AfxGetApp()->Name().c_str() : "",
                MB_OK | icon | MB_TOPMOST);
}

} // namespace
