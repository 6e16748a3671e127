// Messages posted across threads, and fairness under a storm of them.
#include "platform/bench_dialog.h"
#include "platform/messages.h"
#include "platform/qt/operator.h"

#include <atomic>
#include <chrono>
#include <gtest/gtest.h>
#include <thread>

namespace {

using Clock = std::chrono::steady_clock;

// Posts from a thread of its own until the end of its life.
class Storm
{
public:
    explicit Storm(HWND window)
        : m_thread([this, window] {
              for (WPARAM i = 0; !m_stop; ++i) {
                  m_refused += PostMessageA(window, WM_USER, i, 0) == 0 ? 1 : 0;
              }
          })
    {
    }
    ~Storm()
    {
        m_stop = true;
        m_thread.join();
    }
    std::atomic<std::size_t> m_refused = 0;

private:
    std::atomic<bool> m_stop = false;
    std::thread m_thread;
};

TEST(Messages, ComeInOrderFromEveryThreadWhileTheWindowLives)
{
    Operator op;
    BenchDialog dialog;
    EXPECT_EQ(PostMessageA(nullptr, WM_USER, 0, 0), 0);
    HWND window = nullptr;
    op.Run(dialog, [&] {
        window = dialog.GetSafeHwnd();
        for (WPARAM i = 0; i < 10'000; ++i) {
            EXPECT_EQ(PostMessageA(window, WM_USER, i, 0), 1);
        }
        EXPECT_EQ(PostMessageA(window, WM_USER, 0, 0), 0) << "the queue is full";
        EXPECT_TRUE(op.Wait([&] { return dialog.m_seen.size() >= 10'000; }));
        bool ordered = true;
        for (WPARAM i = 0, next = 0; i < dialog.m_seen.size(); ++i) {
            if (dialog.m_seen[i].first == WM_USER) {
                ordered = ordered && dialog.m_seen[i].second == next++;
            }
        }
        EXPECT_TRUE(ordered);
        dialog.m_seen.clear();
        std::thread([&] { PostMessageA(window, WM_USER, 42, 0); }).join();
        EXPECT_TRUE(op.Wait([&] { return !dialog.m_seen.empty(); }));
        PostMessageA(window, WM_USER, 43, 0);
    });
    EXPECT_EQ(PostMessageA(window, WM_USER, 0, 0), 0);
    EXPECT_EQ(dialog.m_seen.back().second, 42u) << "what waits at the end is dropped";
}

TEST(Messages, AStormLeavesRoomForEverythingElse)
{
    Operator op;
    BenchDialog dialog;
    dialog.m_message = [] { std::this_thread::sleep_for(std::chrono::microseconds(50)); };
    op.Run(dialog, [&] {
        const Storm storm(dialog.GetSafeHwnd());
        dialog.SetTimer(9, 20);
        EXPECT_TRUE(op.Wait([&] { return storm.m_refused > 0; }));
        for (int i = 0; i < 5; ++i) {
            const Clock::time_point asked = Clock::now();
            bool served = false;
            op.Later(0, [&] { served = true; });
            EXPECT_TRUE(op.Wait([&] { return served; }));
            EXPECT_LT(Clock::now() - asked, std::chrono::milliseconds(500));
        }
        dialog.m_seen.clear();
        EXPECT_TRUE(op.Wait([&] {
            return std::count(dialog.m_seen.begin(), dialog.m_seen.end(),
                              std::pair(WM_TIMER, WPARAM{9})) >= 3;
        }));
    });
}

TEST(Messages, AndTimersAreServedBehindABoxThatAHandlerOpened)
{
    Operator op;
    BenchDialog dialog;
    op.Run(dialog, [&] {
        dialog.m_message = [&] {
            dialog.m_message = {};
            op.WhenBox("Open", IDYES, [&] {
                const auto holds = [&](UINT message, WPARAM wParam) {
                    return std::count(dialog.m_seen.begin(), dialog.m_seen.end(),
                                      std::pair(message, wParam)) > 0;
                };
                EXPECT_TRUE(op.Wait([&] { return holds(WM_USER, 2) && holds(WM_TIMER, 9); }));
                PostMessageA(dialog.GetSafeHwnd(), WM_USER, 3, 0);
                EXPECT_TRUE(op.Wait([&] { return holds(WM_USER, 3); }));
            });
            EXPECT_EQ(MessageBoxA(dialog.GetSafeHwnd(), "Open", "", MB_YESNO), IDYES);
        };
        dialog.SetTimer(9, 10);
        PostMessageA(dialog.GetSafeHwnd(), WM_USER, 1, 0);
        PostMessageA(dialog.GetSafeHwnd(), WM_USER, 2, 0);
        EXPECT_TRUE(op.Wait([&] { return op.Boxes().size() == 1 && !dialog.m_message; }));
        op.Serve(50);
    });
}

} // namespace
