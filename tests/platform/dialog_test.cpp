// Dialogs, fields, boxes and painting, worked as an operator does.
#include "platform/bench_dialog.h"
#include "platform/qt/operator.h"

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>

namespace {

using Key = Operator::Key;

std::size_t Count(const BenchDialog& dialog, UINT message)
{
    return static_cast<std::size_t>(std::count_if(dialog.m_seen.begin(), dialog.m_seen.end(),
                                                  [&](auto& e) { return e.first == message; }));
}

TEST(Dialog, EveryEventReachesItsHandler)
{
    Operator op;
    BenchDialog dialog;
    int gone = 0;
    dialog.m_go = [&] { ++gone; };
    const int result = op.Run(dialog, [&] {
        op.Click(Go);
        dialog.Send(WM_COMMAND, Go);
        op.Focus(Go);
        op.PressEnter();
        EXPECT_EQ(gone, 3);
        EXPECT_EQ(dialog.Send(WM_USER, 5), 7);
        op.Drop("/some where/an image.q32");
        EXPECT_TRUE(op.Wait([&] { return !dialog.m_dropped.empty(); }));
        EXPECT_EQ(dialog.m_dropped, "/some where/an image.q32");
        op.WhenBox("<b>thrown</b>", IDOK);
        op.Click(Throw);
        EXPECT_EQ(op.Boxes().back().style, MB_OK | MB_ICONSTOP | MB_TOPMOST);
        op.Click(Flag);
        op.Click(Second);
        EXPECT_TRUE(dialog.UpdateData());
        EXPECT_TRUE(dialog.m_flag);
        EXPECT_EQ(dialog.m_radio, 1);
        op.Focus(Whole);
        op.PressEnter();
    });
    EXPECT_EQ(result, IDOK);
    EXPECT_EQ(dialog.GetSafeHwnd(), nullptr);
    EXPECT_EQ(dialog.Send(WM_USER, 6), 7) << "a dialog without a window still has its handlers";
}

TEST(Dialog, FieldsTakeNumbersOfTheirTypeOnly)
{
    const struct
    {
        int id;
        const char* text;
        bool accepted;
    } cases[] = {
        {Whole, "0", true},           {Whole, "4294967295", true}, {Whole, " 12 ", true},
        {Whole, "4294967296", false}, {Whole, "-1", false},        {Whole, "+1", false},
        {Whole, "", false},           {Whole, "1.0", false},       {Whole, "0x10", false},
        {Whole, "12a", false},        {Real, "1e-3", true},        {Real, "-.5", true},
        {Real, "+2.5", true},         {Real, "1,5", false},        {Real, "nan", false},
        {Real, "inf", false},         {Real, "1e999", false},      {Real, "", false},
        {Real, "+-1", false},         {Real, "1.5 mm", false},
    };
    Operator op;
    BenchDialog dialog;
    op.Run(dialog, [&] {
        EXPECT_EQ(op.Text(Real), "0.5");
        for (const auto& c : cases) {
            dialog.UpdateData(FALSE);
            dialog.SetDlgItemText(c.id, c.text);
            if (!c.accepted) {
                op.WhenBox(c.id == Whole
                               ? "Scale center: takes a whole number from 0 to 4294967295."
                               : "Gamma: takes a number",
                           IDOK);
            }
            dialog.m_whole = 3700;
            dialog.m_real = 0.5;
            EXPECT_EQ(dialog.UpdateData(), c.accepted) << c.text;
            EXPECT_EQ(dialog.m_whole == 3700 && dialog.m_real == 0.5, !c.accepted) << c.text;
            EXPECT_EQ(op.HasFocus(c.id) || c.accepted, true) << c.text;
        }
        dialog.UpdateData(FALSE);
    });
}

TEST(Dialog, ARejectedFieldIsToldOnceAndWheneverTheOperatorActs)
{
    Operator op;
    BenchDialog dialog;
    op.Run(dialog, [&] {
        op.WhenBox("Scale center", IDOK);
        op.Type(Whole, "x");
        op.Click(Go);
        EXPECT_TRUE(op.HasFocus(Whole));
        op.Focus(Go);
        EXPECT_FALSE(op.HasFocus(Whole)) << "told once, the operator may leave the field";
        EXPECT_EQ(op.Boxes().size(), 1u);
        op.WhenBox("Scale center", IDOK);
        op.Click(IDOK);
        EXPECT_TRUE(op.HasFocus(Whole)) << "but not act on it";
        op.WhenBox("Scale center", IDOK);
        op.Type(Whole, "y");
        op.Focus(Go);
        EXPECT_EQ(op.Boxes().size(), 3u);
        op.Type(Whole, "10");
        op.Focus(Go);
        EXPECT_EQ(dialog.m_whole, 10u);
    });
}

TEST(Dialog, KeysOfAScrollBarSayWhereToGo)
{
    constexpr std::pair<Key, UINT> Codes[] = {
        {Key::Left, SB_LINEUP},   {Key::Right, SB_LINEDOWN}, {Key::Up, SB_LINEUP},
        {Key::Down, SB_LINEDOWN}, {Key::PageUp, SB_PAGEUP},  {Key::PageDown, SB_PAGEDOWN},
        {Key::Home, SB_TOP},      {Key::End, SB_BOTTOM}};
    Operator op;
    BenchDialog dialog;
    op.Run(dialog, [&] {
        op.Serve(20);
        for (const int bar : {Across, Down}) {
            for (const auto& [key, code] : Codes) {
                dialog.m_seen.clear();
                op.Press(bar, key);
                const std::vector<std::pair<UINT, WPARAM>> expected = {{code, 0}};
                EXPECT_EQ(dialog.m_seen, expected) << "bar " << bar << ", key " << int(key);
            }
        }
    });
}

// By whatever way: one click, and the button shows what the dialog is told.
TEST(Dialog, EveryWayToPressAButtonIsOneClick)
{
    const struct
    {
        int id, checked, clearedByIt;
        char mnemonic;
    } buttons[] = {{Flag, 1, 0, 'f'}, {Second, 1, First, 'e'}, {Go, 0, 0, 'g'}};
    using Way = void (*)(Operator&, int id, char mnemonic);
    constexpr Way Ways[] = {
        [](Operator& op, int id, char) { op.Click(id); },
        [](Operator& op, int id, char) { op.Press(id, Key::Space); },
        [](Operator& op, int, char mnemonic) { op.PressLetter(mnemonic, true); },
        [](Operator& op, int id, char) { op.Invoke(id); },
    };
    Operator op;
    BenchDialog dialog;
    dialog.m_go = [&] { dialog.m_clicked.push_back(Go); };
    op.Run(dialog, [&] {
        for (std::size_t way = 0; way < std::size(Ways); ++way) {
            for (const auto& button : buttons) {
                SCOPED_TRACE("way " + std::to_string(way) + ", id " + std::to_string(button.id));
                CButton(dialog.GetDlgItem(button.id).GetSafeHwnd()).SetCheck(0);
                dialog.CheckRadioButton(First, Second, First);
                op.Focus(Whole);
                dialog.m_clicked.clear();
                Ways[way](op, button.id, button.mnemonic);
                EXPECT_TRUE(op.Wait([&] { return !dialog.m_clicked.empty(); }, 500));
                EXPECT_EQ(dialog.m_clicked, std::vector<int>{button.id});
                EXPECT_EQ(op.IsChecked(button.id), button.checked != 0);
                EXPECT_TRUE(op.HasFocus(button.id));
                EXPECT_TRUE(button.clearedByIt == 0 || !op.IsChecked(button.clearedByIt));
                // A rejected field keeps the focus, and the click is lost.
                op.WhenBox("Scale center", IDOK);
                op.Type(Whole, "x");
                Ways[way](op, button.id, button.mnemonic);
                EXPECT_TRUE(op.HasFocus(Whole));
                op.Serve(10);
                op.Type(Whole, "1");
                EXPECT_EQ(dialog.m_clicked, std::vector<int>{button.id});
            }
        }
        op.Serve(150); // the toolkit shows a button pressed for a while before it clicks
        EXPECT_EQ(dialog.m_clicked.size(), 1u);
        dialog.m_clicked.clear();
        op.Press(Second, Key::Left);
        EXPECT_EQ(dialog.m_clicked, std::vector<int>{First});
        EXPECT_TRUE(op.IsChecked(First) && !op.IsChecked(Second));
    });
}

TEST(Dialog, ScrollBarsMoveOnlyByTheHandler)
{
    Operator op;
    BenchDialog dialog;
    op.Run(dialog, [&] {
        dialog.m_across.SetScrollRange(0, 20);
        dialog.m_across.SetScrollPos(5);
        op.Press(Across, Key::Home);
        EXPECT_EQ(op.Position(Across), 5);
        op.Press(Across, Key::Right);
        EXPECT_EQ(op.Position(Across), 6);
        dialog.m_seen.clear();
        op.Drag(Across, 15);
        const std::vector<std::pair<UINT, WPARAM>> expected = {
            {SB_THUMBTRACK, 15}, {SB_THUMBPOSITION, 15}, {SB_ENDSCROLL, 0}};
        EXPECT_EQ(dialog.m_seen, expected);
        EXPECT_EQ(op.Position(Across), 6);
        dialog.m_across.SetScrollPos(99);
        EXPECT_EQ(op.Position(Across), 20);
    });
}

TEST(Dialog, TrackBarReportsTheOperatorAtOnceAndTheProgramByDrawing)
{
    Operator op;
    BenchDialog dialog;
    op.Run(dialog, [&] {
        op.Serve(20);
        dialog.m_seen.clear();
        dialog.m_track.SetRange(1, 10);
        dialog.m_track.SetPos(4);
        EXPECT_EQ(Count(dialog, WM_NOTIFY), 0u);
        EXPECT_TRUE(op.Wait([&] { return Count(dialog, WM_NOTIFY) > 0; }));
        EXPECT_EQ(dialog.m_seen.back().second, 4u);
        op.Drag(Track, 7);
        EXPECT_EQ(dialog.m_seen.back(), std::pair(WM_NOTIFY, WPARAM{7}));
    });
}

TEST(Dialog, PictureStandsRightSideUpAndClipped)
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

