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

//   6                        150 156                                 402
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
//
// A group's frame may begin as low as 12 units below its top, under its title. The columns have
// room for the longest number in a font a fifth larger.
inline constexpr ControlTemplate SettingsDialogControls[] = {
    {0, ControlKind::GroupBox, "Resolution (both sensors)", {6, 4, 144, 54}},
    {IdLowResolution, ControlKind::RadioButton, "&low (2x2)", {14, 20, 128, 15}, GroupStart},
    {IdHighResolution, ControlKind::RadioButton, "&high (1x1)", {14, 38, 128, 15}},

    {IdIntegrationTimeGroup, ControlKind::GroupBox, "IntegrateTime", {156, 4, 246, 54}},
    {IdIntegrationTime, ControlKind::TrackBar, "", {164, 22, 136, 24}, 0, "Integration time"},
    {IdIntegrationTimeValue, ControlKind::Label, "", {304, 31, 30, 11}},
    {IdIntegrationTimeUnit, ControlKind::Label, "milliseconds", {336, 31, 62, 11}},

    {IdBatteryGroup, ControlKind::GroupBox, "Tolva Battery", {6, 62, 396, 82}},
    {0, ControlKind::Label, "Battery OK", {14, 79, 65, 11}},
    {IdBatteryOk, ControlKind::Label, "0", {80, 79, 60, 11}, 0, "Battery OK"},
    {0, ControlKind::Label, "Battery (%)", {14, 95, 65, 11}},
    {IdBatteryPercent, ControlKind::Label, "0", {80, 95, 60, 11}, 0, "Battery (%)"},
    {0, ControlKind::Label, "Charge (mA)", {14, 111, 65, 11}},
    {IdCharge, ControlKind::Label, "0", {80, 111, 60, 11}, 0, "Charge (mA)"},
    {0, ControlKind::Label, "CapacityLeft", {14, 127, 65, 11}},
    {IdCapacityLeft, ControlKind::Label, "0", {80, 127, 60, 11}, 0, "CapacityLeft"},

    {0, ControlKind::Label, "State", {144, 79, 65, 11}},
    {IdState, ControlKind::Label, "0", {210, 79, 60, 11}, 0, "State"},
    {0, ControlKind::Label, "Voltage", {144, 95, 65, 11}},
    {IdVoltage, ControlKind::Label, "0", {210, 95, 60, 11}, 0, "Voltage"},
    {0, ControlKind::Label, "Temperature", {144, 111, 65, 11}},
    {IdTemperature, ControlKind::Label, "0", {210, 111, 60, 11}, 0, "Temperature"},
    {0, ControlKind::Label, "TotalWear", {144, 127, 65, 11}},
    {IdTotalWear, ControlKind::Label, "0", {210, 127, 60, 11}, 0, "TotalWear"},

    {0, ControlKind::Label, "ExternalPower", {274, 79, 65, 11}},
    {IdExternalPower, ControlKind::Label, "0", {340, 79, 60, 11}, 0, "ExternalPower"},
    {0, ControlKind::Label, "NeedChange", {274, 95, 65, 11}},
    {IdNeedChange, ControlKind::Label, "0", {340, 95, 60, 11}, 0, "NeedChange"},
    {0, ControlKind::Label, "RefreshWear", {274, 111, 65, 11}},
    {IdRefreshWear, ControlKind::Label, "0", {340, 111, 60, 11}, 0, "RefreshWear"},
    {0, ControlKind::Label, "NeedRefresh", {274, 127, 65, 11}},
    {IdNeedRefresh, ControlKind::Label, "0", {340, 127, 60, 11}, 0, "NeedRefresh"},

    {IdTimeoutGroup, ControlKind::GroupBox, "Timeout", {6, 148, 396, 45}},
    {IdTimeout, ControlKind::TrackBar, "", {14, 163, 286, 24}, 0, "Timeout"},
    {IdTimeoutValue, ControlKind::Label, "Static", {304, 172, 30, 11}},
    {IdTimeoutUnit, ControlKind::Label, "minutes", {336, 172, 62, 11}},

    {IDOK, ControlKind::DefaultButton, "&OK", {6, 200, 64, 16}},
    {IdAddSensor, ControlKind::PushButton, "&Add sensor", {172, 200, 64, 16}, ControlHidden},
    {IDCANCEL, ControlKind::PushButton, "&Cancel", {338, 200, 64, 16}},
};

inline constexpr ControlHint SettingsDialogHints[] = {
    {IdLowResolution, "Averages 2 x 2 pixels into one, on both sensors."},
    {IdHighResolution, "Reads every pixel, on both sensors."},
    {IdIntegrationTime, "The sensor's integration time, in milliseconds."},
    {IdBatteryOk, "Whether the battery is in order, as the sensor reports it."},
    {IdBatteryPercent, "The charge of the battery, in percent."},
    {IdCharge, "The charging current, in milliamperes."},
    {IdCapacityLeft, "The capacity that is left, as the sensor reports it."},
    {IdState, "The number of the battery's state."},
    {IdVoltage, "The battery's voltage, as the sensor reports it."},
    {IdTemperature, "The battery's temperature, as the sensor reports it."},
    {IdTotalWear, "The battery's wear in all, as the sensor reports it."},
    {IdExternalPower, "Whether the sensor has external power."},
    {IdNeedChange, "Whether the battery needs to be replaced."},
    {IdRefreshWear, "The battery's wear since its last refresh."},
    {IdNeedRefresh, "Whether the battery needs a refresh."},
    {IdTimeout, "The sensor's inactivity timeout, in minutes."},
    {IDOK, "Sends the settings to the sensor and closes the window."},
    {IdAddSensor, "Shows the sensor that was added."},
    {IDCANCEL, "Closes the window without sending anything."},
};

inline constexpr DialogTemplate SettingsDialogTemplate{IdSettingsDialog,
                                                       "Tolva Settings",
                                                       408,
                                                       222,
                                                       "MS Sans Serif",
                                                       8,
                                                       SettingsDialogControls,
                                                       false,
                                                       false,
                                                       SettingsDialogHints};
