// No image is lost: numbers of files, questions one over the other, and what the check boxes say.
#include "app/main_dialog_fixture.h"
#include "storage/q32_file.h"

#include <algorithm>
#include <csignal>
#include <fstream>
#include <optional>
#include <stdexcept>

namespace {

constexpr int OptionBoxes[] = {IdNegative,   IdSaveRawFiles, IdTestImageMode, IdNoGainCheck,
                               IdAutoEnable, IdEightBitRead, IdAutoSaveImages};

} // namespace

// Gamma stands behind the other check boxes in the exchange and before "Auto save images".
TEST_F(MainDialog, ACheckBoxGoesBackWhileAFieldIsRejected)
{
    ForgetOldImages();
    Run([&] {
        for (const UINT_PTR poll : {2u, 3u}) {
            window.KillTimer(poll); // nothing but the click calls the library
        }
        for (const bool before : {false, true}) {
            for (const int box : OptionBoxes) {
                SCOPED_TRACE(box);
                if (hand.IsChecked(box) != before) {
                    hand.Click(box);
                }
                hand.WhenBox("Gamma", IDOK);
                hand.Type(IdGamma, "x");
                hand.Focus(IdOpen);
                hand.WhenBox("Gamma", IDOK);
                library.calls.clear();
                hand.Click(box);
                EXPECT_EQ(library.calls, None);
                EXPECT_EQ(hand.IsChecked(box), before);
                EXPECT_TRUE(hand.HasFocus(IdGamma));
                hand.Type(IdGamma, "1");
                EXPECT_EQ(window.autoEnable != FALSE, hand.IsChecked(IdAutoEnable));
                EXPECT_EQ(window.autoSaveImages != FALSE, hand.IsChecked(IdAutoSaveImages));
            }
        }
    });
}

TEST_F(MainDialog, AnImageTakesItsFileNumberWhenItIsFetched)
{
    Store(1);
    Store(2);
    Store(3);
    ForgetOldImages();
    Run([&] {
        hand.Click(IdAutoSaveImages);
        hand.Click(IdAutoEnable);
        library.Fail(Export::EnableCapture, 0x200007);
        hand.WhenBox("Error number: 7\n", IDOK, [&] {
            Event(EventImageReady, 2);
            Event(EventNewSeries);
            Event(EventImageReady, 3);
        });
        Event(EventImageReady, 1);
        EXPECT_TRUE(library.images.empty());
        const std::pair<const char*, std::uint32_t> files[] = {
            {"P_1_1.Q32", 1}, {"P_1_2.Q32", 2}, {"P_2_1.Q32", 3}};
        for (const auto& [name, id] : files) {
            ASSERT_TRUE(std::filesystem::exists(folder / name)) << name;
            EXPECT_EQ(ReadQ32File((folder / name).string().c_str())->m_imageId, id) << name;
        }
        EXPECT_EQ(window.imageNumber, 2u);
    });
}

// An image whose id is 0 is an image.
TEST_F(MainDialog, AnImageWithoutAnIdIsSavedAndAskedAbout)
{
    Store(5);
    library.images.back().imageId = 0;
    ForgetOldImages();
    Run([&] {
        hand.WhenBox(Question, IDNO);
        Event(EventImageReady, 5);
        EXPECT_EQ(window.imageNumber, 2u);
        hand.Click(IdAutoSaveImages);
        Event(EventImageReady, 5);
        EXPECT_TRUE(library.images.empty());
        EXPECT_TRUE(std::filesystem::exists(folder / "P_1_2.Q32"));

        Store(5);
        library.images.back().imageId = 0;
        library.Fail(Export::GetImageCount, 0, 0);
        hand.WhenBox("Found old images!", IDYES);
        hand.WhenBox("Found old image:", IDOK);
        window.CheckStoredImages();
        EXPECT_TRUE(library.images.empty());
    });
}

TEST_F(MainDialog, ThePictureBelongsToTheTopmostQuestion)
{
    for (const std::uint32_t id : {1u, 2u, 3u, 4u}) {
        Store(id, "ProgramName=P" + std::to_string(id) + ";");
    }
    ForgetOldImages();
    const auto shows = [&](std::uint32_t id) {
        return window.currentImage && window.currentImage->m_imageId == id &&
               hand.Title() == "P" + std::to_string(id) &&
               hand.Text(IdScaleCenter) == std::to_string(id + 7);
    };
    Run([&] {
        hand.WhenBox(Question, IDYES, [&] {
            hand.WhenBox(Question, IDNO);
            Event(EventImageReady, 2);
            EXPECT_TRUE(shows(1)) << "after the question about the second";
            library.Fail(Export::GetImage, 0x200009);
            hand.WhenBox("Error number: 9", IDOK, [&] { EXPECT_TRUE(shows(1)); });
            Event(EventImageReady, 4);
            library.Fail(Export::GetImage, 0);
            Event(EventImageReady, 4);
            EXPECT_TRUE(shows(1)) << "after fetches that gave nothing";
            // Saved without a question. The preview would hide the picture of this one.
            window.autoSaveImages = window.autoEnable = TRUE;
            Event(EventImageReady, 3);
            EXPECT_TRUE(shows(1)) << "after the third was saved";
        });
        Event(EventImageReady, 1);
        EXPECT_TRUE(shows(3)) << "the image received last";
        EXPECT_EQ(library.CallsOf({"TarnRemove", "TarnEnable"}),
                  (Strings{"TarnRemoveImage \"\" 3", "TarnRemoveImage \"\" 1",
                           "TarnEnableCapture 0 \"My ID\" 0"}));
    });
}