    Operator op;
    BenchDialog dialog;
    int lines = 0, second = -1;
    dialog.m_paint = [&] {
        CWnd frame = dialog.GetDlgItem(Picture);
        CPaintDC paint(&frame), again(&frame);
        lines = SetDIBitsToDevice(&paint, 2, 1, Width, Height, 0, 0, 0, Height, bits.data(), &info,
                                  DIB_RGB_COLORS);
        SetDIBitsToDevice(&paint, 146, 90, Width, Height, 0, 0, 0, Height, bits.data(), &info,
                          DIB_RGB_COLORS);
        SetDIBitsToDevice(&paint, 20, 1, 2, 2, 3, 1, 2, 2, bits.data() + 2 * Width, &info,
                          DIB_RGB_COLORS);
        second = SetDIBitsToDevice(&again, 0, 0, Width, Height, 0, 0, 0, Height, bits.data(), &info,
                                   DIB_RGB_COLORS);
    };
    op.Run(dialog, [&] {
        const unsigned background = op.Pixel(Picture, 60, 60);
        const struct
        {
            int x, y;
            unsigned color; // blue is the sample
        } cases[] = {{2, 1, 0xC80019},    {9, 1, 0xC80020},    {2, 4, 0xC80001},
                     {9, 4, 0xC80008},    {1, 1, background},  {2, 5, background},
                     {10, 1, background}, {147, 93, 0xC80002}, {20, 1, 0xC80014},
                     {21, 1, 0xC80015},   {20, 2, background}};
        for (const auto& c : cases) {
            EXPECT_EQ(op.Pixel(Picture, c.x, c.y), c.color) << c.x << ", " << c.y;
        }
        EXPECT_EQ(lines, Height);
        EXPECT_EQ(second, 0) << "a request is painted once";
        CWnd frame = dialog.GetDlgItem(Picture);
        CPaintDC outside(&frame);
        EXPECT_EQ(SetDIBitsToDevice(&outside, 0, 0, Width, Height, 0, 0, 0, Height, bits.data(),
                                    &info, DIB_RGB_COLORS),
                  0);
    });
}

