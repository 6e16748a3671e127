// The application object.
#pragma once

#include "platform/dialog.h"

class CTarnTestDlg;

class CTarnTestApp : public CWinApp
{
public:
    CTarnTestApp();

    // Runs the main window; FALSE, so that the program ends with it.
    BOOL InitInstance() override;
    // No sensor stays armed behind a display that is gone.
    void OnDisplayLost() override;
    std::span<const DispatchEntry> DispatchTable() const override;

private:
    CTarnTestDlg* m_dialog = nullptr; // while it runs
};
