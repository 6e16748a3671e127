// Every fault of every operation of the libraries at every moment of the workflow. Each is one life
// of the program without a screen, from its start to its end, with the simulated library as a
// vendor's: loaded, with a thread of its own, strict about misuse and objects that are not freed.
#include "device/libraries.h"
#include "platform/boxes.h"
#include "platform/module.h"
#include "platform/policy.h"
#include "resources/settings_dialog_template.h"
#include "simulator/tarn/hand_switch.h"
#include "simulator/tarn/store.h"
#include "storage/paths.h"
#include "storage/test_files.h"
#include "support/headless_program.h"
#include "support/image_ledger.h"
#include "support/test_system.h"

#include <algorithm>
#include <array>
#include <bit>
#include <filesystem>
#include <gtest/gtest.h>
#include <optional>
#include <span>

namespace {

namespace fs = std::filesystem;

// Of the workflow, in the order in which a life passes them.
using Moment = std::string_view;
constexpr Moment Start = "start", StoredLoop = "stored loop", Idle = "idle", Arming = "arming",
                 Armed = "armed", Reading = "reading", QuestionOpen = "question open",
                 Saving = "saving", SettingsOpen = "settings open", Closing = "closing";
constexpr Moment Moments[] = {Start,   StoredLoop,   Idle,   Arming,       Armed,
                              Reading, QuestionOpen, Saving, SettingsOpen, Closing};

// What goes wrong: a result instead of the work, an object that is not what was asked for, or time.
struct Kind
{
    const char* rule;         // as the simulator takes it
    const char* boxText = ""; // the beginning of the box in which the operator sees the result
};
constexpr Kind Kinds[] = {
    {"warning 7", "Warning number: 7\n"},
    {"error 7", "Error number: 7\n"},
    {"information 7", "Info number: 7\n"},
    {"0x400007", "7\n"},
    {"null"},
    {"wrong-type"},
    {"null-texts"},
    {"empty-image, no-entries"},
    {"next 1 block 3"},
};

// What an operator notices of an operation that fails, or gives no object, at a moment.
struct Effect
{
    Export operation;
    Moment moment;
    int resultBoxes; // when it fails
    int questions;   // more or less than in a healthy life
};
constexpr Effect Effects[] = {
    {Export::Open, Start, 1, -6}, // whose failure the next call shares
    {Export::SetLibraryParam, Start, 1, 0},
    {Export::SetNotifyWindow, Start, 0, -4}, // no event comes
    {Export::GetImageCount, StoredLoop, 0, -2},
    {Export::GetImage, StoredLoop, 3, -1},
    {Export::RemoveImage, StoredLoop, 0, 1},
    {Export::EnableCapture, Arming, 1, 0},
    {Export::GetImage, Reading, 1, -1},
    {Export::GetImage, QuestionOpen, 1, -1},
    {Export::GetImage, Saving, 1, 0},
    {Export::GetImage, SettingsOpen, 1, -1},
};
constexpr int HealthyQuestions = 6;

bool Applies(const Kind& kind, Export operation)
{
    const bool givesValue =
        operation == Export::GetLibraryParam || operation == Export::GetDeviceParam;
    const bool givesRows = operation == Export::GetImage || operation == Export::GetDeviceList;
    const std::string_view rule = kind.rule;
    if (rule == "wrong-type") {
        return givesValue;
    }
    if (rule.starts_with("empty")) {
        return givesRows;
    }
    if (rule.starts_with("null")) {
        return givesValue || givesRows;
    }
    return rule.find("block") != rule.npos || operation != Export::FreeObject;
}

template <class Function>
Function* InSimulator(const char* name)
{
    return reinterpret_cast<Function*>(FunctionOf(TARN_LIBRARY, name));
}

// The settings file, and a store with one image of an earlier life.
class Simulator
{
public:
    Simulator() { SetEnvironment("TARN_SIMULATOR", m_folder / "Tarn.ini"); }

