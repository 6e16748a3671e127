// The sensor settings dialog, driven by an operator over a scripted library.
#include "resources/settings_dialog_template.h"
#include "settings/battery_status.h"
#include "settings/sensor_settings_dialog.h"
#include "support/operator.h"
#include "support/scripted_library.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <optional>
#include <tuple>

namespace {

using Strings = std::vector<std::string>;

class Settings : public testing::Test
{
protected:
    ~Settings() override { EXPECT_EQ(library.Outstanding(), 0u); }

    bool WaitForText(int id, const std::string& text)
    {
        return hand.Wait([&] { return hand.Text(id) == text; }, 20'000);
    }

    Strings Writes() const { return library.CallsOf({"TarnSet"}); }

    ScriptedLibrary library;
    Operator hand;
    CSensorSettingsDlg dialog{nullptr};
};

// Whose OK comes before anything is drawn.
struct HastySettings : CSensorSettingsDlg
{
    using CSensorSettingsDlg::CSensorSettingsDlg;
    BOOL OnInitDialog() override
    {
        const BOOL chooseFocus = CSensorSettingsDlg::OnInitDialog();
        OnOK();
        return chooseFocus;
    }
};

struct Reading
{
    int control;
    const char* label;
    std::uint32_t unknown, pattern; // the latter: bytes 80 81 82 ...
};

constexpr Reading Readings[] = {
    {IdRefreshWear, "RefreshWear", 0, 0x83828180}, {IdTotalWear, "TotalWear", 0, 0x87868584},
    {IdVoltage, "Voltage", 1200, 0x8988},          {IdBatteryPercent, "Battery (%)", 0, 0x8B8A},
    {IdBatteryOk, "Battery OK", 0, 0x8F8E8D8C},    {IdNeedRefresh, "NeedRefresh", 0, 0x93929190},
    {IdNeedChange, "NeedChange", 0, 0x97969594},   {IdTemperature, "Temperature", 35, 0x9998},
    {IdCharge, "Charge (mA)", 0, 0xFFFF9B9A},      {IdState, "State", 128, 0x9C},
    {IdExternalPower, "ExternalPower", 0, 0x9D},   {IdCapacityLeft, "CapacityLeft", 0, 0xA3A2A1A0},
};

} // namespace

TEST_F(Settings, WhatIsReadIsShownClampedAndWrittenBack)
{
    const struct
    {
        std::optional<std::uint32_t> read[3]; // binning, integration time, timeout
        bool high;
        std::string shownTime, shownMinutes, writtenBinning, writtenTimeout;
    } cases[] = {
        {{1, 250, 180000}, true, "250", "3", "01 00", "180000"},
        {{2, 0, 60000}, false, "0", "1", "02 00", "60000"},
        {{4, 1000, 600000}, false, "1000", "10", "04 00", "600000"},
        {{0, 1001, 90000}, false, "1000", "1", "00 00", "60000"},
        {{0x10001, 0xFFFFFFFF, 900000}, false, "1000", "10", "01 00", "600000"},
        {{0xFFFF1234, 999, 0xFFFFFFFF}, false, "999", "10", "34 12", "600000"},
        {{1, 1, 30000}, true, "1", "1", "01 00", "60000"},
        {{{}, {}, {}}, true, "0", "1", "01 00", "60000"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.writtenBinning + " " + c.shownTime);
        library.deviceParams.clear();
        for (std::uint32_t i = 0; i < 3; ++i) {
            if (c.read[i]) {
                library.SetDeviceInt(1, DeviceParameter::Binning + i, *c.read[i]);
            }
        }
        library.calls.clear();
        library.Fail(Export::SetDeviceParam, 0x200001, 4);
        CSensorSettingsDlg opened(nullptr);
        EXPECT_EQ(hand.Run(opened,
                           [&] {
                               EXPECT_TRUE(WaitForText(IdIntegrationTimeValue, c.shownTime));
                               EXPECT_TRUE(WaitForText(IdTimeoutValue, c.shownMinutes));
                               EXPECT_EQ(hand.IsChecked(IdHighResolution), c.high);
                               EXPECT_EQ(hand.IsChecked(IdLowResolution), !c.high);
                               hand.Click(IDOK);
                           }),
                  IDOK);
        EXPECT_EQ(Writes(), (Strings{"TarnSetDeviceParam 1 11 int " + c.shownTime,
                                     "TarnSetDeviceParam 1 10 block " + c.writtenBinning + " 0C 00",
                                     "TarnSetDeviceParam 1 10 block " + c.writtenBinning + " 14 00",
                                     "TarnSetDeviceParam 1 12 int " + c.writtenTimeout}));
    }
}

TEST_F(Settings, WhatWasReadIsWrittenBackBeforeTheFirstDrawing)
{
    for (const auto& [time, timeout, writtenTime, writtenTimeout] :
         {std::tuple{1001u, 900000u, "1001", "900000"},
          {~0u, ~0u, "4294967295", "4294920000"},
          {0u, 30000u, "0", "0"}}) {
        library.SetDeviceInt(1, DeviceParameter::IntegrationTime, time);
        library.SetDeviceInt(1, DeviceParameter::InactivityTimeout, timeout);
        library.calls.clear();
        HastySettings hasty(nullptr);
        EXPECT_EQ(hand.Run(hasty, [] {}), IDOK);
        EXPECT_EQ(Writes().front(), std::string("TarnSetDeviceParam 1 11 int ") + writtenTime);
        EXPECT_EQ(Writes().back(), std::string("TarnSetDeviceParam 1 12 int ") + writtenTimeout);
    }
}

TEST_F(Settings, WhatTheOperatorChangesIsWritten)
{
    library.SetDeviceInt(1, DeviceParameter::Binning, 4);
    hand.Run(dialog, [&] {
        EXPECT_TRUE(WaitForText(IdTimeoutValue, "1"));
        hand.Drag(IdIntegrationTime, 730);
        EXPECT_EQ(hand.Text(IdIntegrationTimeValue), "730") << "at once";
        hand.Click(IdHighResolution);
        hand.Click(IdLowResolution);
        hand.Drag(IdTimeout, 7);
        EXPECT_EQ(hand.Text(IdTimeoutValue), "7");
        hand.PressEnter();
    });
    EXPECT_EQ(Writes(), (Strings{"TarnSetDeviceParam 1 11 int 730",
                                 "TarnSetDeviceParam 1 10 block 02 00 0C 00",
                                 "TarnSetDeviceParam 1 10 block 02 00 14 00",
                                 "TarnSetDeviceParam 1 12 int 420000"}));
}

TEST_F(Settings, CancelWritesNothing)
{
    EXPECT_EQ(hand.Run(dialog, [&] { hand.Click(IdHighResolution), hand.PressEscape(); }),
              IDCANCEL);
    EXPECT_EQ(Writes(), Strings{});
}

TEST_F(Settings, TheReadOutsFollowTheBatteryEverySecond)
{
    ScriptedLibrary::Block pattern(36);
    for (std::size_t i = 0; i < pattern.size(); ++i) {
        pattern[i] = static_cast<std::uint8_t>(0x80 + i);
    }
    const auto expect = [&](std::uint32_t Reading::*column) {
        for (const Reading& reading : Readings) {
            EXPECT_EQ(hand.Text(reading.control),
                      std::to_string(static_cast<std::int32_t>(reading.*column)))
                << reading.label;
        }
    };
    hand.Run(dialog, [&] {
        EXPECT_EQ(hand.Text(IdVoltage), "0");
        EXPECT_TRUE(WaitForText(IdVoltage, "1200"));
        expect(&Reading::unknown);

        library.deviceParams[{1, DeviceParameter::BatteryStatus}] = pattern;
        EXPECT_TRUE(WaitForText(IdVoltage, "35208"));
        expect(&Reading::pattern);

        library.Break(Export::GetDeviceParam, {}, 1, 0x100001);
        dialog.Send(WM_TIMER, 99);
        expect(&Reading::pattern);
        dialog.Send(WM_TIMER, 100);
        expect(&Reading::unknown);
    });
}

TEST_F(Settings, TheAddedSensorIsTheThirdText)
{
    library.deviceParams[{0, DeviceParameter::BaseUnitInfo}] = "first";
    library.deviceParams[{1, DeviceParameter::SensorInfo}] = "second";
    hand.Run(dialog, [&] {
        EXPECT_FALSE(hand.IsVisible(IdAddSensor));
        for (const char* text : {"", "third"}) {
            hand.WhenBox(text, IDOK);
            dialog.Send(WM_COMMAND, IdAddSensor);
            EXPECT_EQ(hand.Boxes().back().text, text);
            library.deviceParams[{2, DeviceParameter::SensorInfo}] = "third";
        }
    });
    EXPECT_EQ(library.CallsOf({"TarnGetDeviceParam 0 4", "TarnGetDeviceParam 2 5"}).size(), 4u);
}

TEST_F(Settings, EveryReadOutHasItsLabel)
{
    const std::span<const ControlTemplate> controls = SettingsDialogTemplate.controls;
    for (const Reading& reading : Readings) {
        const auto place = std::ranges::find(controls, reading.control, &ControlTemplate::id);
        EXPECT_STREQ(std::prev(place)->text, reading.label);
        EXPECT_STREQ(place->accessibleName, reading.label);
    }
}
