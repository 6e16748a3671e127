// Drives the simulated capture library through its exports, with a recorder as the window.
#include "device/tarn_abi.h"
#include "platform/messages.h"
#include "simulator/tarn/hand_switch.h"
#include "simulator/tarn/result_codes.h"
#include "simulator/tarn/settings.h"

#include <condition_variable>
#include <cstring>
#include <dlfcn.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <unistd.h>
#include <vector>

namespace {

std::mutex eventMutex;
std::condition_variable eventArrived;
std::vector<std::pair<std::uint32_t, std::uint32_t>> events; // event, image

template <class Function>
Function* Symbol(const char* name)
{
    static void* const Library = dlopen(TARN_LIBRARY, RTLD_NOW);
    return reinterpret_cast<Function*>(Library == nullptr ? nullptr : dlsym(Library, name));
}

const auto TarnOpen = Symbol<decltype(Tarn_1)>("Tarn_1");
const auto TarnClose = Symbol<decltype(Tarn_2)>("Tarn_2");
const auto SetNotifyWindow = Symbol<decltype(Tarn_3)>("Tarn_3");
const auto Enable = Symbol<decltype(Tarn_5)>("Tarn_5");
const auto Disable = Symbol<decltype(Tarn_6)>("Tarn_6");
const auto SetLibraryParam = Symbol<decltype(Tarn_8)>("Tarn_8");
const auto GetImage = Symbol<decltype(Tarn_20)>("Tarn_20");
const auto RemoveImage = Symbol<decltype(Tarn_21)>("Tarn_21");
const auto GetImageCount = Symbol<decltype(Tarn_22)>("Tarn_22");
const auto GetDeviceParam = Symbol<decltype(Tarn_31)>("Tarn_31");
const auto SetDeviceParam = Symbol<decltype(Tarn_32)>("Tarn_32");
const auto FreeObject = Symbol<decltype(Tarn_99)>("Tarn_99");
const auto HandSwitch = Symbol<decltype(TarnSimulatorHandSwitch)>("TarnSimulatorHandSwitch");

struct Image
{
    std::uint32_t width = 0, height = 0, bits = 0;
    std::string pixels, header, userId;
    bool operator==(const Image&) const = default;
};

TarnValue Record(std::uint32_t parameter, std::uint32_t type, std::uintptr_t value,
                 const void* pointer = nullptr)
{
    return {TagOf(parameter, type), 0, value, pointer, {}};
}

std::string ReadFile(const std::filesystem::path& path)
{
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
}

class Simulator : public testing::Test
{
protected:
    Simulator()
    {
        std::filesystem::create_directories(folder);
        setenv("TARN_SIMULATOR", (folder / "s.ini").c_str(), 1);
        Configure("");
        Open();
    }
    ~Simulator() override
    {
        TarnClose();
        std::filesystem::remove_all(folder);
    }

    void Open()
    {
        events.clear();
        ASSERT_EQ(TarnOpen(nullptr, "test"), 0u);
        SetNotifyWindow(reinterpret_cast<HWND>(1), WM_TARN_EVENT);
    }

    // Replaces the file as a whole, because it may be read at any time.
    void Configure(const std::string& lines)
    {
        std::ofstream(folder / "new")
            << "time_factor = 100\nseed = 5\nexposure_delay = never\nimage_width = 130\n"
            << "image_height = 170\nstore_folder = " << (folder / "store").string()
            << "\ntrace_file = " << (folder / "trace").string() << "\n"
            << lines << "\n";
        std::filesystem::rename(folder / "new", folder / "s.ini");
    }

    // Waits for an event and removes all up to it: "17 7 2:1 " and so on.
    std::string Until(std::uint32_t code)
    {
        std::unique_lock lock(eventMutex);
        std::string taken;
        for (std::uint32_t last = code + 1; last != code; events.erase(events.begin())) {
            if (!eventArrived.wait_for(lock, std::chrono::seconds(20),
                                       [] { return !events.empty(); })) {
                return taken + "timeout";
            }
            last = events.front().first;
            lastImage = events.front().second;
            taken.append(std::to_string(last));
            if (lastImage != 0) {
                taken.append(1, ':').append(std::to_string(lastImage));
            }
            taken.append(1, ' ');
        }
        return taken;
    }