TEST(Dialog, AChangeIsDrawn)
{
    constexpr unsigned Red = 0xC00000;
    Operator op;
    BenchDialog dialog;
    int paints = 0;
    dialog.m_paint = [&] { ++paints; };
    op.Run(dialog, [&] {
        op.WhenBox("Scale center", IDOK);
        op.Type(Whole, "x");
        op.Focus(Go);
        EXPECT_EQ(op.Pixel(Whole, 1, 8), Red);
        dialog.SetDlgItemText(Whole, "x");
        EXPECT_NE(op.Pixel(Whole, 1, 8), Red) << "the program wrote the text";
        dialog.SetDlgItemText(Whole, "1");

        op.Serve(20);
        const int before = paints;
        dialog.Invalidate();
        EXPECT_TRUE(op.Wait([&] { return paints > before; }, 500));
        dialog.m_seen.clear();
        dialog.m_track.SetRange(1, 10);
        EXPECT_TRUE(op.Wait([&] { return Count(dialog, WM_NOTIFY) > 0; }, 500));
    });
}

TEST(Dialog, AMinimizedWindowShowsWhatItPaints)
{
    static constexpr IconColor Palette[] = {{'#', 0x123456}};
    static constexpr const char* Rows[] = {"# ", " #"};
    static constexpr IconResource Icon{1, Palette, Rows};
    Operator op;
    BenchDialog dialog;
    dialog.m_paint = [&] {
        if (dialog.IsIconic()) {
            CPaintDC(&dialog).DrawIcon(280, 190, &Icon);
        }
    };
    op.Run(dialog, [&] {
        op.Minimize();
        const unsigned background = op.MinimizedPixel(300, 200);
        EXPECT_EQ(op.MinimizedPixel(280, 190), 0x123456u);
        EXPECT_EQ(op.MinimizedPixel(281, 191), 0x123456u);
        EXPECT_EQ(op.MinimizedPixel(281, 190), background);
        op.Minimize(false);
    });
}

