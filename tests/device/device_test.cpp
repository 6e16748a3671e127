// Results, typed parameters and the report, against a scripted library.
#include "device/libraries.h"
#include "device/parameters.h"
#include "device/report.h"
#include "device/results.h"
#include "platform/boxes.h"
#include "support/scripted_library.h"

#include <array>
#include <chrono>
#include <gtest/gtest.h>
#include <thread>

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
                 {0x812F0007, "Error number: 7\nResult 0x812F0007", 0x40010},
                 {0x30FFFF, "Info number: 65535\nResult 0x30FFFF", 0x40040},
                 {0x400005, "5\nResult 0x400005", 0x40000},
                 // Only the program's own code tells of a missing export.
                 {ErrorExportMissing,
                  "Error number: 65281\nThe capture library lacks this operation.", 0x40010},
                 {ErrorExportMissing & 0xFFFFFF, "Error number: 65281\nResult 0x20FF01", 0x40010}};
    library.exports.getImage = nullptr;
    for (const auto& expected : cases) {
        EXPECT_EQ(ReportResult(expected.result, owner, "Tarn test"), expected.result);
        EXPECT_EQ(boxes.back().owner, owner);
        EXPECT_EQ(boxes.back().text, expected.text);
        EXPECT_EQ(boxes.back().caption, "Tarn test");
        EXPECT_EQ(boxes.back().style, expected.style);
    }
    ReportResult(0, owner, "Tarn test");
    EXPECT_EQ(boxes.size(), std::size(cases));
    library.Fail(Export::DescribeResult, 0x300009);
    EXPECT_EQ(ReportResult(0x200005, owner, "Tarn test"), 0x300009u);
    EXPECT_EQ(boxes.back().text, "Info number: 9\n") << "the code that describing gives back";
}

TEST_F(Device, ReadsLeaveTheValueAloneOrGiveIt)
{
    library.libraryParams[2] = "1.2";
    library.SetDeviceInt(1, 3, 0xFFFFFFFF);
    library.deviceParams[{1, 4}] = -2;
    library.deviceParams[{1, 5}] = ScriptedLibrary::Block{1, 2, 3, 4};
    std::string text = "old ";
    std::uint32_t integer = 5;
    std::int32_t flag = 6;
    std::array<std::uint8_t, 5> block = {9, 9, 9, 9, 9};
    const auto read = [&](unsigned shift) {
        return std::vector<bool>{
            GetLibraryText(2 + shift, text), GetDeviceInt(1, 3 + shift, integer),
            GetDeviceFlag(1, 4 + shift, flag), GetDeviceBlock(1, 5 + shift, block.data(), 4)};
    };
    const std::vector<bool> none(4, false), all(4, true);
    EXPECT_EQ(read(1), none) << "parameters of another type, or none at all";
    library.Fail(Export::GetLibraryParam, 0);
    library.Fail(Export::GetDeviceParam, 0, 3);
    EXPECT_EQ(read(0), none) << "no objects";
    library.Break(Export::GetLibraryParam, {.wrongType = true});
    library.Break(Export::GetDeviceParam, {.wrongType = true}, 3);
    EXPECT_EQ(read(0), none) << "of another type than their own";
    EXPECT_FALSE(GetDeviceBlock(1, 5, block.data(), 3)) << "another size";
    EXPECT_FALSE(GetDeviceBlock(1, 5, block.data(), 5)) << "another size";
    library.Break(Export::GetDeviceParam, {}, 1, 0x100001);
    EXPECT_FALSE(GetDeviceBlock(1, 5, block.data(), 4)) << "a result";
    library.Break(Export::GetDeviceParam, {.nullTexts = true});
    EXPECT_FALSE(GetDeviceBlock(1, 5, block.data(), 4)) << "no bytes";
    library.Break(Export::GetLibraryParam, {.nullTexts = true});
    EXPECT_TRUE(GetLibraryText(2, text)) << "no text is an empty one";
    EXPECT_TRUE(text == "old " && integer == 5 && flag == 6 && block[0] == 9);

    EXPECT_EQ(read(0), all);
    EXPECT_TRUE(text == "old 1.2" && integer == 0xFFFFFFFF && flag == -2);
    EXPECT_EQ(block, (std::array<std::uint8_t, 5>{1, 2, 3, 4, 9}));
}

TEST_F(Device, OnlyKnownResumableStatesCountAsIdle)
{
    EXPECT_TRUE(AllDevicesIdle()) << "an empty list";
    library.devices = {{0, StateStandBy}, {1, StateFault}, {2, StateOtherFault}};
    EXPECT_TRUE(AllDevicesIdle());
    for (const std::uint32_t state : {0u, 2u, 5u, 99u, 102u}) {
        library.devices[1].state = state;
        EXPECT_FALSE(AllDevicesIdle()) << state;
    }
    library.Fail(Export::GetDeviceList, 0);
    EXPECT_TRUE(AllDevicesIdle());
    library.Break(Export::GetDeviceList, {.noEntries = true});
    EXPECT_TRUE(AllDevicesIdle());
}

