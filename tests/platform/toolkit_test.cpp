// What only this toolkit paints and asks, and the layer's own queue of messages.
#include "platform/messages.h"
#include "platform/test_dialog.h"

#include <csignal>
#include <filesystem>
#include <fstream>

namespace {

using Program = Dialog;

TEST_F(Dialog, AMinimizedWindowShowsWhatItPaints)
{
    static constexpr IconColor Palette[] = {{'#', 0x123456}};
    static constexpr const char* Rows[] = {"# ", " #"};
    static constexpr IconResource Icon{1, Palette, Rows};
    dialog.m_paint = [&] {
        if (dialog.IsIconic()) {
            CPaintDC(&dialog).DrawIcon(280, 190, &Icon);
        }
    };
    Run([&] {
        hand.Minimize();
        const unsigned background = hand.MinimizedPixel(300, 200);
        EXPECT_EQ(hand.MinimizedPixel(280, 190), 0x123456u);
        EXPECT_EQ(hand.MinimizedPixel(281, 191), 0x123456u);
        EXPECT_EQ(hand.MinimizedPixel(281, 190), background);
        hand.Minimize(false);
    });
}

TEST_F(Dialog, PostedMessagesAreRefusedWithoutAWindowAndBeyondTenThousand)
{
    EXPECT_EQ(PostMessageA(nullptr, WM_USER, 0, 0), 0);
    Run([&] {
        int posted = 0;
        while (posted <= 10'000 && PostMessageA(dialog.GetSafeHwnd(), WM_USER, 0, 0) != 0) {
            ++posted;
        }
        EXPECT_EQ(posted, 10'000);
    });
}

// What the toolkit asks by itself over its open-file dialog is left without a Yes.
TEST_F(Program, EndsOverAQuestionOfTheToolkitWithoutAYes)
{
    const std::filesystem::path folder = std::filesystem::temp_directory_path() / "tarn_question";
    std::filesystem::create_directory(folder);
    const std::string file = folder / "image.q32";
    std::ofstream(file) << "image";
    const int result = Run([&] {
        hand.WhenBox("image.q32", IDYES, [&] {
            std::raise(SIGTERM);
            hand.Serve(50);
        });
        hand.WhenFileDialog(file, [&] { hand.DeleteInFileDialog(file); });
        CFileDialog chooser(TRUE, "q32", nullptr, OFN_FILEMUSTEXIST, "Q32|*.q32||", &dialog);
        EXPECT_EQ(chooser.DoModal(), IDCANCEL);
    });
    EXPECT_EQ(result, IDABORT);
    EXPECT_TRUE(std::filesystem::exists(file)) << "nobody said that it may be deleted";
    std::filesystem::remove_all(folder);
}

} // namespace