// Another image is shown while the failure to save this one is told, before the question comes.
TEST_F(MainDialog, AQuestionAfterAFailedSaveShowsItsOwnImage)
{
    Store(1, "ProgramName=a/b");
    Store(2, "ProgramName=P");
    ForgetOldImages();
    Run([&] {
        hand.Click(IdAutoSaveImages);
        hand.WhenBox("a/b_1_1.Q32", IDOK, [&] { Event(EventImageReady, 2); });
        hand.WhenBox(Question, IDNO, [&] { EXPECT_EQ(hand.Title(), "a/b"); });
        Event(EventImageReady, 1);
        EXPECT_EQ(hand.Title(), "P");
    });
}

// An image arrives while an old one is asked about.
TEST_F(MainDialog, TheStoredImageIsShownAgainWhenAnArrivedOneIsAnswered)
{
    Store(1, "ProgramName=Old");
    hand.WhenBox("Found old images!", IDYES);
    hand.WhenBox("Found old image:", IDOK, [&] {
        Store(2, "ProgramName=New");
        hand.WhenBox(Question, IDNO);
        Event(EventImageReady, 2);
        EXPECT_EQ(hand.Title(), "Old");
        EXPECT_EQ(library.CallsOf({"TarnEnable"}), None);
        ForgetOldImages();
    });
    Run([&] {
        window.KillTimer(2);
        hand.Click(IdAutoEnable);
        window.autoSaveImages = TRUE; // and fails to
        std::ofstream(folder.parent_path()) << "in the way";
        hand.WhenBox("Invalid path on", IDOK);
        window.CheckStoredImages();
        std::filesystem::remove(folder.parent_path());
        EXPECT_EQ(library.CallsOf({"TarnRemove", "TarnEnable"}),
                  (Strings{"TarnRemoveImage \"\" 1", "TarnEnableCapture 0 \"My ID\" 0"}));
        EXPECT_EQ(hand.Title(), "New");
    });
}

TEST_F(MainDialog, ImagesBeyondTheEighthQuestionAreAskedAboutAfterIt)
{
    constexpr int Most = 8;
    ForgetOldImages();
    for (std::uint32_t id = 1; id <= Most + 2; ++id) {
        Store(id);
    }
    std::function<void(int)> ask = [&](int depth) {
        hand.WhenBox(Question, IDYES, [&, depth] {
            if (depth < Most) {
                ask(depth + 1);
                return;
            }
            Event(EventImageReady, Most + 2);
            Event(EventImageReady, Most + 1);
            Event(EventImageReady, Most + 2);
            hand.WhenBox(Question, IDNO);
            hand.WhenBox(Question, IDYES);
        });
        Event(EventImageReady, static_cast<std::uint32_t>(depth));
    };
    Run([&] {
        ask(1);
        ASSERT_EQ(library.images.size(), 1u);
        EXPECT_EQ(library.images[0].number, Most + 1);
    });
    EXPECT_EQ(hand.Boxes().size(), Most + 2u);

    // A session that ends meanwhile leaves them in the store.
    library.images.clear();
    Store(1);
    Store(2);
    library.calls.clear();
    Window another;
    hand.WhenEveryBox(Question, IDNO, [&] {
        if (library.CallsOf({"TarnGetImage "}).size() < Most) {
            another.Send(WM_TARN_EVENT, 1, EventImageReady);
        } else {
            another.Send(WM_TARN_EVENT, 2, EventImageReady);
            std::raise(SIGTERM);
            hand.Serve(50);
        }
    });
    hand.Run(another, [&] {
        another.KillTimer(StartUpTimer);
        another.Send(WM_TARN_EVENT, 1, EventImageReady);
    });
    EXPECT_EQ(library.CallsOf({"TarnGetImage "}).size(), std::size_t{Most});
}

// Whatever is thrown through a handler, the program goes on as before it.
TEST_F(MainDialog, AnExceptionLeavesNothingHalfDone)
{
    std::optional<Export> thrower;
    library.onCall = [&](Export which) {
        if (which == thrower) {
            thrower.reset();
            throw std::runtime_error("thrown");
        }
    };
    Store(1);
    thrower = Export::GetImageCount;
    hand.WhenBox("thrown", IDOK);
    Run([&] {
        EXPECT_TRUE(hand.Wait([&] { return hand.IsEnabled(IdEnable); })) << "no polling";
        thrower = Export::DescribeResult;
        hand.WhenBox("thrown", IDOK);
        Event(0x200005);
        hand.WhenBox("Error number: 6\n", IDOK);
        Event(0x200006);
        thrower = Export::RemoveImage;
        hand.WhenBox(Question, IDYES);
        hand.WhenBox("thrown", IDOK);
        Event(EventImageReady, 1);
        hand.WhenBox(Question, IDNO);
        Event(EventImageReady, 1);
        EXPECT_EQ(library.images.size(), 1u);
    });

    Window another;
    thrower = Export::SetNotifyWindow;
    library.calls.clear();
    EXPECT_THROW(another.DoModal(), std::runtime_error);
    EXPECT_EQ(library.CallsOf({"TarnClose"}).size(), 1u);
}
