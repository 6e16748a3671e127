// Who has the keyboard, on a display with a window manager, by keys that go through its server.
#include "platform/test_dialog.h"

#include <cstdlib>

namespace {

constexpr int Longest = 3000; // milliseconds until the manager has done what it was asked to
constexpr int DeafTime = 400; // in which a question ignores what was pressed

void Press(const std::string& keys)
{
    ASSERT_EQ(std::system(("xdotool key --delay 20 " + keys).c_str()), 0);
}

class OnDisplay : public Dialog
{
protected:
    // A question over whatever is open. meanwhile: while it has the keyboard.
    int Ask(const std::string& text, const std::function<void()>& meanwhile)
    {
        hand.WhenBox(text, IDCANCEL, [&] {
            EXPECT_TRUE(WaitForTitle(text, Longest))
                << text << " did not get the keyboard, but " << hand.ActiveTitle();
            meanwhile();
            EXPECT_TRUE(hand.Wait([&] { return !hand.IsBoxOpen(text); }, Longest)) << text;
        });
        return ShowBox(text, MB_YESNO | MB_TOPMOST, text);
    }
};

TEST_F(OnDisplay, TheTopmostWindowHasTheKeyboard)
{
    Run([&] {
        EXPECT_TRUE(WaitForTitle("Test", Longest));
        for (int round = 0; round < 10; ++round) {
            SCOPED_TRACE(round);
            const int first = Ask("First", [&] {
                const int second = Ask("Second", [&] {
                    const int third = Ask("Third", [&] {
                        ExpectBelow("First", "Second");
                        ExpectBelow("Second", "Third");
                        Press("Escape");
                    });
                    EXPECT_EQ(third, IDNO);
                    EXPECT_TRUE(WaitForTitle("Second", Longest));
                    hand.Serve(DeafTime);
                    Press("Return");
                });
                EXPECT_EQ(second, IDYES);
                EXPECT_TRUE(WaitForTitle("First", Longest));
                hand.Serve(DeafTime);
                Press("n");
            });
            EXPECT_EQ(first, IDNO);
            EXPECT_TRUE(WaitForTitle("Test", Longest));
        }
        hand.Focus(Whole);
        Press("ctrl+a 4 2");
        EXPECT_TRUE(hand.Wait([&] { return hand.Text(Whole) == "42"; }, Longest));
    });
}

} // namespace
