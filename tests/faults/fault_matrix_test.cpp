// Every fault of every operation of the libraries at every moment of the workflow: each is one life
// of the program, from its start to its end.
#include "platform/boxes.h"
#include "platform/system.h"
#include "resources/settings_dialog_template.h"
#include "support/headless_bench.h"
#include "support/scripted_library.h"

#include <algorithm>
#include <atomic>
#include <gtest/gtest.h>
#include <thread>

namespace {

enum class Moment
{
    Start,
    StoredLoop,
    Idle,
    Arming,
    Armed,
    Reading,
    Question,
    Settings,
    Closing,
    Count
};
constexpr const char* momentNames[] = {"start",         "stored loop",   "idle",
                                       "arming",        "armed",         "reading",
                                       "question open", "settings open", "closing"};

constexpr std::uint32_t BlockedFor = 3000; // milliseconds

// What goes wrong: a result instead of the work, an object that is not what was asked for, or time.
struct Kind
{
    const char* name;
    std::uint32_t result = 0;
    Fault fault = Fault::None;
    const char* boxText = ""; // the beginning of the box in which the operator sees the result
};
constexpr Kind kinds[] = {
    {"warning", ResultWarning + 7, Fault::None, "Warning number: 7\n"},
    {"error", ResultError + 7, Fault::None, "Error number: 7\n"},
    {"information", ResultInformation + 7, Fault::None, "Info number: 7\n"},
    {"unknown category", 0x400007, Fault::None, "7\n"},
    {"null object", 0, Fault::NullObject},
    {"wrong type", 0, Fault::WrongType},
    {"null texts", 0, Fault::NullTexts},
    {"empty image or list", 0, Fault::NullEntries},
    {"blocking"},
};

bool Applies(const Kind& kind, Export which)
{
    const bool value = which == Export::GetLibraryParam || which == Export::GetDeviceParam;
    const bool rows = which == Export::GetImage || which == Export::GetDeviceList;
    switch (kind.fault) {
    case Fault::None:
        return kind.result == 0 || which != Export::FreeObject;
    case Fault::WrongType:
        return value;
    case Fault::NullEntries:
        return rows;
    default:
        return value || rows;
    }
}

// What an operator notices of an operation that fails, or gives no object, at that moment.
struct Effect
{
    Export which;
    Moment moment;
    int resultBoxes; // when it fails
    int questions;   // more or less than in a healthy life
};
constexpr Effect effects[] = {
    {Export::Open, Moment::Start, 1, 0},
    {Export::SetLibraryParam, Moment::Start, 1, 0},
    {Export::GetImageCount, Moment::StoredLoop, 0, -2},
    {Export::GetImage, Moment::StoredLoop, 3, -1},
    {Export::RemoveImage, Moment::StoredLoop, 0, 1},
    {Export::EnableCapture, Moment::Arming, 1, 0},
    {Export::GetImage, Moment::Reading, 1, -1},
    {Export::GetImage, Moment::Question, 1, -1},
    {Export::GetImage, Moment::Settings, 1, -1},
};
constexpr int HealthyQuestions = 6;

class Life
{
public:
    Life()
    {
        m_library.devices = {{0, 1, "Base unit", ""}, {1, 1, "Sensor", ""}};
        Store();
        m_library.libraryParams[8] = std::string("1.0");
        Sensor(1, 0, 1);
        headless::SetBaseUnits(SmallBaseWidth, SmallBaseHeight);
        headless::SetOperator({[this](CDialog& dialog) { Use(dialog); },
                               [this](const headless::Box& box) { return Answer(box); },
                               {}});
    }
    ~Life() { headless::Reset(); }

    // A life in which begin runs at the moment and end after it. A program that is asked to end
    // meanwhile takes no further part.
    void Run(Moment moment, std::function<void()> begin, std::function<void()> end)
    {
        m_moment = moment;
        m_begin = std::move(begin);
        m_end = std::move(end);
        if (moment == Moment::Start)
            m_begin();
        m_bench.DoModal();
        EXPECT_EQ(m_library.Outstanding(), 0u);
        EXPECT_EQ(m_library.wrongFrees, 0u);
        EXPECT_EQ(headless::LiveWindows() + headless::LiveTimers() + headless::OpenBoxes(), 0u);
        EXPECT_EQ(m_library.CallsOf({"TarnClose"}).size(), 1u);
        // No image has left the store that the operator had not given up.
        EXPECT_LE(m_stored - m_library.images.size(), m_givenUp);
    }

