// The mouse and the keys on the picture, and its size, over windows without a screen.
#include "app/shown_image.h"
#include "display/resample.h"
#include "platform/field_text.h"

#include <cmath>

namespace {

class ImageInput : public ShownImage
{
protected:
    int Position(int id) const
    {
        return CScrollBar(program.GetDlgItem(id).GetSafeHwnd()).GetScrollPos();
    }
};

// Upright, lying and tiny pictures, enlarged beyond the image area on both sides; the view shows
// nothing beyond the picture, and the way out ends at the whole picture.
TEST_F(ImageInput, TheWheelZoomsAroundThePointBelowTheMouse)
{
    for (const auto& [width, height] : {std::pair{1300u, 1700u}, {2000u, 700u}, {64u, 48u}}) {
        Run(Noise(width, height), [&] {
            const int bottom = static_cast<int>(program.displayImage->m_height) - 1;
            const double lowest = Row(bottom);
            for (int notch = 1; notch <= 8; ++notch) {
                const double column = Column(250);
                const double row = Row(200);
                hand.TurnWheel(IdImageArea, 50, 250, 200);
                hand.TurnWheel(IdImageArea, 70, 250, 200);
                EXPECT_DOUBLE_EQ(program.zoom, std::pow(1.5, notch));
                if (notch > 4) {
                    EXPECT_NEAR(Column(250), column, 1.0) << notch;
                    EXPECT_NEAR(Row(200), row, 1.0) << notch;
                }
            }
            hand.TurnWheel(IdImageArea, -480, 0, 0);
            hand.TurnWheel(IdImageArea, 240, 739, bottom);
            EXPECT_LE(Column(739), program.currentImage->m_width);
            EXPECT_GE(Row(bottom), 0);
            hand.TurnWheel(IdImageArea, -1320, 0, 0);
            EXPECT_EQ(program.zoom, 1.0);
            EXPECT_EQ(Row(bottom), lowest);
        });
    }
}

TEST_F(ImageInput, TheLeftButtonMovesThePictureAndADoubleClickShowsItWhole)
{
    Run(Noise(1300, 1700), [&] {
        Drag(WM_LBUTTONDOWN, {300, 200}, {400, 300});
        EXPECT_EQ(program.viewCenterX, 650u) << "moved at zoom 1";
        hand.Click(IdZoomIn);
        hand.Click(IdZoomIn);
        hand.Click(IdZoomIn);
        const double column = Column(300);
        const double row = Row(200);
        Drag(WM_LBUTTONDOWN, {300, 200}, {340, 130});
        EXPECT_NEAR(Column(340), column, 1.0);
        EXPECT_NEAR(Row(130), row, 1.0);
        EXPECT_LT(Position(IdHorizontalBar), 16);
        Drag(WM_LBUTTONDOWN, {300, 200}, {-5000, 5000});
        EXPECT_GT(Position(IdHorizontalBar), 16);
        EXPECT_LE(Column(739), 1300);
        EXPECT_LE(Row(0), 1700);
        hand.Mouse(IdImageArea, WM_LBUTTONDBLCLK, 10, 10);
        EXPECT_EQ(program.zoom, 1.0);
    });
}

TEST_F(ImageInput, TheRightButtonChangesTheRangeAndTheFieldsFollow)
{
    Run(Noise(64, 48), [&] {
        hand.Type(IdScaleCenter, "2095");
        hand.Click(IdNegative);
        EXPECT_EQ(hand.Text(IdScaleCenter), "2000") << "the same samples";
        hand.Click(IdNegative);
        hand.Type(IdScaleCenter, "2000");
        hand.Type(IdScaleWidth, "512");
        hand.Type(IdGamma, "2");
        const std::uint8_t before = program.displayLut[2100];
        hand.Mouse(IdImageArea, WM_RBUTTONDOWN, 100, 100);
        EXPECT_EQ(program.gamma, 2.0) << "the field that is left is applied first";
        hand.Mouse(IdImageArea, WM_MOUSEMOVE, 110, 150);
        EXPECT_EQ(hand.Text(IdScaleWidth), "532");
        EXPECT_EQ(hand.Text(IdScaleCenter), "2100");
        EXPECT_NE(program.displayLut[2100], before);
        hand.Mouse(IdImageArea, WM_MOUSEMOVE, -9000, -9000);
        EXPECT_EQ(hand.Text(IdScaleWidth), "5");
        EXPECT_EQ(hand.Text(IdScaleCenter), "0");
        hand.Mouse(IdImageArea, WM_MOUSEMOVE, 9000, 9000);
        EXPECT_EQ(hand.Text(IdScaleWidth), "4095");

        // A new image fits its own range; the hand that still holds the button changes nothing.
        program.UpdateDisplay(true);
        const std::uint32_t fitted = program.scaleWidth;
        hand.Mouse(IdImageArea, WM_MOUSEMOVE, 0, 0);
        EXPECT_EQ(program.scaleWidth, fitted);

        hand.Type(IdScaleCenter, "middle");
        hand.WhenBox("Scale center: takes", IDOK);
        Drag(WM_RBUTTONDOWN, {0, 0}, {50, 50});
        EXPECT_EQ(hand.Text(IdScaleCenter), "middle");
        EXPECT_EQ(program.scaleWidth, fitted);
    });
}

TEST_F(ImageInput, ThePictureGrowsWithTheWindowAndShowsTheSameMiddle)
{
    Run(Noise(1300, 1700), [&] {
        headless::Resize(program, 10, 10);
        EXPECT_EQ(program.displayImage->m_width, 740u) << "smaller than it opened";
        hand.Click(IdZoomIn);
        hand.Click(IdZoomIn);
        Drag(WM_LBUTTONDOWN, {300, 200}, {350, 220});
        const std::uint32_t x = program.viewCenterX;
        const std::uint32_t y = program.viewCenterY;
        headless::Resize(program, 912 + 1001, 553 + 700);
        EXPECT_EQ(program.displayImage->m_width, 1744u) << "a width of whole words";
        EXPECT_EQ(program.displayImage->m_height, 521u + 702u);
        EXPECT_EQ(program.viewCenterX, x);
        EXPECT_EQ(program.viewCenterY, y);
        EXPECT_EQ(program.zoom, 2.25);
        headless::Paint();
        EXPECT_EQ(headless::LastPicture().width, 1744);
        RECT exit;
        program.GetDlgItem(IdExit).GetWindowRect(&exit);
        EXPECT_EQ(exit.right, 602 * 6 / 4 + 1001) << "the controls stay at the right edge";

        // The preview lies over the new area.
        program.EnableCapture();
        library.calls.clear();
        headless::Resize(program, 1200, 800);
        EXPECT_EQ(library.CallsOf({"Quillet"}).size(), 3u);
        program.ClosePreview();
        headless::Resize(program, 0, 0);
        EXPECT_EQ(program.displayImage->m_width, 740u);
    });
}

TEST_F(ImageInput, KeysDoWhatButtonsAndBarsDo)
{
    Run(Noise(1300, 1700), [&] {
        program.Send(WM_KEYDOWN, VK_HOME);
        EXPECT_EQ(program.viewCenterX, 650u) << "panned the whole picture";
        EXPECT_FALSE(hand.IsVisible(IdHorizontalBar) || hand.IsVisible(IdVerticalBar));
        program.Send(WM_CHAR, '+');
        program.Send(WM_CHAR, '+');
        program.Send(WM_CHAR, '-');
        program.Send(WM_CHAR, '+');
        EXPECT_DOUBLE_EQ(program.zoom, 2.25);
        EXPECT_TRUE(hand.IsVisible(IdHorizontalBar) && hand.IsVisible(IdVerticalBar));
        const struct
        {
            UINT key;
            int horizontal, vertical; // where the bars of 0 to 22 stand then
        } cases[] = {
            {VK_HOME, 0, 0},  {VK_RIGHT, 1, 0},  {VK_DOWN, 1, 1},
            {VK_NEXT, 1, 11}, {VK_UP, 1, 10},    {VK_PRIOR, 1, 0},
            {VK_END, 22, 22}, {VK_LEFT, 21, 22}, {VK_DELETE, 21, 22},
        };
        for (const auto& c : cases) {
            program.Send(WM_KEYDOWN, c.key);
            EXPECT_EQ(Position(IdHorizontalBar), c.horizontal) << c.key;
            EXPECT_EQ(Position(IdVerticalBar), c.vertical) << c.key;
        }
        program.Send(WM_CHAR, '0');
        EXPECT_EQ(program.zoom, 1.0);
    });
}

// The bench of regions and profiles has the drags with Shift and Ctrl.
TEST_F(ImageInput, NothingHappensUnderThePreviewNorWithShiftOrCtrl)
{
    Run(Noise(1300, 1700), [&] {
        hand.Click(IdZoomIn);
        const PicturePlace place = Place();
        Drag(WM_LBUTTONDOWN, {300, 200}, {100, 100}, MK_SHIFT);
        Drag(WM_LBUTTONDOWN, {300, 200}, {100, 100}, MK_CONTROL);
        program.EnableCapture();
        hand.TurnWheel(IdImageArea, 120, 10, 10);
        program.Send(WM_CHAR, '+');
        program.Send(WM_KEYDOWN, VK_HOME);
        Drag(WM_LBUTTONDOWN, {300, 200}, {100, 100});
        Drag(WM_RBUTTONDOWN, {300, 200}, {100, 100});
        hand.Mouse(IdImageArea, WM_LBUTTONDBLCLK, 10, 10);
        EXPECT_EQ(program.zoom, 1.5);
        EXPECT_EQ(Place().left, place.left);
        EXPECT_EQ(Place().bottom, place.bottom);
        program.ClosePreview();
        program.Send(WM_CHAR, '+');
        EXPECT_EQ(program.zoom, 2.25);
    });
}

// A light left column before dark ones stays upright and at the edge only if the rows of the
// display image are as long as the bitmap that is painted says.
TEST_F(ImageInput, TheAreaIsCutToAWidthOfWholeWordsAndPaintedUpright)
{
    ScriptedImage image = Noise(4, 4);
    for (std::size_t i = 0; i < image.pixels.size(); ++i) {
        image.pixels[i] = i % 8 == 0 ? 0xFF : i % 8 == 1 ? 0x0F : 0;
    }
    for (const auto& [baseWidth, width] : {std::pair{6, 740}, {9, 1112}, {11, 1360}}) {
        headless::SetBaseUnits(baseWidth, BaseUnitY);
        headless::Picture picture;
        Run(image, [&] {
            headless::Paint();
            picture = headless::LastPicture();
        });
        ASSERT_EQ(picture.width, width);
        ASSERT_GT(picture.height, 0);
        for (int row = 1; row < picture.height - 1; ++row) {
            const std::uint8_t* const line =
                &picture.grays[static_cast<std::size_t>(row) * static_cast<std::size_t>(width)];
            ASSERT_EQ(line[0], 255) << "row " << row << " of " << width << " pixels";
            ASSERT_EQ(line[picture.height / 2], 0) << "row " << row;
            ASSERT_EQ(line[width - 1], DisplayBackground) << "row " << row;
        }
    }
    headless::SetBaseUnits(BaseUnitX, BaseUnitY);
}

} // namespace