TEST(Box, ShowsAnyTextAndAnswersAsAsked)
{
    const struct
    {
        UINT style;
        int pressed, answer;
    } cases[] = {
        {MB_OK | MB_ICONHAND, IDOK, IDOK},
        {MB_OK | MB_TOPMOST, 0, IDOK},
        {MB_OKCANCEL, IDOK, IDOK},
        {MB_OKCANCEL | MB_ICONASTERISK, 0, IDCANCEL},
        {MB_YESNO | MB_TOPMOST, IDYES, IDYES},
        {MB_YESNO | MB_ICONEXCLAMATION, 0, IDNO},
    };
    Operator op;
    BenchDialog dialog;
    op.Run(dialog, [&] {
        for (const auto& c : cases) {
            op.WhenBox("100 %", c.pressed);
            EXPECT_EQ(MessageBoxA(dialog.GetSafeHwnd(), "100 %1% <i>&x</i>", "Tarn", c.style),
                      c.answer);
            EXPECT_EQ(op.Boxes().back().style, c.style);
            EXPECT_EQ(op.Boxes().back().text, "100 %1% <i>&x</i>");
        }
        const std::string megabyte(1 << 20, '\xFF');
        op.WhenBox("\xEF\xBF\xBD", IDOK);
        MessageBoxA(dialog.GetSafeHwnd(), megabyte.c_str(), megabyte.c_str(), MB_OK);
        EXPECT_LT(op.Boxes().back().caption.size(), 1000u);
        // A line that is laid out as a whole must be short, and no character is cut.
        std::string line;
        for (int i = 0; i < 5000; ++i) {
            line += i % 2 == 0 ? "\xF0\x9F\x98\x80" : "a";
        }
        op.WhenBox("a", IDOK);
        MessageBoxA(dialog.GetSafeHwnd(), line.c_str(), "", MB_OK);
        std::string shown = op.Boxes().back().text;
        for (std::size_t begin = 0, end = 0; end != std::string::npos; begin = end + 1) {
            end = shown.find('\n', begin);
            EXPECT_LE(std::min(end, shown.size()) - begin, 2000u * 4);
        }
        EXPECT_GT(std::erase(shown, '\n'), 2u);
        EXPECT_EQ(shown, line);
        op.WhenBox("", IDOK);
        MessageBoxA(reinterpret_cast<HWND>(1), "", "", MB_OK);
    });
}

