// The same lives with the simulated library as a vendor's: loaded, with a thread of its own, strict
// about misuse and objects that are not freed, and failing on purpose while the operator works.
#include "faults/life.h"
#include "simulator/tarn/hand_switch.h"

#include <algorithm>
#include <cstdlib>
#include <dlfcn.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

// Pairs with Export.
constexpr const char* ruleNames[] = {
    "TarnOpen",           "TarnClose",          "TarnSetNotifyWindow", "TarnClearNotifyWindow",
    "TarnEnableCapture",  "TarnDisableCapture", "TarnGetLibraryParam", "TarnSetLibraryParam",
    "TarnGetImage",       "TarnRemoveImage",    "TarnGetImageCount",   "TarnGetDeviceList",
    "TarnGetDeviceParam", "TarnSetDeviceParam", "TarnDescribeResult",  "TarnFreeObject",
    "QuilletOpen",        "QuilletClose",       "QuilletShow"};
static_assert(std::size(ruleNames) == static_cast<std::size_t>(Export::Count));

template <class Function>
Function* InSimulator(const char* name)
{
    static void* const library = dlopen(TARN_LIBRARY, RTLD_NOW);
    return reinterpret_cast<Function*>(dlsym(library, name));
}

// The settings file, and a store with one image of an earlier life.
class Simulator
{
public:
    Simulator()
    {
        fs::create_directories(m_folder);
        setenv("TARN_SIMULATOR", (m_folder / "Tarn.ini").c_str(), 1);
        Configure("exposure_delay = 0");
        TarnOpen(nullptr, "");
        TarnEnableCapture(0, "My ID", 0);
        std::uint32_t count = 0;
        for (int tries = 0; count == 0 && tries < 20'000; TarnGetImageCount(&count), ++tries)
            usleep(1000);
        TarnClose();
        fs::rename(m_folder / "Store", m_folder / "OldStore");
    }
    ~Simulator() { fs::remove_all(m_folder); }

    void Configure(const std::string& lines) const
    {
        std::ofstream(m_folder / "new.ini")
            << "time_factor = 100\narming_delay = 0.05\nexposure_delay = never\n"
            << "exposure_time = 0.05\nreadout_time = 0.05\ninactivity_timeout = 0\n"
            << "image_width = 16\nimage_height = 16\nseed = 7\nstrict = on\n"
            << "store_folder = " << (m_folder / "Store").string() << '\n'
            << lines << '\n';
        fs::rename(m_folder / "new.ini", m_folder / "Tarn.ini");
    }
    void RestoreStore() const
    {
        fs::remove_all(m_folder / "Store");
        fs::copy(m_folder / "OldStore", m_folder / "Store");
    }
    std::size_t StoredImages() const
    {
        return static_cast<std::size_t>(
            std::ranges::count_if(fs::directory_iterator(m_folder / "Store"), [](const auto& file) {
                return file.path().extension() == ".tarn";
            }));
    }

private:
    // In memory where there is such a place: a busy disk makes every replaced file wait.
    const fs::path m_folder =
        (fs::is_directory("/dev/shm") ? fs::path("/dev/shm") : fs::temp_directory_path()) /
        ("tarn_faults_" + std::to_string(getpid()));
};

class SimulatedLife : public Life
{
public:
    explicit SimulatedLife(const Simulator& simulator) : m_simulator(simulator)
    {
        simulator.RestoreStore();
        Set("");
    }

    void Set(const std::string& lines)
    {
        m_lines = lines + '\n';
        m_simulator.Configure(m_lines);
    }
    double m_readOut = 6; // simulated seconds

    bool Click(int id) { return headless::Click(m_bench, id); }

    // Lets the program poll, and the library's thread work, until the condition holds.
    void Until(const std::function<bool()>& condition)
    {
        for (int round = 0; IsOpen() && !condition(); ++round) {
            ASSERT_LT(round, 3000);
            headless::WaitForPost(std::chrono::milliseconds(1));
            headless::RunFor(500);
        }
    }
    void MakeReady() override
    {
        Until([this] {
            Click(IdEnable);
            return Phase() == TarnPhaseArmed;
        });
        headless::RunFor(2500);
        EXPECT_TRUE(m_deaf || !IsOpen() || headless::Text(m_bench, 0) == "Ready to take image");
    }
    void Disarm() override
    {
        Until([this] {
            Click(IdAbort);
            return Phase() == TarnPhaseIdle;
        });
    }

private:
    void Break(Export which, const Kind& kind) override
    {
        const bool fails = kind.result != 0;
        m_refused = fails && which == Export::Open && m_moment == Moment::Start;
        m_deaf =
            m_refused || (fails && which == Export::SetNotifyWindow && m_moment == Moment::Start);
        m_leftOpen = fails && which == Export::Close && m_moment == Moment::Closing;
        Set(ruleNames[static_cast<int>(which)] + std::string(" = ") + kind.rule);
    }
    void Mend() override { Set(""); }

    // A library that is not open refuses everything, one without a window tells nothing.
    Effect EffectOf(Export which, Moment moment) const override
    {
        if (moment == Moment::Start && which == Export::SetNotifyWindow)
            return {which, moment, 0, -4};
        Effect effect = Life::EffectOf(which, moment);
        if (moment == Moment::Start && which == Export::Open)
            effect.questions = -6;
        return effect;
    }

