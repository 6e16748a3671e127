// Messages posted across threads, and what is served behind a box.
#include "platform/messages.h"
#include "platform/test_dialog.h"

#include <thread>

namespace {

using Messages = Dialog;

TEST_F(Messages, ComeInOrderFromEveryThreadWhileTheWindowLives)
{
    HWND window = nullptr;
    Run([&] {
        window = dialog.GetSafeHwnd();
        std::vector<TestDialog::Seen> posted;
        for (WPARAM i = 0; i < 10'000; ++i) {
            EXPECT_EQ(PostMessageA(window, WM_USER, i, 0), 1);
            posted.emplace_back(WM_USER, i);
        }
        hand.Wait([&] { return dialog.HasSeen(posted.back()); });
        std::erase_if(dialog.m_seen, [](auto& seen) { return seen.first != WM_USER; });
        EXPECT_EQ(dialog.m_seen, posted);
        std::thread([&] { PostMessageA(window, WM_USER, 20'000, 0); }).join();
        EXPECT_TRUE(hand.Wait([&] { return dialog.HasSeen({WM_USER, 20'000}); }));
        PostMessageA(window, WM_USER, 20'001, 0);
    });
    EXPECT_EQ(PostMessageA(window, WM_USER, 0, 0), 0);
    EXPECT_FALSE(dialog.HasSeen({WM_USER, 20'001})) << "what waits at the end is dropped";
}

TEST_F(Messages, AndTimersAreServedBehindABoxThatAHandlerOpened)
{
    int answer = 0;
    dialog.m_message = [&] {
        if (!dialog.HasSeen({WM_USER, 2})) {
            answer = ShowBox("Open", MB_YESNO);
        }
    };
    hand.WhenBox("Open", IDYES, [&] {
        EXPECT_TRUE(hand.Wait([&] {
            return dialog.HasSeen({WM_USER, 2}) && dialog.HasSeen({WM_TIMER, 9});
        }));
        PostMessageA(dialog.GetSafeHwnd(), WM_USER, 3, 0);
        EXPECT_TRUE(hand.Wait([&] { return dialog.HasSeen({WM_USER, 3}); }));
    });
    Run([&] {
        dialog.SetTimer(9, 10);
        PostMessageA(dialog.GetSafeHwnd(), WM_USER, 1, 0);
        PostMessageA(dialog.GetSafeHwnd(), WM_USER, 2, 0);
        EXPECT_TRUE(hand.Wait([&] { return answer == IDYES; }));
    });
}

} // namespace