TEST(Box, TitlesStandAsTheyAre)
{
    const std::string title = "[*] 100 % &x [*][*]<b>";
    Operator op;
    BenchDialog dialog;
    op.Run(dialog, [&] {
        op.WhenBox("Text", IDOK);
        MessageBoxA(dialog.GetSafeHwnd(), "Text", title.c_str(), MB_OK);
        EXPECT_EQ(op.Boxes().back().caption, title);
        dialog.SetWindowText(title);
        EXPECT_TRUE(op.Wait([&] { return op.ActiveTitle() == title; }, 500));
        EXPECT_EQ(dialog.GetWindowText(), title);
    });
}

TEST(Box, TellsWhoSpeaks)
{
    Operator op;
    BenchDialog dialog;
    dialog.m_go = [] { throw 7; };
    op.Run(dialog, [&] {
        op.WhenBox("Unknown error", IDOK);
        op.Click(Go);
        EXPECT_EQ(op.Boxes().back().style, MB_OK | MB_ICONSTOP | MB_TOPMOST);
        op.WhenBox("Text", IDOK);
        AfxMessageBox("Text");
        op.WhenBox("Tarn test 1.2", IDOK);
        op.PressHelp();
        EXPECT_EQ(op.Boxes().size(), 3u);
        for (const ShownBox& box : op.Boxes()) {
            EXPECT_EQ(box.caption, "Tarn test");
        }
    });
}

TEST(Box, OnlyTheTopmostTakesAnAnswer)
{
    Operator op;
    BenchDialog dialog;
    op.Run(dialog, [&] {
        op.WhenBox("Older", IDYES, [&] {
            op.WhenBox("Newer", IDYES, [&] {
                EXPECT_TRUE(op.Wait([&] { return op.ActiveTitle() == "Newer"; }, 500));
                const auto [left, top] = op.PlaceOfBox("Older");
                const auto [newerLeft, newerTop] = op.PlaceOfBox("Newer");
                EXPECT_GE(newerLeft - left, 15);
                EXPECT_EQ(newerTop - top, newerLeft - left);
                EXPECT_TRUE(op.TryToAnswer("Older", IDNO));
                op.CloseWindow();
                op.Invoke(Go);
                EXPECT_TRUE(op.IsBoxOpen("Older") && op.IsBoxOpen("Newer"));
            });
            EXPECT_EQ(MessageBoxA(dialog.GetSafeHwnd(), "Newer", "Newer", MB_YESNO), IDYES);
            EXPECT_TRUE(op.Wait([&] { return op.ActiveTitle() == "Older"; }, 500));
        });
        dialog.m_go = [] { ADD_FAILURE() << "pressed behind a box"; };
        EXPECT_EQ(MessageBoxA(dialog.GetSafeHwnd(), "Older", "Older", MB_YESNO), IDYES);
        EXPECT_TRUE(op.Wait([&] { return op.ActiveTitle() == "Bench"; }, 500));
    });
}

