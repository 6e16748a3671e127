// Results, typed parameters and the report, against a scripted library.
#include "device/libraries.h"
#include "device/parameters.h"
#include "device/report.h"
#include "device/results.h"
#include "platform/boxes.h"
#include "support/scripted_library.h"

#include <gtest/gtest.h>

namespace {

struct Box
{
    HWND owner;
    std::string text, caption;
    UINT style;
};

std::vector<Box> boxes;

} // namespace

int MessageBoxA(HWND owner, const char* text, const char* caption, UINT style)
{
    boxes.push_back({owner, text, caption, style});
    return IDOK;
}

class Device : public testing::Test
{
protected:
    Device() { boxes.clear(); }
    ~Device() override
    {
        EXPECT_EQ(library.Outstanding(), 0u);
        EXPECT_EQ(library.wrongFrees, 0u);
    }

    ScriptedLibrary library;
    const HWND owner = reinterpret_cast<HWND>(std::uintptr_t{8});
};

TEST_F(Device, ResultsBecomeMessages)
{
    const struct
    {
        std::uint32_t result;
        const char* text;
        UINT style;
    } cases[] = {{0x100005, "Warning number: 5\nResult 0x100005", 0x40030},
                 {0x200005, "Error number: 5\nResult 0x200005", 0x40010},
                 {0x30FFFF, "Info number: 65535\nResult 0x30FFFF", 0x40040},
                 {0x2F0007, "Error number: 7\nResult 0x2F0007", 0x40010},
                 {0x000005, "5\nResult 0x5", 0x40000},
                 {0x400005, "5\nResult 0x400005", 0x40000},
                 {0x81200005, "Error number: 5\nResult 0x81200005", 0x40010}};
    for (const auto& expected : cases) {
        SCOPED_TRACE(expected.text);
        boxes.clear();
        EXPECT_EQ(ReportResult(expected.result, owner, "Tarn test"), expected.result);
        ASSERT_EQ(boxes.size(), 1u);
        EXPECT_EQ(boxes[0].owner, owner);
        EXPECT_EQ(boxes[0].text, expected.text);
        EXPECT_EQ(boxes[0].caption, "Tarn test");
        EXPECT_EQ(boxes[0].style, expected.style);
    }
}

TEST_F(Device, ALibraryMayGiveTheCodeOfAMissingExport)
{
    for (const std::uint32_t code : {ErrorExportMissing, ErrorExportMissing & 0xFFFFFF}) {
        ReportResult(code, owner, "");
        EXPECT_EQ(boxes.back().text.find("Error number: 65281\nResult 0x"), 0u);
    }
    library.exports.getImage = nullptr;
    ReportResult(ErrorExportMissing, owner, "");
    EXPECT_EQ(boxes.back().text, "Error number: 65281\nThe capture library lacks this operation.");
    ReportResult(ErrorExportMissing & 0xFFFFFF, owner, "");
    EXPECT_EQ(boxes.back().text, "Error number: 65281\nResult 0x20FF01");
}

TEST_F(Device, ABoxNeedsAnOwnerOrACaption)
{
    std::string text = "old";
    EXPECT_EQ(DescribeResult(0, text, owner, "Tarn test"), 0u);
    EXPECT_EQ(text, "old");
    EXPECT_EQ(DescribeResult(0x200005, text, nullptr, ""), 0x200005u);
    EXPECT_EQ(text, "Error number: 5\n");
    EXPECT_TRUE(boxes.empty());
    ReportResult(0x200005, nullptr, "caption");
    ReportResult(0x200005, owner, "");
    EXPECT_EQ(boxes.size(), 2u);
    EXPECT_EQ(library.calls, (std::vector<std::string>{"TarnDescribeResult 0x200005 0",
                                                       "TarnDescribeResult 0x200005 2000",
                                                       "TarnDescribeResult 0x200005 2000"}));

    library.Fail(Export::DescribeResult, 0x300009);
    EXPECT_EQ(ReportResult(0x200005, owner, "Tarn test"), 0x300009u);
    EXPECT_EQ(boxes.back().text, "Info number: 9\n") << "the code that describing gives back";
}

