// The main window, in dialog units.
#pragma once

#include "platform/dialog_template.h"
#include "resources/resource.h"

//   2                                            497 505 507      606
//   +--------------------------------------------+--+ +- Capture --+
//   |                                            |  | | options    |
//   |                 image area                 |v | | display    |
//   |                                            |  | | zoom       |
//   +--------------------------------------------+--+ | file, info |
//   |                     h                      |    |            |
//   +--------------------------------------------+    +------------+
inline constexpr ControlTemplate MainDialogControls[] = {
    {0, ControlKind::GroupBox, "Capture", {507, 1, 99, 50}},
    {IdEnable, ControlKind::PushButton, "&Enable", {511, 11, 44, 15}, ControlDisabled},
    {IdAbort, ControlKind::PushButton, "&Abort", {558, 11, 44, 15}, ControlDisabled},
    {IdSettings, ControlKind::PushButton, "&Tolva Settings", {511, 30, 91, 15}},

    {0, ControlKind::GroupBox, "Options", {507, 53, 99, 84}},
    {IdEightBitRead, ControlKind::CheckBox, "&8 bit read", {511, 63, 91, 11}},
    {IdTestImageMode, ControlKind::CheckBox, "Te&st image mode", {511, 75, 91, 11}},
    {IdNoGainCheck, ControlKind::CheckBox, "No gain chec&k", {511, 87, 91, 11}},
    {IdSaveRawFiles, ControlKind::CheckBox, "Save raw &files", {511, 99, 91, 11}},
    {IdAutoEnable, ControlKind::CheckBox, "A&uto enable", {511, 111, 91, 11}},
    {IdAutoSaveImages, ControlKind::CheckBox, "Auto sa&ve images", {511, 123, 91, 11}},

    {0, ControlKind::GroupBox, "Display", {507, 139, 99, 92}},
    {0, ControlKind::Label, "Scale &center:", {511, 151, 56, 10}},
    {IdScaleCenter, ControlKind::Edit, "", {568, 149, 35, 13}},
    {0, ControlKind::Label, "Scale &width:", {511, 167, 56, 10}},
    {IdScaleWidth, ControlKind::Edit, "", {568, 165, 35, 13}},
    {0, ControlKind::Label, "&Gamma:", {511, 183, 56, 10}},
    {IdGamma, ControlKind::Edit, "", {568, 181, 35, 13}},
    {0, ControlKind::Label, "&LUT wnd width:", {511, 199, 56, 10}},
    {IdLutWindowWidth, ControlKind::Edit, "", {568, 197, 35, 13}},
    {IdNegative, ControlKind::CheckBox, "&Negative", {511, 215, 91, 11}},

    {0, ControlKind::GroupBox, "Zoom", {507, 233, 99, 48}},
    {IdZoomOut, ControlKind::PushButton, "Zoo&m -", {511, 243, 44, 15}},
    {IdZoomIn, ControlKind::PushButton, "&Zoom +", {558, 243, 44, 15}},
    {IdZoomNormal, ControlKind::PushButton, "No&rmal", {511, 261, 91, 15}},

    {0, ControlKind::GroupBox, "File and info", {507, 283, 99, 50}},
    {IdOpen, ControlKind::PushButton, "&Open", {511, 293, 44, 15}},
    {IdInfo, ControlKind::PushButton, "&Info", {558, 293, 44, 15}},
    {IdExit, ControlKind::DefaultButton, "E&xit", {511, 312, 91, 15}},

    {IdImageArea, ControlKind::Frame, "", {2, 4, 495, 322}, 0, "Image area"},
    {IdHorizontalBar,
     ControlKind::HorizontalScrollBar,
     "",
     {2, 327, 495, 9},
     ControlHidden,
     "Pan horizontally"},
    {IdVerticalBar,
     ControlKind::VerticalScrollBar,
     "",
     {498, 4, 8, 322},
     ControlHidden,
     "Pan vertically"},
    {IdPaintTime, ControlKind::Edit, "", {511, 215, 40, 13}, ControlHidden, "Paint time"},
};

inline constexpr DialogTemplate MainDialogTemplate{
    IdMainDialog, "TarnTest", 608, 340, "MS Sans Serif", 8, MainDialogControls, true};