    // The same with the fault at that moment, and with what the operator is to see of it.
    void RunWith(Export which, const Kind& kind, Moment moment)
    {
        const bool blocks = kind.result == 0 && kind.fault == Fault::None;
        m_noObject = kind.result != 0 || kind.fault == Fault::NullObject;
        const bool none = m_noObject || kind.fault == Fault::WrongType;
        m_blind = (which == Export::GetDeviceParam && none) ||
                  (which == Export::GetDeviceList && (none || kind.fault == Fault::NullEntries));
        Run(
            moment,
            [&] {
                if (blocks)
                    m_library.onCall = [which](Export called) {
                        headless::LetTimePass(called == which ? BlockedFor : 0);
                    };
                else if (kind.result != 0)
                    m_library.Fail(which, kind.result, ScriptedLibrary::Always);
                else
                    m_library.Break(which, kind.fault, ScriptedLibrary::Always);
            },
            [&] {
                m_library.onCall = {};
                m_library.Break(which, Fault::None, 0);
            });

        int resultBoxes = 0;
        int questions = HealthyQuestions;
        for (const Effect& effect : effects)
            if (effect.which == which && effect.moment == moment) {
                resultBoxes += kind.result != 0 ? effect.resultBoxes : 0;
                questions += m_noObject ? effect.questions : 0;
            }
        EXPECT_EQ(m_results.size(), static_cast<std::size_t>(resultBoxes));
        for (const std::string& text : m_results)
            EXPECT_TRUE(text.starts_with(kind.boxText)) << text;
        EXPECT_EQ(m_questions, questions);
    }

    ScriptedLibrary m_library;
    HeadlessBench m_bench;

private:
    void Use(CDialog& dialog)
    {
        if (&dialog != &m_bench)
            return UseSettings(dialog);
        Leave(Moment::Start);
        At(Moment::StoredLoop, [] { headless::RunFor(1000); });
        At(Moment::Idle, [&] {
            for (const int id : {IdInfo, IdTestImageMode, IdEightBitRead, IdZoomIn})
                headless::Click(dialog, id);
        });
        At(Moment::Arming, [&] {
            headless::Click(dialog, IdEnable);
            Sensor(4, 1, 0);
        });
        At(Moment::Armed, [&] {
            Post(0, 15);
            Post(0, 17);
            headless::Click(dialog, IdAbort);
        });
        At(Moment::Reading, [&] { Arrive(); });
        Arrive(); // Answer is at the moment Question
        m_asked = true;
        At(Moment::Settings, [&] { headless::Click(dialog, IdSettings); });
        Post(0, 3);
        Sensor(1, 0, 1);
        At(Moment::Closing, [&] { headless::Click(dialog, IdExit); });
        EXPECT_FALSE(headless::IsOpen(dialog));
    }

    void UseSettings(CDialog& dialog)
    {
        headless::RunFor(2000);
        Arrive();
        headless::Drag(dialog, IdTimeout, 3);
        headless::Click(dialog, IDOK);
    }

    int Answer(const headless::Box& box)
    {
        const bool question = box.text.starts_with("Found old") || box.text.starts_with("Image");
        m_questions += question;
        if (!question && !box.text.starts_with("***** Tarn"))
            m_results.push_back(box.text);
        if (box.text.starts_with("Image") && m_stored == 3 && !m_asked) {
            m_asked = true;
            At(Moment::Question, [this] { Arrive(); });
            return IDNO;
        }
        // The stored-image loop goes on as long as it is told to.
        const bool again = box.text.starts_with("Found old image:") && m_givenUp != 0;
        m_givenUp += question && !box.text.starts_with("Found old images") && !again;
        return again ? IDCANCEL : (box.style & MB_YESNO) != 0 ? IDYES : IDOK;
    }

    void At(Moment moment, const std::function<void()>& act)
    {
        if (m_moment == moment)
            m_begin();
        act();
        ExpectButtons(m_moment == moment && m_blind);
        Leave(moment);
    }

    void Leave(Moment moment)
    {
        if (m_moment == moment) {
            m_end();
            ExpectButtons(false);
        }
    }

    // What the buttons show after the next poll.
    void ExpectButtons(bool blind)
    {
        headless::RunFor(2500);
        if (!headless::IsOpen(m_bench) || headless::Now() < 3500)
            return;
        EXPECT_EQ(headless::IsEnabled(m_bench, IdEnable), m_idle && !blind);
        EXPECT_EQ(headless::IsEnabled(m_bench, IdAbort), !m_idle && !blind);
    }