    void Configure(const std::string& lines) const
    {
        WriteBytes(m_folder / "new.ini",
                   "time_factor = 100\narming_delay = 0.05\nexposure_delay = never\n"
                   "exposure_time = 0.05\nreadout_time = 0.05\ninactivity_timeout = 0\n"
                   "image_width = 16\nimage_height = 16\nseed = 7\nstrict = on\n"
                   "store_folder = " +
                       m_folder / "Store" + '\n' + lines + '\n');
        ReplaceFileBy(m_folder / "new.ini", m_folder / "Tarn.ini");
    }
    void RestoreStore() const
    {
        fs::remove_all(m_folder / "Store");
        tarn::ImageStore store(m_folder / "Store");
        store.Add({16, 16, 2, 12, store.TakeId(), 0, std::vector<std::uint8_t>(512, 9), "", ""});
    }

    // As the program would load them, in the order of the record and of the table.
    static LibraryExports LoadedExports()
    {
        std::array<void*, std::size(Exports)> addresses = {};
        for (const ExportEntry& entry : Exports) {
            addresses[static_cast<std::size_t>(entry.which)] =
                FindExport(LoadModule(entry.library), entry.number);
        }
        return std::bit_cast<LibraryExports>(addresses);
    }

private:
    // In memory where there is such a place: a busy disk makes every replaced file wait.
    const TestFolder m_folder{fs::is_directory("/dev/shm") ? "/dev/shm"
                                                           : fs::temp_directory_path()};
};

class Life
{
public:
    explicit Life(const Simulator& simulator) : m_simulator(simulator)
    {
        simulator.RestoreStore();
        fs::remove_all(m_folder);
        current = this;
        m_watched.getImage = GetImage;
        m_watched.removeImage = RemoveImage;
        UseLibraryExports(&m_watched);
        Set("");
        headless::SetBaseUnits(SmallBaseWidth, SmallBaseHeight);
        m_hand.Improvise({[this](CDialog& dialog) { Use(dialog); },
                          [this](const ShownBox& box) { return Answer(box); },
                          {}});
    }
    ~Life()
    {
        UseLibraryExports(nullptr);
        headless::Reset();
        fs::remove_all(m_folder);
    }

    // A life in which begin runs at the moment and end after it. A program that is asked to end
    // meanwhile takes no further part.
    void Run(Moment moment, std::function<void()> begin, std::function<void()> end)
    {
        m_moment = moment;
        m_begin = std::move(begin);
        m_end = std::move(end);
        if (moment == Start) {
            m_begin();
        }
        m_program.DoModal();
        EXPECT_EQ(headless::LiveWindows() + headless::LiveTimers() + headless::OpenBoxes(), 0u);
        Set("");
        if (FailsAt(Export::Close, Closing)) {
            EXPECT_EQ(TarnClose(), 0u);
        }
        m_ledger.EndRun(true);
        EXPECT_EQ(m_ledger.Breaks(), std::vector<std::string>());
    }

    // What the operator has seen: result boxes that begin so, and more or fewer questions than in a
    // healthy life.
    void ExpectNotices(int resultBoxes, const std::string& text, int questions) const
    {
        EXPECT_EQ(m_results.size(), static_cast<std::size_t>(resultBoxes));
        for (const std::string& result : m_results) {
            EXPECT_TRUE(result.starts_with(text)) << result;
        }
        EXPECT_EQ(m_questions, HealthyQuestions + questions);
    }

    // A life with the fault at that moment, and with what the operator is to see of it.
    void RunWith(Export operation, const Kind& kind, Moment moment)
    {
        const std::string_view rule = kind.rule;
        const bool fails = *kind.boxText != '\0';
        const bool noObject = fails || rule == "null";
        const bool nothing = noObject || rule == "wrong-type";
        const bool hides =
            (operation == Export::GetDeviceParam && nothing) ||
            (operation == Export::GetDeviceList && (nothing || rule.starts_with("empty")));
        if (fails) {
            m_failing = operation;
        }
        const auto set = [&](bool faulty) {
            m_hides = hides && faulty;
            Set(faulty ? NameOf(operation) + std::string(" = ") + kind.rule : "");
        };
        Run(
            moment, [&] { set(true); }, [&] { set(false); });
        if (IsRefused()) {
            EXPECT_EQ(m_results.at(1), "Error number: 1\nThe capture library is not open.");
            m_results.pop_back();
        }
        const auto effect = std::ranges::find_if(Effects, [&](const Effect& line) {
            return line.operation == operation && line.moment == moment;
        });
        const bool seen = effect != std::end(Effects);
        // What came without pixels is asked about instead of saved.
        const bool unsaved =
            operation == Export::GetImage && rule.starts_with("empty") && moment == Saving;
        ExpectNotices(seen && fails ? effect->resultBoxes : 0, kind.boxText,
                      (seen && noObject ? effect->questions : 0) + (unsaved ? 1 : 0));
    }

