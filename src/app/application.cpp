// Runs the main window as the program.
#include "app/application.h"

#include "app/main_dialog.h"
#include "resources/help.h"
#include "resources/version.h"

CTarnTestApp::CTarnTestApp() : CWinApp("Tarn test")
{
    SetVersion(ProgramVersion);
    SetHelp(HelpText);
}

BOOL CTarnTestApp::InitInstance()
{
    Enable3dControls();
    const auto dialog = std::make_unique<CTarnTestDlg>();
    m_pMainWnd = m_dialog = dialog.get();
    dialog->DoModal();
    m_pMainWnd = m_dialog = nullptr;
    return FALSE;
}

void CTarnTestApp::OnDisplayLost()
{
    if (m_dialog != nullptr) {
        m_dialog->AbandonWindows();
    }
}

std::span<const DispatchEntry> CTarnTestApp::DispatchTable() const
{
    static constexpr DispatchEntry Table[] = {
        on::Command<&CTarnTestApp::OnHelp>(ID_HELP),
    };
    return Table;
}
