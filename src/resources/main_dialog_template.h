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
    {0, ControlKind::GroupBox, "Capture", {507, 1, 99, 49}},
    {IdEnable, ControlKind::PushButton, "&Enable", {511, 14, 44, 15}, ControlDisabled},
    {IdAbort, ControlKind::PushButton, "&Abort", {558, 14, 44, 15}, ControlDisabled},
    {IdSettings, ControlKind::PushButton, "&Tolva Settings", {511, 32, 91, 15}},

    {0, ControlKind::GroupBox, "Options", {507, 51, 99, 87}},
    {IdEightBitRead, ControlKind::CheckBox, "&8 bit read", {511, 64, 91, 11}},
    {IdTestImageMode, ControlKind::CheckBox, "Te&st image mode", {511, 76, 91, 11}},
    {IdNoGainCheck, ControlKind::CheckBox, "No gain chec&k", {511, 88, 91, 11}},
    {IdSaveRawFiles, ControlKind::CheckBox, "Save raw &files", {511, 100, 91, 11}},
    {IdAutoEnable, ControlKind::CheckBox, "A&uto enable", {511, 112, 91, 11}},
    {IdAutoSaveImages, ControlKind::CheckBox, "Auto sa&ve images", {511, 124, 91, 11}},

    {0, ControlKind::GroupBox, "Display", {507, 140, 99, 90}},
    {0, ControlKind::Label, "Scale &center:", {511, 155, 60, 11}},
    {IdScaleCenter, ControlKind::Edit, "", {572, 153, 30, 13}},
    {0, ControlKind::Label, "Scale &width:", {511, 171, 60, 11}},
    {IdScaleWidth, ControlKind::Edit, "", {572, 169, 30, 13}},
    {0, ControlKind::Label, "&Gamma:", {511, 187, 60, 11}},
    {IdGamma, ControlKind::Edit, "", {572, 185, 30, 13}},
    {0, ControlKind::Label, "&LUT wnd width:", {511, 203, 60, 11}},
    {IdLutWindowWidth, ControlKind::Edit, "", {572, 201, 30, 13}},
    {IdNegative, ControlKind::CheckBox, "&Negative", {511, 217, 91, 11}},

    {0, ControlKind::GroupBox, "Zoom", {507, 232, 99, 49}},
    {IdZoomOut, ControlKind::PushButton, "Zoo&m -", {511, 245, 44, 15}},
    {IdZoomIn, ControlKind::PushButton, "&Zoom +", {558, 245, 44, 15}},
    {IdZoomNormal, ControlKind::PushButton, "No&rmal", {511, 263, 91, 15}},

    {0, ControlKind::GroupBox, "File and info", {507, 284, 99, 49}},
    {IdOpen, ControlKind::PushButton, "&Open", {511, 297, 44, 15}},
    {IdInfo, ControlKind::PushButton, "&Info", {558, 297, 44, 15}},
    {IdInspect, ControlKind::PushButton, "Ins&pect", {511, 315, 44, 15}},
    {IdExit, ControlKind::DefaultButton, "E&xit", {558, 315, 44, 15}},

    {IdImageArea, ControlKind::Frame, "", {2, 4, 495, 322}, FrameTakesInput, "Image area"},
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
