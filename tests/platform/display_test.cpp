// Who has the keyboard, on a display with a window manager, by keys that go through its server.
#include "platform/bench_dialog.h"
#include "platform/qt/operator.h"

#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>

namespace {

constexpr int Longest = 3000; // milliseconds until the manager has done what it was asked to
constexpr int DeafTime = 400; // in which a question ignores what was typed

void Press(const std::string& keys)
{
    ASSERT_EQ(std::system(("xdotool key --delay 20 " + keys).c_str()), 0);
}

// A question over whatever is open. meanwhile: while it has the keyboard.
int Ask(Operator& op, const BenchDialog& dialog, const std::string& text,
        const std::function<void()>& meanwhile)
{
    op.WhenBox(text, IDCANCEL, [&] {
        EXPECT_TRUE(op.Wait([&] { return op.ActiveTitle() == text; }, Longest))
            << text << " did not get the keyboard, but " << op.ActiveTitle();
        meanwhile();
        EXPECT_TRUE(op.Wait([&] { return !op.IsBoxOpen(text); }, Longest)) << text;
    });
    return MessageBoxA(dialog.GetSafeHwnd(), text.c_str(), text.c_str(), MB_YESNO | MB_TOPMOST);
}

// Left and top of the window with this title, as the server has it.
std::pair<int, int> PlaceOf(const std::string& title)
{
    std::pair<int, int> place;
    const std::string ask =
        "xdotool search --onlyvisible --name '^" + title + "$' getwindowgeometry --shell";
    std::FILE* const answer = popen(ask.c_str(), "r");
    int window = 0;
    EXPECT_EQ(std::fscanf(answer, "WINDOW=%d X=%d Y=%d", &window, &place.first, &place.second), 3);
    pclose(answer);
    return place;
}

// A title bar's height lower and to the right.
bool IsBelow(const std::string& older, const std::string& newer)
{
    const auto [left, top] = PlaceOf(older);
    const auto [newerLeft, newerTop] = PlaceOf(newer);
    return newerLeft - left >= 15 && newerLeft - left == newerTop - top;
}

TEST(Display, TheTopmostWindowHasTheKeyboard)
{
    Operator op;
    BenchDialog dialog;
    op.Run(dialog, [&] {
        EXPECT_TRUE(op.Wait([&] { return op.ActiveTitle() == "Bench"; }, Longest));
        for (int round = 0; round < 10; ++round) {
            SCOPED_TRACE(round);
            const int first = Ask(op, dialog, "First", [&] {
                const int second = Ask(op, dialog, "Second", [&] {
                    const int third = Ask(op, dialog, "Third", [&] {
                        EXPECT_TRUE(IsBelow("First", "Second"));
                        EXPECT_TRUE(IsBelow("Second", "Third"));
                        Press("Escape");
                    });
                    EXPECT_EQ(third, IDNO);
                    EXPECT_TRUE(op.Wait([&] { return op.ActiveTitle() == "Second"; }, Longest));
                    op.Serve(DeafTime);
                    Press("Return");
                });
                EXPECT_EQ(second, IDYES);
                EXPECT_TRUE(op.Wait([&] { return op.ActiveTitle() == "First"; }, Longest));
                Press("n");
            });
            EXPECT_EQ(first, IDNO);
            EXPECT_TRUE(op.Wait([&] { return op.ActiveTitle() == "Bench"; }, Longest));
        }
        op.Focus(Whole);
        Press("ctrl+a 4 2");
        EXPECT_TRUE(op.Wait([&] { return op.Text(Whole) == "42"; }, Longest));
    });
}

} // namespace
