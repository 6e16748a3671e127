// Drives the simulated capture library as the program does, with a recorder as the window.
#include "device/libraries.h"
#include "device/parameters.h"
#include "platform/messages.h"
#include "platform/module.h"
#include "simulator/tarn/hand_switch.h"
#include "simulator/tarn/result_codes.h"
#include "simulator/tarn/settings.h"
#include "simulator/tarn/store.h"
#include "simulator/tarn/system.h"
#include "storage/paths.h"
#include "storage/test_files.h"
#include "support/test_system.h"

#include <condition_variable>
#include <gtest/gtest.h>
#include <mutex>
#include <sstream>
#include <tuple>
#include <vector>

namespace {

std::mutex eventMutex;
std::condition_variable eventArrived;
std::vector<std::pair<std::uint32_t, std::uint32_t>> events; // event, image

std::uint32_t HandSwitch()
{
    static const auto Press = reinterpret_cast<decltype(&TarnSimulatorHandSwitch)>(
        FunctionOf(ModuleFileName(LoadModule("Tarn")).c_str(), "TarnSimulatorHandSwitch"));
    return Press();
}

using Image = LibraryObject<TarnImageRecord>;

// Pixels and texts.
std::string ContentOf(const Image& image)
{
    const std::size_t size = std::size_t{image->width} * image->height * image->pixelBytes;
    return std::string(reinterpret_cast<const char*>(image->pixels), size) + image->headerText +
           image->userId;
}

class Simulator : public testing::Test
{
protected:
    Simulator()
    {
        SetEnvironment("TARN_SIMULATOR", folder / "s.ini");
        Configure("");
        Open();
    }
    ~Simulator() override { TarnClose(); }

    void Open()
    {
        events.clear();
        ASSERT_EQ(TarnOpen(nullptr, "test"), 0u);
        TarnSetNotifyWindow(reinterpret_cast<HWND>(1), WM_TARN_EVENT);
    }

    // Replaces the file as a whole, because it may be read at any time.
    void Configure(const std::string& lines)
    {
        WriteBytes(folder / "new",
                   "time_factor = 100\nseed = 5\nexposure_delay = never\nimage_width = 130\n"
                   "image_height = 170\nstore_folder = " +
                       folder / "store" + "\ntrace_file = " + folder / "trace" + "\n" + lines);
        ReplaceFileBy(folder / "new", folder / "s.ini");
    }

    // Waits for an event and removes all up to it: "17 7 2:1 " and so on.
    std::string Until(std::uint32_t code)
    {
        std::unique_lock lock(eventMutex);
        std::ostringstream taken;
        for (std::uint32_t last = code + 1; last != code; events.erase(events.begin())) {
            if (!eventArrived.wait_for(lock, std::chrono::seconds(20),
                                       [] { return !events.empty(); })) {
                return taken.str() + "timeout";
            }
            std::tie(last, lastImage) = events.front();
            taken << last << (lastImage != 0 ? ':' + std::to_string(lastImage) : "") << ' ';
        }
        return taken.str();
    }

    std::uint32_t Expose()
    {
        EXPECT_EQ(TarnEnableCapture(0, "My ID", 0), 0u);
        Until(EventArmed);
        EXPECT_EQ(HandSwitch(), 0u);
        Until(EventImageReady);
        const std::uint32_t number = lastImage;
        Until(EventCaptureDone);
        return number;
    }

    Image Fetch(std::uint32_t number, std::uint32_t expected = 0)
    {
        TarnImageRecord* image = nullptr;
        EXPECT_EQ(TarnGetImage("", number, &image), expected);
        return Image(image);
    }

    std::string Number(std::uint32_t device, std::uint32_t parameter)
    {
        std::uint32_t value = 0;
        return GetDeviceInt(device, parameter, value) ? std::to_string(value) : "-";
    }

    // What the devices 0, 1 and 2 say about Enable and about Abort.
    std::string Buttons()
    {
        std::string codes;
        for (std::uint32_t device = 0; device < 3; ++device) {
            for (const std::uint32_t state :
                 {DeviceParameter::EnableState, DeviceParameter::AbortState}) {
                codes += Number(device, state);
            }
            codes += ' ';
        }
        return codes;
    }