    std::uint32_t Expose()
    {
        EXPECT_EQ(Enable(0, "My ID", 0), 0u);
        Until(EventArmed);
        EXPECT_EQ(HandSwitch(), 0u);
        Until(EventImageReady);
        const std::uint32_t number = lastImage;
        Until(EventCaptureDone);
        return number;
    }

    Image Fetch(std::uint32_t number, std::uint32_t expected = 0)
    {
        TarnImageRecord* record = nullptr;
        EXPECT_EQ(GetImage("", number, &record), expected);
        if (record == nullptr) {
            return {};
        }
        const std::size_t size = std::size_t{record->width} * record->height * record->pixelBytes;
        const auto* bytes = reinterpret_cast<const char*>(record->pixels);
        const auto text = [](const char* start) { return start == nullptr ? "null" : start; };
        Image image = {record->width,
                       record->height,
                       record->bitsPerSample,
                       std::string(bytes, size),
                       text(record->headerText),
                       text(record->userId)};
        FreeObject(record);
        return image;
    }

    std::string Parameter(std::uint32_t device, std::uint32_t parameter)
    {
        TarnValue* value = nullptr;
        if (GetDeviceParam(device, parameter, &value) != 0) {
            return "-";
        }
        const bool block = TypeOf(*value) == TarnTypeBlock;
        std::string text = block
                               ? std::string(static_cast<const char*>(value->pointer), value->value)
                               : std::to_string(value->value);
        FreeObject(value);
        return text;
    }

    // What the devices 0, 1 and 2 say about Enable and about Abort.
    std::string Buttons()
    {
        std::string codes;
        for (std::uint32_t device = 0; device < 3; ++device) {
            for (const std::uint32_t state :
                 {DeviceParameter::EnableState, DeviceParameter::AbortState}) {
                codes += Parameter(device, state);
            }
            codes += ' ';
        }
        return codes;
    }

