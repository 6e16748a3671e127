// The half of dialogs and of the application object that needs no windowing system: the way of a
// message to its handler and the default processing.
#include "platform/dialog.h"

#include "platform/boxes.h"
#include "platform/dialog_hooks.h"
#include "platform/scope.h"

#include <cstdio>
#include <exception>

namespace {

CWinApp* application = nullptr;

bool Fits(const DispatchEntry& entry, UINT message, WPARAM wParam, LPARAM lParam);

} // namespace

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

CWinApp::CWinApp(const char* name) : m_name(name)
{
    application = this;
}

CWinApp::~CWinApp()
{
    application = nullptr;
}

CWinApp* AfxGetApp()
{
    return application;
}

void CWinApp::OnHelp()
{
    const std::string text = m_version.empty() ? m_name : m_name + ' ' + m_version;
    AfxMessageBox(text.c_str(), MB_OK | MB_ICONASTERISK | MB_TOPMOST);
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

} // namespace
