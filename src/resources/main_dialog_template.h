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
    {0, ControlKind::GroupBox, "Capture", {507, 1, 99, 49}, MovesAcross},
    {IdEnable,
     ControlKind::PushButton,
     "&Enable",
     {511, 14, 44, 15},
     ControlDisabled | MovesAcross},
    {IdAbort, ControlKind::PushButton, "&Abort", {558, 14, 44, 15}, ControlDisabled | MovesAcross},
    {IdSettings, ControlKind::PushButton, "&Tolva Settings", {511, 32, 91, 15}, MovesAcross},

    {0, ControlKind::GroupBox, "Options", {507, 51, 99, 87}, MovesAcross},
    {IdEightBitRead, ControlKind::CheckBox, "&8 bit read", {511, 64, 91, 11}, MovesAcross},
    {IdTestImageMode, ControlKind::CheckBox, "Te&st image mode", {511, 76, 91, 11}, MovesAcross},
    {IdNoGainCheck, ControlKind::CheckBox, "No gain chec&k", {511, 88, 91, 11}, MovesAcross},
    {IdSaveRawFiles, ControlKind::CheckBox, "Save raw &files", {511, 100, 91, 11}, MovesAcross},
    {IdAutoEnable, ControlKind::CheckBox, "A&uto enable", {511, 112, 91, 11}, MovesAcross},
    {IdAutoSaveImages, ControlKind::CheckBox, "Auto sa&ve images", {511, 124, 91, 11}, MovesAcross},

    {0, ControlKind::GroupBox, "Display", {507, 140, 99, 90}, MovesAcross},
    {0, ControlKind::Label, "Scale &center:", {511, 155, 60, 11}, MovesAcross},
    {IdScaleCenter, ControlKind::Edit, "", {572, 153, 30, 13}, MovesAcross},
    {0, ControlKind::Label, "Scale &width:", {511, 171, 60, 11}, MovesAcross},
    {IdScaleWidth, ControlKind::Edit, "", {572, 169, 30, 13}, MovesAcross},
    {0, ControlKind::Label, "&Gamma:", {511, 187, 60, 11}, MovesAcross},
    {IdGamma, ControlKind::Edit, "", {572, 185, 30, 13}, MovesAcross},
    {0, ControlKind::Label, "&LUT wnd width:", {511, 203, 60, 11}, MovesAcross},
    {IdLutWindowWidth, ControlKind::Edit, "", {572, 201, 30, 13}, MovesAcross},
    {IdNegative, ControlKind::CheckBox, "&Negative", {511, 217, 91, 11}, MovesAcross},

    {0, ControlKind::GroupBox, "Zoom", {507, 232, 99, 49}, MovesAcross},
    {IdZoomOut, ControlKind::PushButton, "Zoo&m -", {511, 245, 44, 15}, MovesAcross},
    {IdZoomIn, ControlKind::PushButton, "&Zoom +", {558, 245, 44, 15}, MovesAcross},
    {IdZoomNormal, ControlKind::PushButton, "No&rmal", {511, 263, 91, 15}, MovesAcross},

    {0, ControlKind::GroupBox, "File and info", {507, 284, 99, 49}, MovesAcross},
    {IdOpen, ControlKind::PushButton, "&Open", {511, 297, 44, 15}, MovesAcross},
    {IdInfo, ControlKind::PushButton, "&Info", {558, 297, 44, 15}, MovesAcross},
    {IdInspect, ControlKind::PushButton, "Ins&pect", {511, 315, 44, 15}, MovesAcross},
    {IdExit, ControlKind::DefaultButton, "E&xit", {558, 315, 44, 15}, MovesAcross},

    {IdImageArea,
     ControlKind::Frame,
     "",
     {2, 4, 495, 322},
     FrameTakesInput | GrowsAcross | GrowsDown,
     "Image area"},
    {IdHorizontalBar,
     ControlKind::HorizontalScrollBar,
     "",
     {2, 327, 495, 9},
     ControlHidden | MovesDown | GrowsAcross,
     "Pan horizontally"},
    {IdVerticalBar,
     ControlKind::VerticalScrollBar,
     "",
     {498, 4, 8, 322},
     ControlHidden | MovesAcross | GrowsDown,
     "Pan vertically"},
    {IdPaintTime,
     ControlKind::Edit,
     "",
     {511, 215, 40, 13},
     ControlHidden | MovesAcross,
     "Paint time"},
};

inline constexpr ControlHint MainDialogHints[] = {
    {IdEnable, "Arms the sensor and opens the preview over the picture."},
    {IdAbort, "Disarms the sensor and closes the preview."},
    {IdSettings, "Opens the sensors' settings: resolution, integration time and timeout."},
    {IdEightBitRead, "Lets the library give images of 8 bits, through its filter chain."},
    {IdTestImageMode, "Lets the library give test images instead of exposures."},
    {IdNoGainCheck, "Switches the library's check of the gain file off."},
    {IdSaveRawFiles, "Lets the library write the raw frames of every exposure into its folder."},
    {IdAutoEnable, "Arms the sensor again after every image."},
    {IdAutoSaveImages, "Saves every image into TmpImages; each click begins with series 1 again."},
    {IdScaleCenter, "The sample value, in sensor units, that is shown as the middle gray."},
    {IdScaleWidth, "How many sensor units lie between black and white; 4 or less changes nothing."},
    {IdGamma, "Brightens the middle grays above 1 and darkens them below 1."},
    {IdLutWindowWidth,
     "The percentage of the occupied range that is shown; leaving the field chooses the range "
     "anew."},
    {IdNegative, "Inverts the gray scale."},
    {IdZoomOut, "Shows the picture at two thirds of its size, but not smaller than the whole."},
    {IdZoomIn, "Shows the picture one and a half times as large."},
    {IdZoomNormal, "Shows the whole picture."},
    {IdOpen, "Opens a Q32 file for viewing."},
    {IdInfo, "Shows the library's version and the state of every device."},
    {IdInspect, "Opens the inspector: values, histogram, regions and profiles of the picture."},
    {IdExit, "Closes the libraries and ends the program."},
    {IdHorizontalBar, "Moves the enlarged picture to the left and right."},
    {IdVerticalBar, "Moves the enlarged picture up and down."},
};

inline constexpr DialogTemplate MainDialogTemplate{
    IdMainDialog, "TarnTest",     608, 340, "MS Sans Serif", 8, MainDialogControls, true,
    true,         MainDialogHints};
