// What the operator does in a life, and what is checked on the way.
#include "faults/life.h"

#include "platform/boxes.h"
#include "resources/settings_dialog_template.h"

#include <algorithm>
#include <gtest/gtest.h>

namespace {

constexpr Kind kinds[] = {
    {"warning", "warning 7", ResultWarning + 7, Fault::None, "Warning number: 7\n"},
    {"error", "error 7", ResultError + 7, Fault::None, "Error number: 7\n"},
    {"information", "information 7", ResultInformation + 7, Fault::None, "Info number: 7\n"},
    {"unknown category", "0x400007", 0x400007, Fault::None, "7\n"},
    {"null object", "null", 0, Fault::NullObject},
    {"wrong type", "wrong-type", 0, Fault::WrongType},
    {"null texts", "null-texts", 0, Fault::NullTexts},
    {"empty image or list", "empty-image, no-entries", 0, Fault::NullEntries},
    {"blocking", "next 1 block 3"},
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

} // namespace

Life::Life()
{
    headless::SetBaseUnits(SmallBaseWidth, SmallBaseHeight);
    headless::SetOperator({[this](CDialog& dialog) { Use(dialog); },
                           [this](const headless::Box& box) { return Answer(box); },
                           {}});
}

void Life::Run(Moment moment, std::function<void()> begin, std::function<void()> end)
{
    m_moment = moment;
    m_begin = std::move(begin);
    m_end = std::move(end);
    if (moment == Moment::Start)
        m_begin();
    m_bench.DoModal();
    EXPECT_EQ(headless::LiveWindows() + headless::LiveTimers() + headless::OpenBoxes(), 0u);
    ExpectEnd();
    EXPECT_LE(GoneImages(), m_givenUp) << "an image was lost";
}

void Life::ExpectNotices(int resultBoxes, const std::string& text, int questions) const
{
    EXPECT_EQ(m_results.size(), static_cast<std::size_t>(resultBoxes));
    for (const std::string& result : m_results)
        EXPECT_TRUE(result.starts_with(text)) << result;
    EXPECT_EQ(m_questions, HealthyQuestions + questions);
}

void Life::RunWith(Export which, const Kind& kind, Moment moment)
{
    const bool noObject = kind.result != 0 || kind.fault == Fault::NullObject;
    const bool nothing = noObject || kind.fault == Fault::WrongType;
    const bool hides =
        (which == Export::GetDeviceParam && nothing) ||
        (which == Export::GetDeviceList && (nothing || kind.fault == Fault::NullEntries));
    const auto set = [&](bool faulty) {
        m_hides = hides && faulty;
        faulty ? Break(which, kind) : Mend();
    };
    Run(
        moment, [&] { set(true); }, [&] { set(false); });
    const Effect effect = EffectOf(which, moment);
    ExpectNotices(kind.result != 0 ? effect.resultBoxes : 0, kind.boxText,
                  noObject ? effect.questions : 0);
}

int Life::RunAll(const std::function<std::unique_ptr<Life>()>& begin)
{
    int cells = 0;
    for (int which = 0; which < static_cast<int>(Export::Count); ++which)
        for (const Kind& kind : kinds)
            for (int moment = 0; moment < static_cast<int>(Moment::Count); ++moment) {
                if (!Applies(kind, static_cast<Export>(which)))
                    continue;
                SCOPED_TRACE(testing::Message() << "export " << which << ", " << kind.name
                                                << ", at " << momentNames[moment]);
                begin()->RunWith(static_cast<Export>(which), kind, static_cast<Moment>(moment));
                ++cells;
            }
    EXPECT_GT(cells, 800);
    return cells;
}

Effect Life::EffectOf(Export which, Moment moment) const
{
    const auto found = std::ranges::find_if(effects, [&](const Effect& effect) {
        return effect.which == which && effect.moment == moment;
    });
    return found == std::end(effects) ? Effect{which, moment, 0, 0} : *found;
}

void Life::ExpectButtons()
{
    Buttons before = Expected(), after = before;
    do {
        before = after;
        headless::RunFor(2500);
        after = Expected();
    } while (before != after);
    if (!IsOpen() || headless::Now() < 3500)
        return;
    EXPECT_EQ(headless::IsEnabled(m_bench, IdEnable), after.enable && !m_hides);
    EXPECT_EQ(headless::IsEnabled(m_bench, IdAbort), after.abort && !m_hides);
}

void Life::Use(CDialog& dialog)
{
    if (&dialog != &m_bench)
        return UseSettings(dialog);
    Leave(Moment::Start);
    At(Moment::StoredLoop, [] { headless::RunFor(1000); });
    At(Moment::Idle, [&] {
        for (const int id : {IdInfo, IdTestImageMode, IdEightBitRead, IdZoomIn})
            headless::Click(dialog, id);
    });
    if (Works()) {
        At(Moment::Arming, [&] {
            headless::Click(dialog, IdEnable);
            AfterEnable();
        });
        MakeReady();
        At(Moment::Armed, [&] { headless::Click(dialog, IdAbort); });
        StartExposure();
        At(Moment::Reading, [&] { FinishExposure(); });
        m_awaited = true;
        StartExposure();
        FinishExposure();
        m_awaited = false;
    }
    At(Moment::Settings, [&] { headless::Click(dialog, IdSettings); });
    Disarm();
    At(Moment::Closing, [&] { headless::Click(dialog, IdExit); });
    EXPECT_FALSE(IsOpen());
}

void Life::UseSettings(CDialog& dialog)
{
    headless::RunFor(2000);
    if (Works())
        Arrive();
    headless::Drag(dialog, IdTimeout, 3);
    headless::Click(dialog, IDOK);
}

int Life::Answer(const headless::Box& box)
{
    const bool image = box.text.starts_with("Image");
    const bool question = box.text.starts_with("Found old") || image;
    m_questions += question;
    if (!question && !box.text.starts_with("***** Tarn"))
        m_results.push_back(box.text);
    if (image && std::exchange(m_awaited, false)) {
        m_keeps = true;
        At(Moment::Question, [this] { Arrive(); });
        m_keeps = false;
        return IDNO;
    }
    if (image && m_keeps)
        return IDNO;
    // The stored-image loop goes on as long as it is told to.
    const bool again = box.text.starts_with("Found old image:") && m_givenUp != 0;
    m_givenUp += question && !box.text.starts_with("Found old images") && !again;
    return again ? IDCANCEL : (box.style & MB_YESNO) != 0 ? IDYES : IDOK;
}

void Life::At(Moment moment, const std::function<void()>& act)
{
    if (m_moment == moment)
        m_begin();
    act();
    ExpectButtons();
    Leave(moment);
}

void Life::Leave(Moment moment)
{
    if (m_moment == moment) {
        m_end();
        ExpectButtons();
    }
}
