// The application object: the start and the end of the program's run.
#include "platform/boxes.h"
#include "platform/dialog.h"
#include "platform/policy.h"

#include <cstdlib>

namespace {

CWinApp* application = nullptr;

} // namespace

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
    std::string text = m_version.empty() ? m_name : m_name + ' ' + m_version;
    text += m_help.empty() ? "" : "\n\n" + m_help;
    AfxMessageBox(text.c_str(), MB_OK | MB_ICONASTERISK | MB_TOPMOST);
}

// No window outlives InitInstance, so that there is nothing left to serve after it.
int CWinApp::Run(int argc, char** argv)
{
    const std::shared_ptr<void> system = StartWindowSystem(argc, argv);
    try {
        InitInstance();
        return 0;
    } catch (...) {
        ReportCurrentException(nullptr);
        return EXIT_FAILURE;
    }
}

void ServeHelpKey(HWND dialog)
{
    if (application == nullptr) {
        return;
    }
    try {
        for (const DispatchEntry& entry : application->DispatchTable()) {
            if (entry.message == WM_COMMAND && entry.id == ID_HELP) {
                entry.call(*application, MAKEWPARAM(ID_HELP, BN_CLICKED), 0);
            }
        }
    } catch (...) {
        ReportCurrentException(dialog);
    }
}