    void Set(const std::string& lines)
    {
        m_lines = lines + '\n';
        m_simulator.Configure(m_lines);
    }
    double m_readOut = 6; // simulated seconds

    bool Click(int id) { return &m_hand.Dialog() == &m_program && m_hand.Click(id); }

    // Lets the program poll, and the library's thread work, until the condition holds.
    void Until(const std::function<bool()>& condition)
    {
        for (int round = 0; IsOpen() && !condition(); ++round) {
            ASSERT_LT(round, 3000);
            headless::WaitForPost(std::chrono::milliseconds(1));
            headless::RunFor(500);
        }
    }
    void MakeReady()
    {
        Until([this] {
            Click(IdEnable);
            return Phase() == TarnPhaseArmed;
        });
        headless::RunFor(2500);
        EXPECT_TRUE(IsDeaf() || !IsOpen() || m_program.GetWindowText() == "Ready to take image");
    }
    void Disarm()
    {
        Until([this] {
            Click(IdAbort);
            return Phase() == TarnPhaseIdle;
        });
    }

    bool IsOpen() const { return ModalLoop::IsOpen(m_program); }
    bool IsEnabled(int id) const { return m_program.GetDlgItem(id).IsWindowEnabled() != FALSE; }

private:
    // Between the program and the library, for the ledger.
    static std::uint32_t TARN_CALL GetImage(const char* userId, std::uint32_t number,
                                            TarnImageRecord** out)
    {
        const std::uint32_t result = current->m_loaded.getImage(userId, number, out);
        if (result == 0 && *out != nullptr) {
            current->m_ledger.HandedOut(**out, false);
            current->m_given.push_back((*out)->imageId);
            current->m_ledger.Watch(current->m_given, false);
        }
        return result;
    }
    static std::uint32_t TARN_CALL RemoveImage(const char* userId, std::uint32_t imageId)
    {
        const std::uint32_t result = current->m_loaded.removeImage(userId, imageId);
        if (result == 0) {
            EXPECT_NE(std::erase(current->m_given, imageId), 0u) << "it was never handed out";
            current->m_ledger.Watch(current->m_given, false);
        }
        return result;
    }

    bool FailsAt(Export operation, Moment moment) const
    {
        return m_failing == operation && m_moment == moment;
    }
    bool IsRefused() const { return FailsAt(Export::Open, Start); }
    bool IsDeaf() const { return IsRefused() || FailsAt(Export::SetNotifyWindow, Start); }

    // After the next poll.
    void ExpectButtons()
    {
        std::uint32_t phase = TarnPhaseIdle;
        do {
            phase = Phase();
            headless::RunFor(2500);
        } while (phase != Phase());
        if (!IsOpen() || headless::Now() < 3500) {
            return;
        }
        const bool idle = phase == TarnPhaseIdle, reading = phase == TarnPhaseReading;
        EXPECT_EQ(IsEnabled(IdEnable), idle && IsPlugged() && !IsRefused() && !m_hides);
        EXPECT_EQ(IsEnabled(IdAbort), !idle && !reading && !m_hides);
    }

