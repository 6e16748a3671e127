// The real main window over the windows without a screen, with its state open to tests.
#pragma once

#include "app/main_dialog.h"
#include "platform/headless/headless.h"
#include "resources/resource.h"
#include "support/operator.h"

// A picture so small that a run of the program takes a millisecond.
inline constexpr int SmallBaseWidth = 1;
inline constexpr int SmallBaseHeight = 1;

struct HeadlessProgram : CTarnTestDlg
{
    using CTarnTestDlg::currentImage;
    using CTarnTestDlg::displayImage;
    using CTarnTestDlg::displayLut;
    using CTarnTestDlg::gamma;
    using CTarnTestDlg::scaleCenter;
    using CTarnTestDlg::scaleWidth;
    using CTarnTestDlg::viewCenterX;
    using CTarnTestDlg::viewCenterY;
    using CTarnTestDlg::zoom;
};