// The words are those of a text that was typed when the question came.
TEST(Box, AQuestionIsNotAnsweredByWhatWasTypedBefore)
{
    Operator op;
    BenchDialog dialog;
    op.Run(dialog, [&] {
        op.WhenBox("Sure?", IDNO, [&] {
            for (const Key key : {Key::Enter, Key::Space}) {
                op.Press(key);
            }
            op.PressLetter('y');
            op.Serve(200);
            EXPECT_TRUE(op.IsBoxOpen("Sure?"));
        });
        EXPECT_EQ(MessageBoxA(dialog.GetSafeHwnd(), "Sure?", "", MB_YESNO), IDNO);
        for (const Key key : {Key::Enter, Key::Space}) {
            op.WhenBox("Sure?", IDNO, [&] {
                op.Serve(350);
                op.Press(key);
            });
            EXPECT_EQ(MessageBoxA(dialog.GetSafeHwnd(), "Sure?", "", MB_OKCANCEL), IDOK);
        }
        op.WhenBox("Told", 0, [&] { op.Press(Key::Enter); });
        MessageBoxA(dialog.GetSafeHwnd(), "Told", "", MB_OK);
        op.WhenBox("Sure?", IDYES, [&] { op.PressEscape(); });
        EXPECT_EQ(MessageBoxA(dialog.GetSafeHwnd(), "Sure?", "", MB_YESNO), IDNO);
    });
}

TEST(Program, EndsInOrderWhenASignalAsksForIt)
{
    Operator op;
    BenchDialog dialog;
    int answer = 0;
    dialog.m_go = [&] {
        op.WhenDialog("Bench", [&] {
            op.WhenBox("Sure?", IDYES, [&] {
                std::raise(SIGTERM);
                op.Serve(50);
            });
            answer = MessageBoxA(dialog.GetSafeHwnd(), "Sure?", "", MB_YESNO);
            answer += MessageBoxA(dialog.GetSafeHwnd(), "Not shown", "", MB_YESNO);
            EXPECT_TRUE(IsSessionEnding());
        });
        dialog.Send(WM_COMMAND, Nested);
    };
    EXPECT_EQ(op.Run(dialog, [&] { op.Click(Go); }), IDABORT);
    EXPECT_FALSE(IsSessionEnding()) << "the next run is a new one";
    EXPECT_EQ(answer, 2 * IDNO);
    EXPECT_EQ(op.Boxes().size(), 1u);
}

// What the toolkit asks by itself over its open-file dialog is left without a Yes.
TEST(Program, EndsOverAQuestionOfTheToolkitWithoutAYes)
{
    const std::filesystem::path folder = std::filesystem::temp_directory_path() / "tarn_question";
    std::filesystem::create_directory(folder);
    const std::string file = folder / "image.q32";
    std::ofstream(file) << "image";
    Operator op;
    BenchDialog dialog;
    const int result = op.Run(dialog, [&] {
        op.WhenBox("image.q32", IDYES, [&] {
            std::raise(SIGTERM);
            op.Serve(50);
        });
        op.WhenFileDialog(file, [&] { op.DeleteInFileDialog(file); });
        CFileDialog chooser(TRUE, "q32", nullptr, OFN_FILEMUSTEXIST, "Q32|*.q32||", &dialog);
        EXPECT_EQ(chooser.DoModal(), IDCANCEL);
    });
    EXPECT_EQ(result, IDABORT);
    EXPECT_TRUE(std::filesystem::exists(file)) << "nobody said that it may be deleted";
    std::filesystem::remove_all(folder);
}

} // namespace
