// The application object.
#pragma once

#include "platform/dialog.h"

class CTarnTestApp : public CWinApp
{
public:
    CTarnTestApp();

    // Runs the main window; FALSE, so that the program ends with it.
    BOOL InitInstance() override;
    std::span<const DispatchEntry> DispatchTable() const override;
};