TEST_F(Device, StatesHaveAWordOrTheLibrarysDescription)
{
    library.SetDeviceInt(1, DeviceParameter::FaultResult, 0x200031);
    const std::pair<std::uint32_t, std::string> cases[] = {
        {2, "Active"},          {3, "Waiting for image data"},
        {4, "Capture enabled"}, {100, "Result 0x200031"},
        {101, "Result 0x0"},    {0, "Unknown"}};
    for (const auto& [state, text] : cases) {
        EXPECT_EQ(DeviceStatusText({1, state, "N", nullptr}),
                  "   ** N **\n\nStatus: " + text + "\nHwID: \nGain file: \nVersion:\n    ");
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
    library.deviceParams[{2, DeviceParameter::SpecificInfo}] = "\nx\ny";
    library.Break(Export::GetDeviceList, {}, 1, 0x100001);
    EXPECT_EQ(LibraryReport(), "***** Tarn *****\nVersion:\n    Tarn 4\n    build 7\n\n"
                               "***** Tarn devices *****\n"
                               "   ** Left **\nSensor 12\nStatus: Stand by\nHwID: HW1\n"
                               "Gain file: gain.dat\nVersion:\n    3.0\n    \n\n"
                               "   ** Right **\nSensor 20\nStatus: Stand by\nHwID: \n"
                               "Gain file: \n     Result 0x100012\n\nVersion:\n    \n"
                               "Device specific:\n\n    x\n    y\n\n");
}

TEST_F(Device, AReportWithoutDevicesSaysWhy)
{
    const std::string start = "***** Tarn *****\nVersion:\n    \n\n***** Tarn devices *****\n";
    const std::string missing = start + "\nCould not get devicelist. Tarn reports:\n";
    EXPECT_EQ(LibraryReport(), start);
    library.Fail(Export::GetDeviceList, 0);
    EXPECT_EQ(LibraryReport(), missing + "\n");
    library.Fail(Export::GetDeviceList, 0x200003);
    EXPECT_EQ(LibraryReport(), missing + "Error number: 3\n\n");
    EXPECT_TRUE(boxes.empty());
}

TEST_F(Device, TheLogHoldsTheLastCallsAndCountsObjects)
{
    const std::uint64_t first = LibraryCalls().Count();
    const std::int64_t objects = LibraryCalls().Objects();
    library.SetDeviceInt(1, 10, 2);
    library.Fail(Export::EnableCapture, 0x200007);
    library.onCall = [](Export) { std::this_thread::sleep_for(std::chrono::milliseconds(1)); };
    TarnEnableCapture(0, CaptureUserId, 0);
    library.onCall = nullptr;
    TarnValue* value = nullptr;
    TarnGetDeviceParam(1, 10, &value);
    EXPECT_EQ(LibraryCalls().Objects(), objects + 1);
    TarnFreeObject(value);
    EXPECT_EQ(LibraryCalls().Objects(), objects);
    SetLibraryText(17, std::string(100, 'x'));
    SetLibraryBlock(16, "\1\2", 2);
    TarnRemoveImage(nullptr, 9);

    const std::vector<LibraryCall> calls = LibraryCalls().Since(first);
    const std::pair<Export, std::string> expected[] = {
        {Export::EnableCapture, "0 \"My ID\" 0"},
        {Export::GetDeviceParam, "1 10"},
        {Export::FreeObject, ArgumentsText(calls.at(2))},
        {Export::SetLibraryParam, "17 \"" + std::string(47, 'x') + '"'},
        {Export::SetLibraryParam, "16 \"block of 2 bytes\""},
        {Export::RemoveImage, "\"null\" 9"}};
    ASSERT_EQ(calls.size(), std::size(expected));
    for (std::size_t i = 0; i < calls.size(); ++i) {
        EXPECT_EQ(calls[i].which, expected[i].first) << i;
        EXPECT_EQ(ArgumentsText(calls[i]), expected[i].second);
        EXPECT_TRUE(i == 0 || calls[i - 1].end <= calls[i].start) << i;
    }
    EXPECT_EQ(calls[0].result, 0x200007u);
    EXPECT_GE(calls[0].end - calls[0].start, 5000);

    for (std::uint32_t i = 0; i < MostCallsLogged + 3; ++i) {
        TarnDisableCapture(i, 1);
    }
    const std::vector<LibraryCall> last = LibraryCalls().Since(first);
    ASSERT_EQ(last.size(), MostCallsLogged);
    EXPECT_EQ(ArgumentsText(last.front()) + ", " + ArgumentsText(last.back()), "3 1, 1002 1");
}

TEST_F(Device, AFailedImageCountIsZero)
{
    library.images.resize(2);
    library.Break(Export::GetImageCount, {}, 1, 0x100004);
    std::uint32_t count = 9;
    EXPECT_EQ(TarnGetImageCount(&count), 0x100004u);
    EXPECT_EQ(count, 0u);
}