    void StartExposure(const std::string& setting = "")
    {
        Set(setting);
        MakeReady();
        if (IsOpen()) {
            EXPECT_EQ(InSimulator<decltype(TarnSimulatorHandSwitch)>("TarnSimulatorHandSwitch")(),
                      0u);
        }
    }
    void FinishExposure()
    {
        ExpectButtons();
        Until([] { return Phase() == TarnPhaseIdle; });
        headless::Pump();
        if (m_lines.find("late") != std::string::npos) {
            headless::WaitForPost(std::chrono::seconds(10));
            headless::Pump();
        }
    }
    // The first image of the store; the tone after it tells that it was served.
    void Arrive()
    {
        const std::size_t tones = headless::Beeps();
        m_simulator.Configure(m_lines + "events = 2, 17");
        Until([&] {
            Phase(); // has the simulator look at its settings
            return IsDeaf() || headless::Beeps() > tones;
        });
    }

    void Use(CDialog& dialog)
    {
        if (&dialog != &m_program) {
            return UseSettings();
        }
        Leave(Start);
        At(StoredLoop, [] { headless::RunFor(1000); });
        At(Idle, [&] {
            for (const int id : {IdInfo, IdTestImageMode, IdEightBitRead, IdZoomIn}) {
                m_hand.Click(id);
            }
        });
        if (!IsRefused()) {
            At(Arming, [&] { m_hand.Click(IdEnable); });
            MakeReady();
            At(Armed, [&] { m_hand.Click(IdAbort); });
            const bool lasts = m_moment == Reading;
            StartExposure(lasts ? "readout_time = " + std::to_string(m_readOut) : "");
            At(Reading, [&] { FinishExposure(); });
            m_awaited = true;
            StartExposure();
            FinishExposure();
            m_awaited = false;
            m_hand.Click(IdAutoSaveImages);
            StartExposure();
            At(Saving, [&] { FinishExposure(); });
            m_hand.Click(IdAutoSaveImages);
        }
        At(SettingsOpen, [&] { m_hand.Click(IdSettings); });
        Disarm();
        At(Closing, [&] { m_hand.Click(IdExit); });
        EXPECT_FALSE(IsOpen());
    }

    void UseSettings()
    {
        headless::RunFor(2000);
        if (!IsRefused()) {
            Arrive();
        }
        m_hand.Drag(IdTimeout, 3);
        m_hand.Click(IDOK);
    }

    int Answer(const ShownBox& box)
    {
        const bool image = box.text.starts_with("Image");
        if (image || box.text.starts_with("Found old")) {
            ++m_questions;
        } else if (!box.text.starts_with("***** Tarn")) {
            m_results.push_back(box.text);
        }
        const int answer = Decide(box, image);
        if (box.text.ends_with("Remove image?")) {
            headless::Paint();
            m_ledger.Answered(headless::LastPicture(), m_program.displayLut.data(),
                              answer == IDYES || answer == IDOK);
        }
        return answer;
    }

    int Decide(const ShownBox& box, bool image)
    {
        if (image && std::exchange(m_awaited, false)) {
            m_keeps = true;
            At(QuestionOpen, [this] { Arrive(); });
            m_keeps = false;
            return IDNO;
        }
        if (image && m_keeps) {
            return IDNO;
        }
        // The stored-image loop goes on as long as it is told to.
        const bool again =
            box.text.starts_with("Found old image:") && std::exchange(m_goesOn, true);
        return again ? IDCANCEL : (box.style & MB_YESNO) != 0 ? IDYES : IDOK;
    }

    void At(Moment moment, const std::function<void()>& act)
    {
        if (m_moment == moment) {
            m_begin();
        }
        act();
        ExpectButtons();
        Leave(moment);
    }

    void Leave(Moment moment)
    {
        if (m_moment == moment) {
            m_end();
            ExpectButtons();
        }
    }

    bool IsPlugged() const { return m_lines.find("sensors = none") == std::string::npos; }
    static std::uint32_t Phase()
    {
        return InSimulator<decltype(TarnSimulatorArmedState)>("TarnSimulatorArmedState")(nullptr);
    }

    static inline Life* current = nullptr;