TEST_F(Device, ReadsGiveTheValueOrLeaveItAlone)
{
    library.libraryParams[8] = "1.2";
    library.deviceParams[{1, 2}] = "ABC";
    library.SetDeviceInt(1, 3, 0xFFFFFFFF);
    library.deviceParams[{1, 4}] = -2;
    library.deviceParams[{1, 5}] = ScriptedLibrary::Block{1, 2, 3, 4};
    struct Values
    {
        std::string library = "old ", device = "old ";
        std::uint32_t integer = 5;
        std::int32_t flag = 6;
        std::uint8_t block[4] = {9, 9, 9, 9};
        bool operator==(const Values&) const = default;
    };
    const auto read = [](Values& values, unsigned shift = 0) {
        return std::vector<bool>{
            GetLibraryText(8 + shift, values.library), GetDeviceText(1, 2 + shift, values.device),
            GetDeviceInt(1, 3 + shift, values.integer), GetDeviceFlag(1, 4 + shift, values.flag),
            GetDeviceBlock(1, 5 + shift, values.block, 4)};
    };
    const std::vector<bool> all(5, true), none(5, false);
    Values values;
    EXPECT_EQ(read(values), all);
    EXPECT_EQ(values, (Values{"old 1.2", "old ABC", 0xFFFFFFFF, -2, {1, 2, 3, 4}}));

    Values untouched;
    EXPECT_EQ(read(untouched, 1), none) << "parameters of another type, or none at all";
    for (const Fault fault : {Fault::NullObject, Fault::WrongType}) {
        library.Break(Export::GetLibraryParam, fault);
        library.Break(Export::GetDeviceParam, fault, 4);
        EXPECT_EQ(read(untouched), none);
    }
    library.Break(Export::GetLibraryParam, Fault::NullTexts);
    library.Break(Export::GetDeviceParam, Fault::NullTexts, 4);
    untouched.integer = values.integer;
    untouched.flag = values.flag;
    EXPECT_EQ(read(values = untouched), (std::vector<bool>{true, true, true, true, false}));
    EXPECT_EQ(values, untouched);
}

TEST_F(Device, ABlockMustHaveTheSizeAndTheResultZero)
{
    library.deviceParams[{1, 5}] = ScriptedLibrary::Block{1, 2, 3, 4};
    std::uint8_t block[5] = {9, 9, 9, 9, 9};
    EXPECT_FALSE(GetDeviceBlock(1, 5, block, 3));
    EXPECT_FALSE(GetDeviceBlock(1, 5, block, 5));
    library.Break(Export::GetDeviceParam, Fault::None, 1, 0x100001);
    EXPECT_FALSE(GetDeviceBlock(1, 5, block, 4));
    EXPECT_EQ(block[0], 9);
}

TEST_F(Device, WritesPassTagAndValueAndReturnTheResult)
{
    const std::uint8_t bytes[] = {1, 0, 0xFE};
    EXPECT_EQ(SetLibraryText(LibraryParameter::FilterChain, ""), 0u);
    EXPECT_EQ(SetLibraryBlock(LibraryParameter::StartUpBlock, bytes, 3), 0u);
    EXPECT_EQ(SetDeviceText(0, DeviceParameter::RawFilesFolder, "C:\\raw"), 0u);
    EXPECT_EQ(SetDeviceInt(1, DeviceParameter::IntegrationTime, 0xFFFFFFFF), 0u);
    EXPECT_EQ(SetDeviceFlag(0, DeviceParameter::TestImageMode, -1), 0u);
    library.Fail(Export::SetDeviceParam, 0x100007);
    EXPECT_EQ(SetDeviceBlock(1, DeviceParameter::Binning, bytes, 2), 0x100007u);
    EXPECT_EQ(library.calls, (std::vector<std::string>{"TarnSetLibraryParam 17 text \"\"",
                                                       "TarnSetLibraryParam 16 block 01 00 FE",
                                                       "TarnSetDeviceParam 0 81 text \"C:\\raw\"",
                                                       "TarnSetDeviceParam 1 11 int 4294967295",
                                                       "TarnSetDeviceParam 0 80 flag -1",
                                                       "TarnSetDeviceParam 1 10 block 01 00"}));
}

TEST_F(Device, OnlyKnownResumableStatesCountAsIdle)
{
    EXPECT_TRUE(AllDevicesIdle()) << "an empty list";
    library.devices = {{0, StateStandBy}, {1, StateFault}, {2, StateOtherFault}};
    EXPECT_TRUE(AllDevicesIdle());
    for (const std::uint32_t state : {0u, 2u, 3u, 4u, 5u, 99u, 102u}) {
        library.devices[1].state = state;
        EXPECT_FALSE(AllDevicesIdle()) << state;
    }
    library.Break(Export::GetDeviceList, Fault::NullObject);
    EXPECT_TRUE(AllDevicesIdle());
    library.Break(Export::GetDeviceList, Fault::NullEntries);
    EXPECT_TRUE(AllDevicesIdle());
}