    void Sensor(std::uint32_t state, std::uint32_t enableState, std::uint32_t abortState)
    {
        m_idle = enableState == 0;
        m_library.devices[1].state = state;
        m_library.SetDeviceInt(0, 14, 1);
        m_library.SetDeviceInt(0, 15, 1);
        m_library.SetDeviceInt(1, 14, enableState);
        m_library.SetDeviceInt(1, 15, abortState);
    }

    void Arrive()
    {
        Store();
        Post(m_stored, 2);
        headless::Pump();
    }

    void Store()
    {
        ScriptedImage image;
        image.number = image.imageId = ++m_stored;
        image.headerText = "ProgramName=Hand;Date=2026-01-01;kV=60;";
        m_library.images.push_back(image);
    }

    void Post(std::uint32_t number, LPARAM event)
    {
        PostMessageA(m_bench.GetSafeHwnd(), WM_TARN_EVENT, number, event);
    }

    Moment m_moment = Moment::Count;
    std::function<void()> m_begin, m_end;
    std::vector<std::string> m_results; // texts of the boxes that show one
    std::uint32_t m_stored = 0;         // images that were ever in the store
    std::uint32_t m_givenUp = 0;        // answers that allow to remove one
    int m_questions = 0;
    bool m_asked = false; // the question at whose moment something happens
    bool m_idle = true;
    bool m_noObject = false;
    bool m_blind = false; // the fault hides the devices
};

TEST(Faults, EveryOperationFailsAtEveryMoment)
{
    int cells = 0;
    for (int which = 0; which < static_cast<int>(Export::Count); ++which)
        for (const Kind& kind : kinds)
            for (int moment = 0; moment < static_cast<int>(Moment::Count); ++moment) {
                if (!Applies(kind, static_cast<Export>(which)))
                    continue;
                SCOPED_TRACE(testing::Message() << "export " << which << ", " << kind.name
                                                << ", at " << momentNames[moment]);
                Life().RunWith(static_cast<Export>(which), kind, static_cast<Moment>(moment));
                ++cells;
            }
    std::printf("fault matrix: %d cells\n", cells);
    EXPECT_GT(cells, 800);
}

// Whatever is open closes, no sensor stays armed, and the libraries are shut down.
TEST(Faults, TheProgramEndsAtEveryMoment)
{
    for (int moment = static_cast<int>(Moment::StoredLoop); moment < 9; ++moment) {
        SCOPED_TRACE(momentNames[moment]);
        Life life;
        bool armed = false;
        const auto end = [&] {
            armed = life.m_library.devices[1].state == 4;
            headless::EndSession();
        };
        life.Run(static_cast<Moment>(moment), end, [] {});
        const bool aborted = moment > static_cast<int>(Moment::Armed); // by the operator
        EXPECT_EQ(life.m_library.CallsOf({"TarnDisableCapture 0 1"}).size(),
                  static_cast<std::size_t>(armed) + aborted);
        EXPECT_EQ(life.m_library.calls.back(), "TarnClose");
    }
}

// Another thread posts results, unknown codes, tones and images that do not exist as fast as it
// can, also while a box or the settings dialog is open.
TEST(Faults, AStormOfEventsDoesNotPileUpBoxes)
{
    constexpr int stormLength = 100'000;
    constexpr std::uint32_t events[] = {
        ResultWarning + 5, ResultError + 5, ResultInformation + 5, 99, 2, 17};
    ScriptedLibrary library;
    HeadlessBench bench;
    std::atomic<int> posted = 0;
    std::thread storm;
    std::size_t deepest = 0;
    int served = 0;
    const auto use = [&](CDialog& dialog) {
        if (!storm.joinable())
            storm = std::thread([&, window = bench.GetSafeHwnd()] {
                while (posted < stormLength)
                    posted += PostMessageA(window, WM_TARN_EVENT, 0,
                                           events[static_cast<std::size_t>(posted) % 6]);
            });
        const int until = std::min(posted + stormLength / 4, stormLength);
        for (; &dialog == &bench ? posted < stormLength : posted < until; headless::Pump())
            served += headless::Click(dialog, &dialog == &bench ? IdSettings : IdLowResolution);
    };
    headless::SetBaseUnits(SmallBaseWidth, SmallBaseHeight);
    headless::SetOperator({use,
                           [&](const headless::Box&) {
                               deepest = std::max(deepest, headless::OpenBoxes());
                               headless::Pump();
                               return IDOK;
                           },
                           {}});
    bench.DoModal();
    storm.join();
    EXPECT_EQ(deepest, 1u);
    EXPECT_GT(served, 1);
    EXPECT_LT(headless::BoxesShown(), stormLength / 10u);
    EXPECT_EQ(library.Outstanding(), 0u);
    headless::Reset();
}

} // namespace