    std::uint32_t lastImage = 0;
    const std::filesystem::path folder =
        std::filesystem::temp_directory_path() / ("tarn-test-" + std::to_string(getpid()));
};

TEST_F(Simulator, ExposesInOrderAndSetsTheButtons)
{
    Configure("series_length = 1\nreadout_time = 50\narming_delay = 20");
    EXPECT_EQ(Buttons(), "11 01 01 ");
    EXPECT_NE(HandSwitch(), 0u);
    ASSERT_EQ(Enable(0, "My ID", 0), 0u);
    EXPECT_EQ(Buttons(), "11 10 10 ");
    EXPECT_EQ(Until(EventArmed), "15 ");
    EXPECT_EQ(HandSwitch(), 0u);
    EXPECT_EQ(Buttons(), "22 22 22 ");
    EXPECT_NE(Disable(0, 1), 0u);
    EXPECT_EQ(Until(EventCaptureDone), "17 7 2:1 4 ");
    ASSERT_EQ(Enable(0, "My ID", 0), 0u);
    EXPECT_EQ(Until(EventArmed), "6 15 ");
    EXPECT_EQ(Disable(0, 1), 0u);
    EXPECT_EQ(Until(EventCaptureDisabled), "3 ");
    EXPECT_EQ(Buttons(), "11 01 01 ");
}

TEST_F(Simulator, DisarmsByTimeoutPulledPlugAndFault)
{
    struct Case
    {
        const char* before;
        const char* change;
        std::uint32_t result;
        const char* events;
    };
    const Case cases[] = {
        {"inactivity_timeout = 2", "inactivity_timeout = 2", tarn::TimedOut, "7 3 3145768 "},
        {"", "sensors = 2", tarn::Unplugged, "7 3 1048606 "},
        {"", "device_fault = 1 101 error 7", ResultError | 7, "7 3 2097159 "},
    };
    for (const Case& row : cases) {
        Configure(row.before);
        ASSERT_EQ(Enable(0, "", 0), 0u);
        Until(EventArmed);
        Configure(row.change);
        EXPECT_EQ(Until(row.result), row.events);
    }
    Configure("sensors = none");
    EXPECT_NE(Enable(0, "", 0), 0u);
    EXPECT_EQ(Buttons(), "11 -- -- ");
    Configure("");
    EXPECT_EQ(Fetch(Expose()).userId, "My ID");
}

TEST_F(Simulator, SameSeedGivesTheSameImageAndTheStoreSurvives)
{
    const Image first = Fetch(Expose()), second = Fetch(Expose());
    EXPECT_NE(first.pixels, second.pixels);
    TarnClose();
    std::ofstream(folder / "store" / "0000000009.tarn.tmp") << "half";
    // None of these is an image; the library skips them and leaves them alone.
    const std::string whole = ReadFile(folder / "store" / "0000000001.tarn");
    for (const char* name : {"0000000003.tarn", "0000000004.tarn", "0000000005.tarn"}) {
        std::ofstream(folder / "store" / name) << "garbage " << whole;
    }
    std::string cut = whole.substr(0, whole.size() - 1);
    cut[24] = 6; // its id
    std::ofstream(folder / "store" / "0000000006.tarn") << cut;
    std::filesystem::resize_file(folder / "store" / "0000000003.tarn", std::uint64_t{1} << 40);
    std::filesystem::create_directory(folder / "store" / "0000000007.tarn");
    Configure("removed_folder = " + (folder / "removed").string());
    Open();
    std::uint32_t count = 0;
    EXPECT_EQ(GetImageCount(&count) + count, 7u);
    EXPECT_EQ(Fetch(0), first);
    EXPECT_EQ(RemoveImage("other user", 1), tarn::NoSuchImage);
    EXPECT_EQ(RemoveImage("", 1), 0u);
    EXPECT_EQ(Fetch(0), second);
    EXPECT_EQ(RemoveImage("", 2), 0u);
    EXPECT_EQ(ReadFile(folder / "removed" / "0000000001.tarn"), whole);
    Fetch(0, tarn::NoSuchImage);
    EXPECT_EQ(GetImageCount(&count) + count, 0u) << "they are no longer counted";
    TarnClose();
    Open();
    EXPECT_EQ(Expose(), 8u) << "ids are not reused";
    TarnClose();
    std::filesystem::remove_all(folder / "store");
    Open();
    EXPECT_EQ(Fetch(Expose()), first);
}

TEST_F(Simulator, ParametersChangeTheImageAndExposuresTheBattery)
{
    const std::string ini = "image_width = 0\nimage_height = 0\nbattery_per_exposure = 44\n";
    Configure(ini);
    const Image plain = Fetch(Expose());
    EXPECT_EQ(plain.width * 10000 + plain.height, 13001700u);
    EXPECT_NE(plain.header.find(";ProgramName=Hand PA;"), std::string::npos);
    EXPECT_LT(plain.header.find("Time="), plain.header.find("ExposureTime="));
    EXPECT_EQ(Parameter(1, DeviceParameter::BatteryStatus).substr(32), std::string("\xCC\1\0\0", 4))
        << "460 mAh";

    const std::uint8_t binning[] = {2, 0, 12, 0};
    const TarnValue block =
        Record(DeviceParameter::Binning, TarnTypeBlock, sizeof binning, binning);
    const TarnValue time = Record(DeviceParameter::IntegrationTime, TarnTypeInteger, 30);
    EXPECT_EQ(SetDeviceParam(1, DeviceParameter::Binning, &block), 0u);
    EXPECT_EQ(SetDeviceParam(1, DeviceParameter::IntegrationTime, &time), 0u);
    EXPECT_EQ(SetDeviceParam(1, DeviceParameter::Binning, &time), tarn::BadValue);
    EXPECT_EQ(Parameter(1, DeviceParameter::Binning) + Parameter(2, DeviceParameter::Binning),
              "21");
    const Image dark = Fetch(Expose());
    EXPECT_EQ(dark.width * 10000 + dark.height, 6500850u);
    EXPECT_GT(dark.pixels[1], plain.pixels[1] + 5) << "less exposure is brighter";

    const char* const chain = "MinMaxScaleTo8Bit";
    const TarnValue filter = Record(LibraryParameter::FilterChain, TarnTypeText,
                                    reinterpret_cast<std::uintptr_t>(chain));
    EXPECT_EQ(SetLibraryParam(LibraryParameter::FilterChain, &filter), 0u);
    EXPECT_EQ(Fetch(Expose()).pixels.size(), 650u * 850u);
    EXPECT_EQ(Enable(0, "", 0), tarn::BatteryEmpty) << "the battery is empty";
    Configure(ini + "external_power = on");
    const TarnValue testImage = Record(DeviceParameter::TestImageMode, TarnTypeFlag, 1);
    EXPECT_EQ(SetDeviceParam(0, DeviceParameter::TestImageMode, &testImage), 0u);
    const Image marks = Fetch(Expose());
    EXPECT_EQ(marks.bits, 8u);
    EXPECT_EQ(marks.pixels.back(), '\xBA') << "the mark 3000 of 4095 stands top right: last";
}

TEST_F(Simulator, RulesAndScriptsFailTheCallsTheyName)
{
    Configure("TarnGetImageCount = next 1 error 5\nTarnGetImage = no-header, no-user\n"
              "next_image_id = 4294967295\nevent_2 = next 1 twice");
    std::uint32_t count = 7;
    EXPECT_EQ(GetImageCount(&count), ResultError | 5);
    EXPECT_EQ(GetImageCount(&count) + count, 0u);
    EXPECT_EQ(Expose(), 4294967295u);
    EXPECT_EQ(Fetch(0).header + Fetch(0).userId, "nullnull");
    Configure("TarnGetImage = always null\nTarnRemoveImage = every 2 0x400009\nstore_limit = 1\n"
              "events = error 3, 99");
    EXPECT_EQ(Fetch(0).width, 0u);
    EXPECT_EQ(RemoveImage("", 1), tarn::NoSuchImage);
    EXPECT_EQ(RemoveImage("", 4294967295u), 0x400009u);
    EXPECT_EQ(Enable(0, "", 0), tarn::StoreFull);
    EXPECT_EQ(Until(99), "2097155 99 ");
    Configure("TarnGetImage = always null\nfaults = off");
    EXPECT_EQ(Fetch(0).width, 130u);
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
    EXPECT_EQ(Fetch(Expose()).width, 77u);
    std::filesystem::resize_file(folder / "s.ini", std::uint64_t{1} << 40);
    EXPECT_EQ(Fetch(Expose()).width, 77u);
    TarnValue* value = nullptr;
    GetDeviceParam(1, DeviceParameter::HardwareId, &value);
    TarnClose();
    FreeObject(value);
    FreeObject(value);
    const std::string report = testing::internal::GetCapturedStderr();
    for (const char* part :
         {":8: image_width takes a whole number, not 'wide'",
          ":9: there is no setting 'no_such_key'", ":10: TarnGetImage takes",
          "s.ini: is no settings file", " objects handed out, 1 not freed", "is freed already"}) {
        EXPECT_NE(report.find(part), std::string::npos) << part << " in " << report;
    }
    EXPECT_NE(ReadFile(folder / "trace").find(" TarnGetDeviceParam 1 2 -> 0\n"), std::string::npos);
    Open();
}

TEST(SimulatorManual, NamesEveryKnob)
{
    const std::string manual = ReadFile(SIMULATOR_MANUAL);
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