    const Simulator& m_simulator;
    const LibraryExports m_loaded = Simulator::LoadedExports();
    LibraryExports m_watched = m_loaded;
    const std::string m_folder = AutoSaveFolder(ProgramFolder(nullptr));
    ImageLedger m_ledger{m_folder};
    std::vector<std::uint32_t> m_given; // ids of images that were handed out and not removed
    Operator m_hand;
    HeadlessProgram m_program;
    std::string m_lines;
    Moment m_moment;
    std::function<void()> m_begin, m_end;
    std::vector<std::string> m_results; // texts of the boxes that show one
    int m_questions = 0;
    bool m_goesOn = false;  // said OK in the stored-image loop
    bool m_awaited = false; // the question at whose moment something happens
    bool m_keeps = false;   // whatever is asked about
    bool m_hides = false;   // the fault hides the devices
    std::optional<Export> m_failing;
};

TEST(Faults, EveryOperationFailsAtEveryMoment)
{
    const Simulator simulator;
    int cells = 0;
    for (const ExportEntry& operation : Exports) {
        for (const Kind& kind : Kinds) {
            for (const Moment moment : Moments) {
                if (!Applies(kind, operation.which)) {
                    continue;
                }
                SCOPED_TRACE(testing::Message()
                             << operation.name << " = " << kind.rule << ", at " << moment);
                Life(simulator).RunWith(operation.which, kind, moment);
                ++cells;
            }
        }
    }
    std::printf("fault matrix: %d cells\n", cells);
    EXPECT_GT(cells, 800);
}

// What happens to the hardware. The life goes on with its exposures once it is over; or the
// operator leaves while it lasts, where he can.
TEST(Faults, TheNextExposureWorksAfterEveryAccident)
{
    constexpr struct
    {
        const char* line;
        Moment moment;
        int resultBoxes;
        const char* text;
        int questions;
    } Accidents[] = {
        {"sensors = none", Idle, 0, "", 0},
        {"sensors = none", Armed, 1, "Warning number: 30\n", 0},
        {"sensors = none", Reading, 1, "Error number: 18\n", -1},
        {"sensors = none", QuestionOpen, 0, "", 0},
        {"sensors = none", SettingsOpen, 0, "", 0},
        {"device_fault = 1 101 error 7", Armed, 1, "Error number: 7\n", 0},
        {"store_limit = 0", Arming, 1, "Error number: 11\n", 0},
        {"event_2 = never", Reading, 0, "", -1},
        {"event_2 = late 1", Reading, 0, "", 0},
        {"event_2 = twice", Reading, 1, "Error number: 12\n", 0},
        {"event_2 = missing", Reading, 1, "Error number: 12\n", -1},
    };
    const Simulator simulator;
    for (const auto& accident : Accidents) {
        for (const bool leave : {false, true}) {
            SCOPED_TRACE(testing::Message() << accident.line << " at " << accident.moment
                                            << (leave ? ", leaving" : ""));
            Life life(simulator);
            if (accident.text == std::string_view("Error number: 18\n")) {
                life.m_readOut = 100; // it is cut off
            }
            bool left = false;
            life.Run(
                accident.moment, [&] { life.Set(accident.line); },
                [&] {
                    left = leave && life.Click(IdExit) && !life.IsOpen();
                    life.Set("");
                });
            if (!left) {
                life.ExpectNotices(accident.resultBoxes, accident.text, accident.questions);
            }
            const bool inBox = accident.moment == QuestionOpen;
            EXPECT_EQ(left, leave && !inBox);
        }
    }
}

TEST(Faults, ArmsAndAbortsAThousandTimes)
{
    const Simulator simulator;
    Life life(simulator);
    life.Run(
        Idle, [] {},
        [&] {
            for (int time = 0; time < 1000; ++time) {
                life.MakeReady();
                life.Disarm();
            }
        });
    life.ExpectNotices(0, "", 0);
}

// Whatever is open closes, also a sensor that is armed, and the library can be opened again.
TEST(Faults, TheProgramEndsAHundredTimesAtEveryMoment)
{
    const Simulator simulator;
    for (int time = 0; time < 100; ++time) {
        for (const Moment moment : std::span(Moments).subspan(1)) {
            SCOPED_TRACE(moment);
            Life(simulator).Run(moment, headless::EndSession, [] {});
        }
    }
}

} // namespace
