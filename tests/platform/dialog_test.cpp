// Dialogs, fields, boxes and painting, worked as an operator does.
#include "platform/messages.h"
#include "platform/test_dialog.h"

#include <csignal>
#include <stdexcept>
#include <tuple>

namespace {

using Key = WindowOperator::Key;
using Seen = TestDialog::Seen;
using Input = TestDialog::Input;
using Box = Dialog;
using Program = Dialog;

TEST_F(Dialog, EnterPressesTheButtonThatHasTheFocusOrTheDefaultOne)
{
    int gone = 0;
    dialog.m_go = [&] { ++gone; };
    const int result = Run([&] {
        hand.Focus(Go);
        hand.PressEnter();
        EXPECT_EQ(gone, 1);
        hand.Focus(Whole);
        hand.PressEnter();
    });
    EXPECT_EQ(result, IDOK);
    EXPECT_EQ(dialog.GetSafeHwnd(), nullptr);
    EXPECT_EQ(dialog.Send(WM_USER, 6), 7) << "a dialog without a window still has its handlers";
}

TEST_F(Dialog, AModelessDialogThatCannotBeInitializedIsClosed)
{
    struct : TestDialog
    {
        using TestDialog::TestDialog;
        BOOL OnInitDialog() override { throw std::runtime_error("not initialized"); }
    } modeless(&dialog);
    Run([&] {
        EXPECT_THROW(modeless.Create(), std::runtime_error);
        EXPECT_EQ(modeless.GetSafeHwnd(), nullptr);
    });
}

TEST_F(Dialog, ADroppedFileDoesNotComeUnderAQuestion)
{
    int dropped = 0;
    dialog.m_message = [&] { ShowBox("Sure?", MB_YESNO); };
    dialog.m_drop = [&] {
        ++dropped;
        EXPECT_FALSE(hand.IsBoxOpen("Sure?"));
    };
    Run([&] {
        hand.WhenBox("Sure?", IDNO, [&] { hand.Serve(50); });
        PostMessageA(dialog.GetSafeHwnd(), WM_USER, 0, 0);
        hand.Drop("a.q32");
        hand.Serve(100);
        const int before = dropped;
        hand.Drop("a.q32");
        EXPECT_TRUE(hand.Wait([&] { return dropped > before; }));
    });
}

TEST_F(Dialog, FieldsTakeNumbersOfTheirTypeOnly)
{
    const std::tuple<int, const char*, bool> cases[] = {
        {Whole, "0", true},           {Whole, "4294967295", true}, {Whole, " 12 ", true},
        {Whole, "4294967296", false}, {Whole, "-1", false},        {Whole, "+1", false},
        {Whole, "", false},           {Whole, "1.0", false},       {Whole, "12a", false},
        {Real, "1e-3", true},         {Real, "-.5", true},         {Real, "+2.5", true},
        {Real, "1,5", false},         {Real, "nan", false},        {Real, "inf", false},
        {Real, "1e999", false},       {Real, "+-1", false},        {Real, "1.5 mm", false},
    };
    Run([&] {
        EXPECT_EQ(hand.Text(Real), "0.5");
        for (const auto& [id, text, isAccepted] : cases) {
            SCOPED_TRACE(text);
            dialog.UpdateData(FALSE);
            dialog.SetDlgItemText(id, text);
            if (!isAccepted) {
                hand.WhenBox(id == Whole
                                 ? "Scale center: takes a whole number from 0 to 4294967295."
                                 : "Gamma: takes a number",
                             IDOK);
            }
            dialog.m_whole = 3700;
            dialog.m_real = 0.5;
            EXPECT_EQ(dialog.UpdateData(), isAccepted);
            EXPECT_EQ(dialog.m_whole == 3700 && dialog.m_real == 0.5, !isAccepted);
            EXPECT_TRUE(hand.HasFocus(id) || isAccepted);
        }
        dialog.UpdateData(FALSE);
    });
}

TEST_F(Dialog, ARejectedFieldIsToldOnceAndWheneverTheOperatorActs)
{
    Run([&] {
        hand.WhenBox("Scale center", IDOK);
        hand.Type(Whole, "x");
        hand.Click(Go);
        EXPECT_TRUE(hand.HasFocus(Whole));
        EXPECT_TRUE(hand.LooksRejected(Whole));
        hand.Focus(Go);
        EXPECT_FALSE(hand.HasFocus(Whole)) << "told once, the operator may leave the field";
        EXPECT_EQ(hand.Boxes().size(), 1u);
        hand.WhenBox("Scale center", IDOK);
        hand.Click(IDOK);
        EXPECT_TRUE(hand.HasFocus(Whole)) << "but not act on it";
        hand.WhenBox("Scale center", IDOK);
        hand.Type(Whole, "y");
        hand.Focus(Go);
        EXPECT_EQ(hand.Boxes().size(), 3u);
        dialog.SetDlgItemText(Whole, "y");
        EXPECT_FALSE(hand.LooksRejected(Whole)) << "the program wrote the text";
        hand.Type(Whole, "10");
        hand.Focus(Go);
        EXPECT_EQ(dialog.m_whole, 10u);
    });
}

// By whatever way: one click, and the button shows what the dialog is told.
TEST_F(Dialog, EveryWayToPressAButtonIsOneClick)
{
    constexpr std::tuple<int, bool, char> Buttons[] = {
        {Flag, true, 'f'}, {Second, true, 'e'}, {Go, false, 'g'}};
    using Way = void (*)(WindowOperator&, int id, char mnemonic);
    constexpr Way Ways[] = {
        [](WindowOperator& op, int id, char) { op.Click(id); },
        [](WindowOperator& op, int id, char) { op.Press(id, Key::Space); },
        [](WindowOperator& op, int, char mnemonic) { op.PressLetter(mnemonic, true); },
        [](WindowOperator& op, int id, char) { op.Invoke(id); },
    };
    dialog.m_go = [&] { dialog.m_clicked.push_back(Go); };
    Run([&] {
        for (std::size_t way = 0; way < std::size(Ways); ++way) {
            for (const auto& [id, isChecked, mnemonic] : Buttons) {
                SCOPED_TRACE("way " + std::to_string(way) + ", id " + std::to_string(id));
                CButton(dialog.GetDlgItem(id).GetSafeHwnd()).SetCheck(0);
                dialog.CheckRadioButton(First, Second, First);
                hand.Focus(Whole);
                dialog.m_clicked.clear();
                Ways[way](hand, id, mnemonic);
                EXPECT_TRUE(hand.Wait([&] { return !dialog.m_clicked.empty(); }, 500));
                EXPECT_EQ(hand.IsChecked(id), isChecked);
                EXPECT_TRUE(hand.HasFocus(id));
                EXPECT_EQ(hand.IsChecked(First), id != Second);
                // A rejected field keeps the focus, and the click is lost.
                hand.WhenBox("Scale center", IDOK);
                hand.Type(Whole, "x");
                Ways[way](hand, id, mnemonic);
                EXPECT_TRUE(hand.HasFocus(Whole));
                hand.Serve(10);
                hand.Type(Whole, "1");
                EXPECT_EQ(dialog.m_clicked, std::vector<int>{id});
            }
        }
        hand.Serve(150); // the toolkit shows a button pressed for a while before it clicks
        EXPECT_EQ(dialog.m_clicked.size(), 1u);
        dialog.m_clicked.clear();
        dialog.CheckRadioButton(First, Second, Second);
        hand.Press(Second, Key::Left);
        EXPECT_EQ(dialog.m_clicked, std::vector<int>{First});
        EXPECT_TRUE(hand.IsChecked(First) && !hand.IsChecked(Second));
    });
}

TEST_F(Dialog, TheMouseAndTheKeysOnAFrameAreMessages)
{
    Run([&] {
        hand.Mouse(Picture, WM_MOUSEMOVE, 5, 6);
        hand.Mouse(Picture, WM_LBUTTONDOWN, 7, 8, MK_SHIFT);
        EXPECT_TRUE(hand.HasFocus(Picture));
        hand.Mouse(Picture, WM_MOUSEMOVE, -3, 100);
        hand.Mouse(Picture, WM_LBUTTONUP, -3, 100);
        hand.Mouse(Picture, WM_LBUTTONDBLCLK, 1, 2, MK_CONTROL);
        hand.TurnWheel(Picture, -120, 3, 4);
        hand.PressLetter('+');
        hand.Press(Key::PageDown);
        EXPECT_EQ(dialog.m_input, (std::vector<Input>{{WM_MOUSEMOVE, 5, 6},
                                                      {WM_MOUSEMOVE, 7, 8, 4},
                                                      {WM_LBUTTONDOWN, 7, 8, 5},
                                                      {WM_MOUSEMOVE, -3, 100, 1},
                                                      {WM_LBUTTONUP, -3, 100},
                                                      {WM_MOUSEMOVE, 1, 2, 8},
                                                      {WM_LBUTTONDOWN, 1, 2, 9},
                                                      {WM_LBUTTONUP, 1, 2, 8},
                                                      {WM_LBUTTONDBLCLK, 1, 2, 9},
                                                      {WM_LBUTTONUP, 1, 2, 8},
                                                      {WM_MOUSEWHEEL, 3, 4, -120},
                                                      {WM_CHAR, '+'},
                                                      {WM_KEYDOWN, VK_NEXT}}));

        // A box takes the button's release; a field that speaks up takes the press.
        dialog.m_input.clear();
        dialog.m_go = [] { AfxMessageBox("over it"); };
        hand.WhenBox("over it", IDOK);
        hand.Mouse(Picture, WM_RBUTTONDOWN, 1, 1);
        hand.Mouse(Picture, WM_RBUTTONUP, 1, 1);
        hand.Type(Whole, "many");
        hand.WhenBox("Scale center: takes", IDOK);
        hand.Mouse(Picture, WM_LBUTTONDOWN, 1, 1);
        hand.Mouse(Picture, WM_LBUTTONUP, 1, 1);
        EXPECT_TRUE(hand.HasFocus(Whole));
        EXPECT_EQ(dialog.m_input,
                  (std::vector<Input>{
                      {WM_MOUSEMOVE, 1, 1}, {WM_RBUTTONDOWN, 1, 1, 2}, {WM_CAPTURECHANGED}}));
        hand.Type(Whole, "1");
        hand.PressEscape();
    });
}

TEST_F(Dialog, ScrollBarsMoveOnlyByTheHandler)
{
    constexpr std::pair<Key, UINT> Codes[] = {
        {Key::Left, SB_LINEUP},   {Key::Right, SB_LINEDOWN}, {Key::Up, SB_LINEUP},
        {Key::Down, SB_LINEDOWN}, {Key::PageUp, SB_PAGEUP},  {Key::PageDown, SB_PAGEDOWN},
        {Key::Home, SB_TOP},      {Key::End, SB_BOTTOM}};
    Run([&] {
        dialog.m_across.SetScrollRange(0, 20);
        for (const int bar : {Across, Down}) {
            dialog.m_across.SetScrollPos(5);
            for (const auto& [key, code] : Codes) {
                dialog.m_seen.clear();
                hand.Press(bar, key);
                EXPECT_EQ(dialog.m_seen, (std::vector<Seen>{{code, 0}})) << bar << ", " << int(key);
            }
            EXPECT_EQ(hand.Position(Across), 7) << "a step for each SB_LINEDOWN";
        }
        dialog.m_seen.clear();
        hand.Drag(Across, 15);
        std::erase_if(dialog.m_seen, [](const Seen& seen) { // on the way
            return seen.first == SB_THUMBTRACK && seen.second != 15;
        });
        EXPECT_EQ(
            dialog.m_seen,
            (std::vector<Seen>{{SB_THUMBTRACK, 15}, {SB_THUMBPOSITION, 15}, {SB_ENDSCROLL, 0}}));
        EXPECT_EQ(hand.Position(Across), 7);
        dialog.m_across.SetScrollPos(99);
        EXPECT_EQ(hand.Position(Across), 20);
    });
}

TEST_F(Dialog, PictureStandsRightSideUpAndClipped)
{
    constexpr int Width = 8, Height = 4;
    std::vector<BYTE> bits(Width * Height);
    for (std::size_t i = 0; i < bits.size(); ++i) {
        bits[i] = static_cast<BYTE>(i + 1);
    }
    BITMAPINFO256 info{{40, Width, Height, 1, 8, BI_RGB, 0, 0, 0, 256, 256}, {}};
    for (int i = 0; i < 256; ++i) {
        info.bmiColors[i] = {static_cast<BYTE>(i), 0, 200, 0};
    }

    int paints = 0, second = -1;
    dialog.m_paint = [&] {
        ++paints;
        CWnd frame = dialog.GetDlgItem(Picture);
        CPaintDC paint(&frame), again(&frame);
        const auto draw = [&](CPaintDC& target, int x, int y) {
            return SetDIBitsToDevice(&target, x, y, Width, Height, 0, 0, 0, Height, bits.data(),
                                     &info, DIB_RGB_COLORS);
        };
        draw(paint, 2, 1);
        draw(paint, 146, 90);
        SetDIBitsToDevice(&paint, 20, 1, 2, 2, 3, 1, 2, 2, bits.data() + 2 * Width, &info,
                          DIB_RGB_COLORS);
        second = draw(again, 0, 0);
    };
    Run([&] {
        const unsigned background = hand.Pixel(Picture, 60, 60);
        const std::tuple<int, int, unsigned> cases[] = {
            // blue is the sample
            {2, 1, 0xC80019},   {9, 1, 0xC80020},   {2, 4, 0xC80001},    {9, 4, 0xC80008},
            {1, 1, background}, {2, 5, background}, {10, 1, background}, {147, 93, 0xC80002},
            {20, 1, 0xC80014},  {21, 1, 0xC80015},  {20, 2, background}};
        for (const auto& [x, y, color] : cases) {
            EXPECT_EQ(hand.Pixel(Picture, x, y), color) << x << ", " << y;
        }
        EXPECT_EQ(second, 0) << "a request is painted once";

        hand.Serve(20);
        const int before = paints;
        dialog.Invalidate();
        EXPECT_TRUE(hand.Wait([&] { return paints > before; }, 500));
    });
}

constexpr ControlTemplate ResizableControls[] = {
    {Picture, ControlKind::Frame, "", {4, 4, 60, 70}, GrowsAcross | GrowsDown},
    {Flag, ControlKind::GroupBox, "Box", {70, 4, 60, 70}, MovesAcross},
};
constexpr DialogTemplate ResizableTemplate{
    1, "Test", 140, 80, "MS Sans Serif", 8, ResizableControls, true, true};

TEST_F(Dialog, AMinimizedWindowComesBackAsItWas)
{
    CDialog resizable(ResizableTemplate, nullptr);
    const auto width = [&] {
        hand.Serve(100);
        RECT client;
        resizable.GetClientRect(&client);
        return client.right;
    };
    hand.Run(resizable, [&] {
        for (const bool isMaximized : {false, true}) {
            const int opened = width();
            if (isMaximized) {
                hand.Maximize();
                EXPECT_GT(width(), opened);
            }
            const int before = width();
            hand.Minimize();
            EXPECT_TRUE(resizable.IsIconic());
            hand.Serve(500); // a window manager may only be about to minimize it
            hand.Minimize(false);
            EXPECT_TRUE(hand.Wait([&] { return width() == before; })) << isMaximized;
            EXPECT_FALSE(resizable.IsIconic());
        }
    });
}

TEST_F(Dialog, ControlsGoWithTheCornerOfTheWindow)
{
    CDialog resizable(ResizableTemplate, nullptr);
    const auto place = [&](int id) { // its left edge in the window, its height
        RECT window, client;
        POINT corner{0, 0};
        resizable.GetDlgItem(id).GetWindowRect(&window);
        resizable.GetDlgItem(id).GetClientRect(&client);
        resizable.ScreenToClient(&corner);
        return std::pair(corner.x + window.left, client.bottom);
    };
    const auto looks = [&] {
        hand.Serve(50);
        std::vector<unsigned> pixels;
        for (int x = 0; x < 50; ++x) {
            pixels.push_back(hand.Pixel(Flag, x, 7));
        }
        return pixels;
    };
    hand.Run(resizable, [&] {
        const std::vector<unsigned> opened = looks();
        EXPECT_GT(std::ranges::count(opened, opened.back()), 5) << "the frame beside the text";
        const auto box = place(Flag), frame = place(Picture);
        for (const auto& [wider, grown] : {std::pair{200, 200}, {-100, 100}, {-3000, 0}}) {
            hand.Resize(wider, wider);
            EXPECT_EQ(place(Flag), std::pair(box.first + grown, box.second));
            EXPECT_EQ(place(Picture), std::pair(frame.first, frame.second + grown));
            EXPECT_EQ(looks(), opened);
        }
    });
}

TEST_F(Box, EscapeGivesTheAnswerThatDoesNothing)
{
    constexpr std::pair<UINT, int> Answers[] = {{MB_OK | MB_ICONEXCLAMATION, IDOK},
                                                {MB_OKCANCEL | MB_ICONASTERISK, IDCANCEL},
                                                {MB_YESNO | MB_TOPMOST, IDNO}};
    Run([&] {
        for (const auto& [style, answer] : Answers) {
            hand.WhenBox("Text", 0);
            EXPECT_EQ(ShowBox("Text", style), answer);
            EXPECT_EQ(hand.Boxes().back().style, style);
        }
    });
}

// As names of programs, devices and users may be.
TEST_F(Box, ShowsAnyTextAndNothingElse)
{
    std::string line; // of characters that take one and four bytes
    for (int i = 0; i < 2500; ++i) {
        line += "\xF0\x9F\x98\x80"
                "a";
    }
    const std::pair<std::string, std::string> texts[] = {
        {"100 %1% %s {0} <i>&x</i> &amp; <b>", "100 %1% %s {0} <i>&x</i> &amp; <b>"},
        {"bad \xC3\x28 \xFF", "bad \xEF\xBF\xBD( \xEF\xBF\xBD"},
        {"bell \x07\x1B[31m\x7F", "bell \xE2\x90\x87\xE2\x90\x9B[31m\xE2\x90\xA1"},
        {"right\xE2\x80\xAEto left", "right\xEF\xBF\xBDto left"},
        {line, line},
    };
    const std::string title = "[*] 100 % &x [*][*]<b>", megabyte(1 << 20, 'L');
    Run([&] {
        for (const auto& [text, shown] : texts) {
            hand.WhenBox("", IDOK);
            ShowBox(text, MB_OK, title);
            EXPECT_EQ(hand.Boxes().back().caption, title);
            std::string seen = hand.Boxes().back().text;
            // A line that is laid out as a whole must be short, and no character is cut.
            for (std::size_t begin = 0, end = 0; end != std::string::npos; begin = end + 1) {
                end = seen.find('\n', begin);
                EXPECT_LE(std::min(end, seen.size()) - begin, 2000u * 4);
            }
            std::erase(seen, '\n');
            EXPECT_EQ(seen, shown);
        }
        hand.WhenBox("L", IDOK);
        ShowBox(megabyte, MB_OK, "first" + megabyte + "last");
        const std::string& caption = hand.Boxes().back().caption;
        EXPECT_LT(caption.size(), 1000u);
        EXPECT_TRUE(caption.starts_with("firstL") && caption.ends_with("Llast"));
        dialog.SetDlgItemText(Center, megabyte);
        EXPECT_LT(hand.Text(Center).size(), 10'000u) << "a label is laid out as a whole";
        dialog.SetWindowText(title);
        EXPECT_TRUE(WaitForTitle(title, 500));
        EXPECT_EQ(dialog.GetWindowText(), title);
    });
}

TEST_F(Box, TellsWhoSpeaks)
{
    Run([&] {
        hand.WhenBox("<b>thrown</b>", IDOK);
        dialog.m_go = [] { throw std::runtime_error("<b>thrown</b>"); };
        hand.Click(Go);
        EXPECT_EQ(hand.Boxes().back().style, MB_OK | MB_ICONSTOP | MB_TOPMOST);
        hand.WhenBox("Unknown error", IDOK);
        dialog.m_go = [] { throw 7; };
        hand.Click(Go);
        hand.WhenBox("Text", IDOK);
        AfxMessageBox("Text");
        hand.WhenBox("Tarn test 1.2", IDOK);
        hand.Press(Key::Help);
        EXPECT_EQ(hand.Boxes().size(), 4u);
        for (const ShownBox& box : hand.Boxes()) {
            EXPECT_EQ(box.caption, "Tarn test");
        }
    });
}

TEST_F(Box, OnlyTheTopmostTakesAnAnswer)
{
    Run([&] {
        hand.WhenBox("Older", IDYES, [&] {
            hand.WhenBox("Newer", IDYES, [&] {
                EXPECT_TRUE(WaitForTitle("Newer", 500));
                ExpectBelow("Older", "Newer");
                EXPECT_TRUE(hand.TryToAnswer("Older", IDNO));
                hand.CloseWindow();
                hand.Invoke(Go);
                EXPECT_TRUE(hand.IsBoxOpen("Older") && hand.IsBoxOpen("Newer"));
            });
            EXPECT_EQ(ShowBox("Newer", MB_YESNO, "Newer"), IDYES);
            EXPECT_TRUE(WaitForTitle("Older", 500));
        });
        dialog.m_go = [] { ADD_FAILURE() << "pressed behind a box"; };
        EXPECT_EQ(ShowBox("Older", MB_YESNO, "Older"), IDYES);
        EXPECT_TRUE(WaitForTitle("Test", 500));
    });
}

// What was typed or clicked when the question came, or came back, was meant for something else.
TEST_F(Box, AQuestionIsNotAnsweredByWhatWasPressedBefore)
{
    const auto press = [&](const std::string& question) {
        const std::function<void()> ways[] = {
            [&] { hand.PressInBox(question, IDYES); }, [&] { hand.Press(Key::Enter); },
            [&] { hand.Press(Key::Space); }, [&] { hand.PressLetter('y'); },
            [&] { hand.PressInBox(question, IDYES); }};
        for (std::size_t i = 0; i < std::size(ways) && hand.IsBoxOpen(question); ++i) {
            ways[i]();
            EXPECT_TRUE(hand.IsBoxOpen(question)) << question << ", way " << i;
        }
        hand.Serve(200);
    };
    Run([&] {
        hand.WhenBox("Older", IDNO, [&] {
            press("Older");
            hand.Serve(350);
            hand.WhenBox("Newer", IDNO, [&] {
                press("Newer");
                hand.Serve(350);
                hand.PressLetter('y');
            });
            EXPECT_EQ(ShowBox("Newer", MB_YESNO), IDYES);
            press("Older");
            hand.Serve(350);
            hand.PressInBox("Older", IDYES);
        });
        EXPECT_EQ(ShowBox("Older", MB_YESNO), IDYES);
        for (const Key key : {Key::Enter, Key::Space}) {
            hand.WhenBox("Sure?", IDNO, [&] {
                hand.Serve(350);
                hand.Press(key);
            });
            EXPECT_EQ(ShowBox("Sure?", MB_OKCANCEL), IDOK);
        }
        hand.WhenBox("Told", 0, [&] { hand.Press(Key::Enter); });
        ShowBox("Told", MB_OK);
    });
}

TEST_F(Program, EndsInOrderWhenASignalAsksForIt)
{
    int answer = 0;
    dialog.m_go = [&] {
        hand.WhenDialog("Test", [&] {
            hand.WhenBox("Sure?", IDYES, [&] {
                std::raise(SIGTERM);
                hand.Serve(50);
            });
            answer = ShowBox("Sure?", MB_YESNO);
            answer += ShowBox("Not shown", MB_YESNO);
            EXPECT_TRUE(IsSessionEnding());
        });
        TestDialog(&dialog).DoModal();
    };
    EXPECT_EQ(Run([&] { hand.Click(Go); }), IDABORT);
    EXPECT_FALSE(IsSessionEnding()) << "the next run is a new one";
    EXPECT_EQ(answer, 2 * IDNO);
    EXPECT_EQ(hand.Boxes().size(), 1u);
}

} // namespace
