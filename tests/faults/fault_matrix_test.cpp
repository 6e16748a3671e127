// Every fault of every operation of a scripted library at every moment of the workflow, the
// program's end at every moment, and a storm of events.
#include "faults/life.h"
#include "platform/boxes.h"
#include "platform/system.h"
#include "resources/settings_dialog_template.h"

#include <algorithm>
#include <atomic>
#include <gtest/gtest.h>
#include <thread>

namespace {

class ScriptedLife : public Life
{
public:
    ScriptedLife()
    {
        m_library.devices = {{0, 1, "Base unit", ""}, {1, 1, "Sensor", ""}};
        Store();
        m_library.libraryParams[8] = std::string("1.0");
        Sensor(1, 0, 1);
    }

    ScriptedLibrary m_library;

private:
    void Break(Export which, const Kind& kind) override
    {
        if (kind.Blocks())
            m_library.onCall = [which](Export called) {
                headless::LetTimePass(called == which ? BlockedFor : 0);
            };
        else if (kind.result != 0)
            m_library.Fail(which, kind.result, ScriptedLibrary::Always);
        else
            m_library.Break(which, kind.fault, ScriptedLibrary::Always);
        m_broken = which;
    }
    void Mend() override
    {
        m_library.onCall = {};
        m_library.Break(m_broken, Fault::None, 0);
    }

    Buttons Expected() const override { return {m_idle, !m_idle}; }
    void AfterEnable() override { Sensor(4, 1, 0); }
    void MakeReady() override { Post(0, 15); }
    void StartExposure() override { Post(0, 17); }
    void Arrive() override
    {
        Store();
        Post(m_stored, 2);
        headless::Pump();
    }
    void Disarm() override
    {
        Post(0, 3);
        Sensor(1, 0, 1);
    }
    std::size_t GoneImages() const override { return m_stored - m_library.images.size(); }
    void ExpectEnd() override
    {
        EXPECT_EQ(m_library.Outstanding(), 0u);
        EXPECT_EQ(m_library.wrongFrees, 0u);
        EXPECT_EQ(m_library.CallsOf({"TarnClose"}).size(), 1u);
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

    Export m_broken = Export::Count;
    std::uint32_t m_stored = 0; // images that were ever in the store
    bool m_idle = true;
};

TEST(Faults, EveryOperationFailsAtEveryMoment)
{
    const int cells = Life::RunAll([] { return std::make_unique<ScriptedLife>(); });
    std::printf("fault matrix: %d cells\n", cells);
}

// Whatever is open closes, no sensor stays armed, and the libraries are shut down.
TEST(Faults, TheProgramEndsAtEveryMoment)
{
    for (int moment = static_cast<int>(Moment::StoredLoop); moment < 9; ++moment) {
        SCOPED_TRACE(momentNames[moment]);
        ScriptedLife life;
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
