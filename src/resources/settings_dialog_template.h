// The sensor settings dialog, in dialog units.
#pragma once

#include "platform/dialog_template.h"
#include "platform/types.h"

inline constexpr int IdSettingsDialog = 133;

inline constexpr int IdLowResolution = 1018; // the first radio button of its group
inline constexpr int IdHighResolution = 1019;
inline constexpr int IdIntegrationTime = 1024;
inline constexpr int IdIntegrationTimeUnit = 1025;
inline constexpr int IdIntegrationTimeGroup = 1030;
inline constexpr int IdIntegrationTimeValue = 1031;
inline constexpr int IdBatteryGroup = 1033;
inline constexpr int IdVoltage = 1034;
inline constexpr int IdTemperature = 1038;
inline constexpr int IdExternalPower = 1040;
inline constexpr int IdCharge = 1042;
inline constexpr int IdBatteryPercent = 1044;
inline constexpr int IdBatteryOk = 1046;
inline constexpr int IdCapacityLeft = 1048;
inline constexpr int IdNeedChange = 1050;
inline constexpr int IdNeedRefresh = 1052;
inline constexpr int IdRefreshWear = 1054;
inline constexpr int IdState = 1056;
inline constexpr int IdTotalWear = 1058;
inline constexpr int IdAddSensor = 1059;
inline constexpr int IdTimeoutGroup = 1060;
inline constexpr int IdTimeout = 1061;
inline constexpr int IdTimeoutValue = 1062;
inline constexpr int IdTimeoutUnit = 1063;

//   6                        150 156                                 394
//   +- Resolution ------------+  +- IntegrateTime -------------------+
//   | low, high               |  | slider               value  unit  |
//   +-------------------------+  +-----------------------------------+
//   +- Tolva Battery ------------------------------------------------+
//   | label value             label value              label value   |   four rows
//   +----------------------------------------------------------------+
//   +- Timeout ------------------------------------------------------+
//   | slider                                           value  unit   |
//   +----------------------------------------------------------------+
//   OK                         Add sensor                      Cancel
inline constexpr ControlTemplate SettingsDialogControls[] = {
    {0, ControlKind::GroupBox, "Resolution (both sensors)", {6, 4, 144, 46}},
    {IdLowResolution, ControlKind::RadioButton, "&low (2x2)", {14, 16, 128, 12}, GroupStart},
    {IdHighResolution, ControlKind::RadioButton, "&high (1x1)", {14, 32, 128, 12}},

    {IdIntegrationTimeGroup, ControlKind::GroupBox, "IntegrateTime", {156, 4, 238, 46}},
    {IdIntegrationTime, ControlKind::TrackBar, "", {162, 18, 134, 22}, 0, "Integration time"},
    {IdIntegrationTimeValue, ControlKind::Label, "", {300, 24, 28, 10}},
    {IdIntegrationTimeUnit, ControlKind::Label, "milliseconds", {330, 24, 60, 10}},

    {IdBatteryGroup, ControlKind::GroupBox, "Tolva Battery", {6, 54, 388, 76}},
    {0, ControlKind::Label, "Battery OK", {14, 66, 60, 10}},
    {IdBatteryOk, ControlKind::Label, "0", {76, 66, 60, 10}},
    {0, ControlKind::Label, "Battery (%)", {14, 82, 60, 10}},
    {IdBatteryPercent, ControlKind::Label, "0", {76, 82, 60, 10}},
    {0, ControlKind::Label, "Charge (mA)", {14, 98, 60, 10}},
    {IdCharge, ControlKind::Label, "0", {76, 98, 60, 10}},
    {0, ControlKind::Label, "CapacityLeft", {14, 114, 60, 10}},
    {IdCapacityLeft, ControlKind::Label, "0", {76, 114, 60, 10}},

    {0, ControlKind::Label, "State", {142, 66, 60, 10}},
    {IdState, ControlKind::Label, "0", {204, 66, 60, 10}},
    {0, ControlKind::Label, "Voltage", {142, 82, 60, 10}},
    {IdVoltage, ControlKind::Label, "0", {204, 82, 60, 10}},
    {0, ControlKind::Label, "Temperature", {142, 98, 60, 10}},
    {IdTemperature, ControlKind::Label, "0", {204, 98, 60, 10}},
    {0, ControlKind::Label, "TotalWear", {142, 114, 60, 10}},
    {IdTotalWear, ControlKind::Label, "0", {204, 114, 60, 10}},

    {0, ControlKind::Label, "ExternalPower", {270, 66, 60, 10}},
    {IdExternalPower, ControlKind::Label, "0", {332, 66, 60, 10}},
    {0, ControlKind::Label, "NeedChange", {270, 82, 60, 10}},
    {IdNeedChange, ControlKind::Label, "0", {332, 82, 60, 10}},
    {0, ControlKind::Label, "RefreshWear", {270, 98, 60, 10}},
    {IdRefreshWear, ControlKind::Label, "0", {332, 98, 60, 10}},
    {0, ControlKind::Label, "NeedRefresh", {270, 114, 60, 10}},
    {IdNeedRefresh, ControlKind::Label, "0", {332, 114, 60, 10}},

    {IdTimeoutGroup, ControlKind::GroupBox, "Timeout", {6, 134, 388, 36}},
    {IdTimeout, ControlKind::TrackBar, "", {14, 144, 282, 22}, 0, "Timeout"},
    {IdTimeoutValue, ControlKind::Label, "Static", {300, 150, 28, 10}},
    {IdTimeoutUnit, ControlKind::Label, "minutes", {330, 150, 60, 10}},

    {IDOK, ControlKind::DefaultButton, "&OK", {6, 176, 62, 15}},
    {IdAddSensor, ControlKind::PushButton, "&Add sensor", {169, 176, 62, 15}, ControlHidden},
    {IDCANCEL, ControlKind::PushButton, "&Cancel", {332, 176, 62, 15}},
};

inline constexpr DialogTemplate SettingsDialogTemplate{
    IdSettingsDialog, "Tolva Settings", 400, 197, "MS Sans Serif", 8, SettingsDialogControls};