TEST_F(Device, IndentGoesBeforeEveryLine)
{
    EXPECT_EQ(IndentText("", "  "), "  ");
    EXPECT_EQ(IndentText("a\nb", "  "), "  a\n  b");
    EXPECT_EQ(IndentText("a\n", "  "), "  a\n  ");
    EXPECT_EQ(IndentText("\na", "  "), "\n  a");
    EXPECT_EQ(IndentText("a", "\n"), "\na");
}

TEST_F(Device, StatesHaveAWordOrTheLibrarysDescription)
{
    library.SetDeviceInt(1, DeviceParameter::FaultResult, 0x200031);
    const struct
    {
        std::uint32_t state;
        const char* text;
    } cases[] = {{StateStandBy, "Stand by"},
                 {StateActive, "Active"},
                 {StateWaiting, "Waiting for image data"},
                 {StateCaptureEnabled, "Capture enabled"},
                 {StateFault, "Result 0x200031"},
                 {StateOtherFault, "Result 0x0"},
                 {0, "Unknown"},
                 {5, "Unknown"}};
    for (const auto& [state, text] : cases) {
        EXPECT_EQ(DeviceStatusText({1, state, "N", nullptr}),
                  std::string("   ** N **\n\nStatus: ") + text +
                      "\nHwID: \nGain file: \nVersion:\n    ");
    }
}

TEST_F(Device, TheReportListsVersionAndDevices)
{
    library.libraryParams[LibraryParameter::Version] = "Tarn 4\nbuild 7";
    library.devices = {{1, StateStandBy, "Left", "Sensor 12"},
                       {2, StateStandBy, "Right", "Sensor 20"}};
    library.deviceParams[{1, DeviceParameter::HardwareId}] = "HW1";
    library.deviceParams[{1, DeviceParameter::GainFile}] = "gain.dat";
    library.deviceParams[{1, DeviceParameter::Version}] = "3.0\n";
    library.SetDeviceInt(2, DeviceParameter::GainResult, 0x100012);
    library.deviceParams[{2, DeviceParameter::GainFile}] = "not shown";
    library.deviceParams[{2, DeviceParameter::SpecificInfo}] = "x\ny";
    library.Break(Export::GetDeviceList, Fault::None, 1, 0x100001);
    EXPECT_EQ(LibraryReport(), "***** Tarn *****\nVersion:\n    Tarn 4\n    build 7\n\n"
                               "***** Tarn devices *****\n"
                               "   ** Left **\nSensor 12\nStatus: Stand by\nHwID: HW1\n"
                               "Gain file: gain.dat\nVersion:\n    3.0\n    \n\n"
                               "   ** Right **\nSensor 20\nStatus: Stand by\nHwID: \n"
                               "Gain file: \n     Result 0x100012\n\nVersion:\n    \n"
                               "Device specific:\n    x\n    y\n\n");
    EXPECT_TRUE(boxes.empty());
}

TEST_F(Device, AReportWithoutDevicesSaysWhy)
{
    const std::string start = "***** Tarn *****\nVersion:\n    \n\n***** Tarn devices *****\n";
    const std::string missing = start + "\nCould not get devicelist. Tarn reports:\n";
    EXPECT_EQ(LibraryReport(), start);
    library.Break(Export::GetDeviceList, Fault::NullObject);
    EXPECT_EQ(LibraryReport(), missing + "\n");
    library.Fail(Export::GetDeviceList, 0x200003);
    EXPECT_EQ(LibraryReport(), missing + "Error number: 3\n\n");
}

TEST_F(Device, AFailedImageCountIsZero)
{
    library.images.resize(2);
    std::uint32_t count = 9;
    EXPECT_EQ(TarnGetImageCount(&count), 0u);
    EXPECT_EQ(count, 2u);
    library.Break(Export::GetImageCount, Fault::None, 1, 0x100004);
    EXPECT_EQ(TarnGetImageCount(&count), 0x100004u);
    EXPECT_EQ(count, 0u);
}