    Buttons Expected() const override
    {
        const bool idle = Phase() == TarnPhaseIdle;
        return {idle && IsPlugged() && Works(), !idle && Phase() != TarnPhaseReading};
    }
    bool Works() const override { return !m_refused; }

    void StartExposure() override
    {
        if (m_moment == Moment::Reading && m_exposures == 1)
            Set("readout_time = " + std::to_string(m_readOut)); // so that the moment lasts
        else
            Set("");
        MakeReady();
        if (IsOpen()) {
            EXPECT_EQ(InSimulator<decltype(TarnSimulatorHandSwitch)>("TarnSimulatorHandSwitch")(),
                      0u);
            ++m_exposures;
        }
    }
    void FinishExposure() override
    {
        ExpectButtons();
        Until([] { return Phase() == TarnPhaseIdle; });
        headless::Pump();
        if (m_lines.find("late") != std::string::npos) {
            headless::WaitForPost(std::chrono::seconds(10));
            headless::Pump();
        }
        m_exposures -= !IsPlugged();
    }
    // The first image of the store; the tone after it tells that it was served.
    void Arrive() override
    {
        const std::size_t tones = headless::Beeps();
        m_simulator.Configure(m_lines + "events = 2, 17");
        Until([&] {
            Phase(); // has the simulator look at its settings
            return m_deaf || headless::Beeps() > tones;
        });
    }
    std::size_t GoneImages() const override { return m_exposures - m_simulator.StoredImages(); }
    void ExpectEnd() override
    {
        Set("");
        if (m_leftOpen) {
            EXPECT_EQ(TarnClose(), 0u);
        }
        if (m_refused) {
            EXPECT_EQ(m_results.at(1), "Error number: 1\nThe capture library is not open.");
            m_results.pop_back();
        }
    }

    bool IsPlugged() const { return m_lines.find("sensors = none") == std::string::npos; }
    static std::uint32_t Phase()
    {
        return InSimulator<decltype(TarnSimulatorArmedState)>("TarnSimulatorArmedState")(nullptr);
    }

    const Simulator& m_simulator;
    std::string m_lines;
    std::size_t m_exposures = 1; // whose images came into the store
    bool m_refused = false;
    bool m_deaf = false;
    bool m_leftOpen = false;
};

TEST(SimulatorFaults, EveryOperationFailsAtEveryMoment)
{
    const Simulator simulator;
    const int cells = Life::RunAll([&] { return std::make_unique<SimulatedLife>(simulator); });
    std::printf("simulator's fault matrix: %d cells\n", cells);
}

// What happens to the hardware. The life goes on with its exposures once it is over; or the
// operator leaves while it lasts, where he can.
TEST(SimulatorFaults, TheNextExposureWorksAfterEveryAccident)
{
    constexpr struct
    {
        const char* line;
        Moment moment;
        int resultBoxes;
        const char* text;
        int questions;
    } accidents[] = {
        {"sensors = none", Moment::Idle, 0, "", 0},
        {"sensors = none", Moment::Armed, 1, "Warning number: 30\n", 0},
        {"sensors = none", Moment::Reading, 1, "Error number: 18\n", -1},
        {"sensors = none", Moment::Question, 0, "", 0},
        {"sensors = none", Moment::Settings, 0, "", 0},
        {"device_fault = 1 101 error 7", Moment::Armed, 1, "Error number: 7\n", 0},
        {"store_limit = 0", Moment::Arming, 1, "Error number: 11\n", 0},
        {"event_2 = never", Moment::Reading, 0, "", -1},
        {"event_2 = late 1", Moment::Reading, 0, "", 0},
        {"event_2 = twice", Moment::Reading, 1, "Error number: 12\n", 0},
        {"event_2 = missing", Moment::Reading, 1, "Error number: 12\n", -1},
    };
    const Simulator simulator;
    for (const auto& accident : accidents)
        for (const bool leave : {false, true}) {
            SCOPED_TRACE(testing::Message() << accident.line << " at "
                                            << momentNames[static_cast<int>(accident.moment)]
                                            << (leave ? ", leaving" : ""));
            SimulatedLife life(simulator);
            if (accident.text == std::string_view("Error number: 18\n"))
                life.m_readOut = 100; // it is cut off
            bool left = false;
            life.Run(
                accident.moment, [&] { life.Set(accident.line); },
                [&] {
                    left = leave && life.Click(IdExit) && !life.IsOpen();
                    life.Set("");
                });
            if (!left)
                life.ExpectNotices(accident.resultBoxes, accident.text, accident.questions);
            const bool inBox = accident.moment == Moment::Question;
            EXPECT_EQ(left, leave && !inBox);
        }
}

TEST(SimulatorFaults, ArmsAndAbortsAThousandTimes)
{
    const Simulator simulator;
    SimulatedLife life(simulator);
    life.Run(
        Moment::Idle, [] {},
        [&] {
            for (int time = 0; time < 1000; ++time) {
                life.MakeReady();
                life.Disarm();
            }
        });
    life.ExpectNotices(0, "", 0);
}

TEST(SimulatorFaults, OpensAndClosesTheLibraryAHundredTimes)
{
    const Simulator simulator;
    for (int time = 0; time < 100; ++time)
        SimulatedLife(simulator).Run(
            Moment::StoredLoop, [] {}, headless::EndSession);
}

} // namespace