    std::uint32_t lastImage = 0;
    const TestFolder folder;
};

TEST_F(Simulator, ExposesInOrderAndSetsTheButtons)
{
    Configure("series_length = 1\nreadout_time = 50\narming_delay = 20");
    EXPECT_EQ(Buttons(), "11 01 01 ");
    EXPECT_NE(HandSwitch(), 0u);
    ASSERT_EQ(TarnEnableCapture(0, "My ID", 0), 0u);
    EXPECT_EQ(Buttons(), "11 10 10 ");
    EXPECT_EQ(Until(EventArmed), "15 ");
    EXPECT_EQ(HandSwitch(), 0u);
    EXPECT_EQ(Buttons(), "22 22 22 ");
    EXPECT_NE(TarnDisableCapture(0, 1), 0u);
    EXPECT_EQ(Until(EventCaptureDone), "17 7 2:1 4 ");
    ASSERT_EQ(TarnEnableCapture(0, "My ID", 0), 0u);
    EXPECT_EQ(Until(EventArmed), "6 15 ");
    EXPECT_EQ(TarnDisableCapture(0, 1), 0u);
    EXPECT_EQ(Until(EventCaptureDisabled), "3 ");
    EXPECT_EQ(Buttons(), "11 01 01 ");
}

TEST_F(Simulator, DisarmsByTimeoutPulledPlugAndFault)
{
    for (const auto& [before, change, result, expected] :
         {std::tuple{"inactivity_timeout = 2", "inactivity_timeout = 2", tarn::TimedOut,
                     "7 3 3145768 "},
          {"", "sensors = 2", tarn::Unplugged, "7 3 1048606 "},
          {"", "device_fault = 1 101 error 7", ResultError | 7, "7 3 2097159 "}}) {
        Configure(before);
        ASSERT_EQ(TarnEnableCapture(0, "", 0), 0u);
        Until(EventArmed);
        Configure(change);
        EXPECT_EQ(Until(result), expected);
    }
    Configure("sensors = none");
    EXPECT_NE(TarnEnableCapture(0, "", 0), 0u);
    EXPECT_EQ(Buttons(), "11 -- -- ");
    Configure("");
    EXPECT_STREQ(Fetch(Expose())->userId, "My ID");
}

TEST_F(Simulator, SameSeedGivesTheSameImageAndTheStoreSurvives)
{
    const std::string first = ContentOf(Fetch(Expose())), second = ContentOf(Fetch(Expose()));
    EXPECT_NE(first.substr(0, 130 * 170 * 2), second.substr(0, 130 * 170 * 2)) << "pixels";
    TarnClose();
    WriteBytes(folder / "store/0000000009.tarn.tmp", "half");
    // None of these is an image; the library skips them and leaves them alone.
    const std::string whole = ReadBytes(folder / "store/0000000001.tarn");
    WriteBytes(folder / "store/0000000003.tarn", "garbage " + whole);
    ResizeFile(folder / "store/0000000003.tarn", std::uint64_t{1} << 40);
    std::string cut = whole.substr(0, whole.size() - 1);
    cut[24] = 4; // its id
    WriteBytes(folder / "store/0000000004.tarn", cut);
    std::filesystem::create_directory(folder / "store/0000000005.tarn");
    Configure("removed_folder = " + folder / "removed");
    Open();
    std::uint32_t count = 0;
    EXPECT_EQ(TarnGetImageCount(&count) + count, 5u);
    EXPECT_EQ(ContentOf(Fetch(0)), first);
    EXPECT_EQ(TarnRemoveImage("other user", 1), tarn::NoSuchImage);
    EXPECT_EQ(TarnRemoveImage("", 1), 0u);
    EXPECT_EQ(ContentOf(Fetch(0)), second);
    EXPECT_EQ(TarnRemoveImage("", 2), 0u);
    EXPECT_EQ(ReadBytes(folder / "removed/0000000001.tarn"), whole);
    Fetch(0, tarn::NoSuchImage);
    EXPECT_EQ(TarnGetImageCount(&count) + count, 0u) << "they are no longer counted";
    TarnClose();
    Open();
    EXPECT_EQ(Expose(), 6u) << "ids are not reused";
    TarnClose();
    std::filesystem::remove_all(folder / "store");
    Open();
    EXPECT_EQ(ContentOf(Fetch(Expose())), first);
}

TEST_F(Simulator, ParametersChangeTheImageAndExposuresTheBattery)
{
    const std::string ini = "image_width = 0\nimage_height = 0\nbattery_per_exposure = 44\n";
    Configure(ini);
    const Image plain = Fetch(Expose());
    EXPECT_EQ(plain->width * 10000 + plain->height, 13001700u);
    const std::string header = plain->headerText;
    EXPECT_NE(header.find(";ProgramName=Hand PA;"), std::string::npos);
    EXPECT_LT(header.find("Time="), header.find("ExposureTime="));
    std::uint32_t battery[9] = {};
    EXPECT_TRUE(GetDeviceBlock(1, DeviceParameter::BatteryStatus, battery, sizeof battery));
    EXPECT_EQ(battery[8], 460u) << "mAh";

    const std::uint16_t binning[] = {2, 12};
    EXPECT_EQ(SetDeviceBlock(1, DeviceParameter::Binning, binning, sizeof binning), 0u);
    EXPECT_EQ(SetDeviceInt(1, DeviceParameter::IntegrationTime, 30), 0u);
    EXPECT_EQ(SetDeviceInt(1, DeviceParameter::Binning, 30), tarn::BadValue);
    EXPECT_EQ(Number(1, DeviceParameter::Binning) + Number(2, DeviceParameter::Binning), "21");
    const Image dark = Fetch(Expose());
    EXPECT_EQ(dark->width * 10000 + dark->height, 6500850u);
    EXPECT_GT(dark->pixels[1], plain->pixels[1] + 5) << "less exposure is brighter";

    EXPECT_EQ(SetLibraryText(LibraryParameter::FilterChain, "MinMaxScaleTo8Bit"), 0u);
    EXPECT_EQ(Fetch(Expose())->pixelBytes, 1u);
    EXPECT_EQ(TarnEnableCapture(0, "", 0), tarn::BatteryEmpty) << "the battery is empty";
    Configure(ini + "external_power = on");
    EXPECT_EQ(SetDeviceFlag(0, DeviceParameter::TestImageMode, 1), 0u);
    const Image marks = Fetch(Expose());
    EXPECT_EQ(marks->bitsPerSample, 8u);
    EXPECT_EQ(marks->pixels[marks->width * marks->height - 1], 0xBA)
        << "the mark 3000 of 4095 stands top right: last";
}

TEST_F(Simulator, RulesAndScriptsFailTheCallsTheyName)
{
    Configure("TarnGetImageCount = next 1 error 5\nTarnGetImage = no-header, no-user\n"
              "next_image_id = 4294967295\nevent_2 = next 1 twice");
    std::uint32_t count = 7;
    EXPECT_EQ(TarnGetImageCount(&count), ResultError | 5);
    EXPECT_EQ(TarnGetImageCount(&count) + count, 0u);
    EXPECT_EQ(Expose(), 4294967295u);
    const Image textless = Fetch(0);
    EXPECT_TRUE(textless->headerText == nullptr && textless->userId == nullptr);
    Configure("TarnGetImage = always null\nTarnRemoveImage = every 2 0x400009\nstore_limit = 1\n"
              "events = error 3, 99");
    EXPECT_EQ(Fetch(0), nullptr);
    EXPECT_EQ(TarnRemoveImage("", 1), tarn::NoSuchImage);
    EXPECT_EQ(TarnRemoveImage("", 4294967295u), 0x400009u);
    EXPECT_EQ(TarnEnableCapture(0, "", 0), tarn::StoreFull);
    EXPECT_EQ(Until(99), "2097155 99 ");
    Configure("TarnGetImage = always null\nfaults = off");
    EXPECT_EQ(Fetch(0)->width, 130u);
    Configure("[script]\nafter 1 image: TarnGetImage = next 1 error 8\nafter 1 s: events = 78");
    Fetch(Expose(), ResultError | 8);
    EXPECT_EQ(Until(78), "78 ");
    Configure("storm = 1000000\nstorm_count = 5\nstorm_events = error 3, 2, 99");
    EXPECT_EQ(Until(99), "2097155 2:4000000000 99 ");
    EXPECT_EQ(Until(EventImageReady), "2097155 2:4000000000 ");
    Configure("events = 78");
    EXPECT_EQ(Until(78), "78 ") << "the storm is over";
}

TEST_F(Simulator, ReportsWrongLinesAndUnfreedObjects)
{
    testing::internal::CaptureStderr();
    Configure("image_width = 77");
    Fetch(Expose());
    Configure("image_width = wide\nno_such_key = 1\nTarnGetImage = sometimes");
    EXPECT_EQ(Fetch(Expose())->width, 77u);
    ResizeFile(folder / "s.ini", std::uint64_t{1} << 40);
    EXPECT_EQ(Fetch(Expose())->width, 77u);
    TarnValue* value = nullptr;
    TarnGetDeviceParam(1, DeviceParameter::HardwareId, &value);
    TarnClose();
    TarnFreeObject(value);
    TarnFreeObject(value);
    const std::string report = testing::internal::GetCapturedStderr();
    for (const char* part :
         {":8: image_width takes a whole number, not 'wide'",
          ":9: there is no setting 'no_such_key'", ":10: TarnGetImage takes",
          "s.ini: is no settings file", " objects handed out, 1 not freed", "is freed already"}) {
        EXPECT_NE(report.find(part), std::string::npos) << part << " in " << report;
    }
    EXPECT_NE(ReadBytes(folder / "trace").find(" TarnGetDeviceParam 1 2 -> 0\n"),
              std::string::npos);
    Open();
}

TEST_F(Simulator, IsRefusedAStoreInUse)
{
    EXPECT_EQ(Expose(), 1u);
    WriteBytes(folder / "store/0000000002.tarn.tmp", "that the first is writing");
    EXPECT_THROW(tarn::ImageStore(folder / "store"), std::runtime_error);
    EXPECT_TRUE(std::filesystem::exists(folder / "store/0000000002.tarn.tmp"));
    TarnClose();
    {
        const tarn::ImageStore other(folder / "store");
        EXPECT_EQ(other.Count(), 1u);
        EXPECT_EQ(TarnOpen(nullptr, "test"), tarn::StoreUnusable);
    }
    Open();
    EXPECT_EQ(Expose(), 2u);
}

TEST(SimulatorFolder, MayHaveAnyName)
{
    const TestFolder folder;
    const std::filesystem::path place = std::filesystem::path(folder / "") / u8"J\u00FCrgen";
    std::filesystem::create_directory(place);
    std::filesystem::copy_file(ModuleFileName(LoadModule("Tarn")), place / "copy.dll");
    std::ofstream(place / "Tarn.ini") << "trace_file = calls\n";
    SetEnvironment("TARN_SIMULATOR", "");
    const auto press = reinterpret_cast<decltype(&TarnSimulatorHandSwitch)>(
        FunctionOf((folder / "J\xC3\xBCrgen/copy.dll").c_str(), "TarnSimulatorHandSwitch"));
    ASSERT_NE(press, nullptr);
    press();
    EXPECT_TRUE(std::filesystem::exists(place / "calls"));
    const std::string named = folder / "\xC3\xA9.ini";
    SetEnvironment("TARN_SIMULATOR", named);
    EXPECT_EQ(tarn::EnvironmentText("TARN_SIMULATOR"), named);
}

TEST(SimulatorManual, NamesEveryKnob)
{
    const std::string manual = ReadBytes(SIMULATOR_MANUAL);
    for (const tarn::Knob& knob : tarn::Knobs()) {
        EXPECT_NE(manual.find(std::string(1, '`').append(knob.key).append(1, '`')),
                  std::string::npos)
            << knob.key;
    }
}

} // namespace

extern "C" int PostMessageA(HWND, UINT, WPARAM wParam, LPARAM lParam)
{
    const std::lock_guard lock(eventMutex);
    events.emplace_back(lParam, wParam);
    eventArrived.notify_all();
    return 1;
}
