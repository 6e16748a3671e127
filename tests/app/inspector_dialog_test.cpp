// The inspector beside the main window, over windows without a screen.
#include "inspector/numbers_text.h"
#include "platform/boxes.h"
#include "resources/inspector_template.h"
#include "support/headless_program.h"
#include "support/scripted_library.h"

#include <cmath>
#include <functional>
#include <gtest/gtest.h>

namespace {

constexpr std::uint32_t ImageEvent = 2;
constexpr std::uint32_t Width = 300, Height = 200;

struct Program : HeadlessProgram
{
    using CTarnTestDlg::currentImage;
    using CTarnTestDlg::displayImage;
    using CTarnTestDlg::negative;
    using CTarnTestDlg::scaleCenter;
    using CTarnTestDlg::scaleWidth;
    using CTarnTestDlg::viewCenterX;
    using CTarnTestDlg::viewCenterY;
    using CTarnTestDlg::zoom;
};

class InspectorDialog : public testing::Test
{
protected:
    // With an image shown and the inspector open.
    void Run(const std::function<void()>& script)
    {
        library.images = {Image(1)};
        hand.WhenEveryBox("Remove image?", IDNO);
        hand.WhenEveryBox("Found old images!", IDNO);
        hand.Run(program, [&] {
            program.Send(WM_TARN_EVENT, 1, ImageEvent);
            EXPECT_TRUE(hand.Click(IdInspect));
            EXPECT_TRUE(program.Inspector().IsOpen());
            script();
        });
        headless::Reset();
    }

    static ScriptedImage Image(std::uint32_t seed)
    {
        ScriptedImage image;
        image.width = Width;
        image.height = Height;
        image.pixels.resize(std::size_t{2} * Width * Height);
        for (std::size_t i = 0; i < image.pixels.size(); ++i) {
            image.pixels[i] =
                static_cast<std::uint8_t>(seed * i * i >> 7 & (i % 2 != 0 ? 0x0F : 0xFF));
        }
        return image;
    }

    void Receive(std::uint32_t seed)
    {
        library.images = {Image(seed)};
        program.Send(WM_TARN_EVENT, 1, ImageEvent);
    }

    std::string Text(int id) { return program.Inspector().GetDlgItem(id).GetWindowText(); }

    void Draw(UINT key, POINT from, POINT to)
    {
        hand.Mouse(IdImageArea, WM_LBUTTONDOWN, from.x, from.y, key | MK_LBUTTON);
        hand.Mouse(IdImageArea, WM_MOUSEMOVE, (from.x + to.x) / 2, to.y, key | MK_LBUTTON);
        hand.Mouse(IdImageArea, WM_MOUSEMOVE, to.x, to.y, key | MK_LBUTTON);
        hand.Mouse(IdImageArea, WM_LBUTTONUP, to.x, to.y, key);
    }

    // The image's pixel at the middle of the display's.
    std::pair<std::uint32_t, std::uint32_t> PixelAt(POINT point) const
    {
        const PicturePlace place = PlacePicture(Width, Height, program.displayImage->m_width,
                                                program.displayImage->m_height, program.zoom,
                                                program.viewCenterX, program.viewCenterY);
        const double up =
            place.bottom + (program.displayImage->m_height - 0.5 - point.y) * place.scale;
        return {static_cast<std::uint32_t>(place.left + (point.x + 0.5) * place.scale),
                Height - 1 - static_cast<std::uint32_t>(std::floor(up))};
    }

    // The texts of a region between two points, both of which belong to it.
    RegionTexts Expected(POINT from, POINT to) const
    {
        const auto [left, top] = PixelAt(from);
        const auto [right, bottom] = PixelAt(to);
        const PixelRect rect = {left, top, right - left + 1, bottom - top + 1};
        return TextsOf(rect,
                       StatisticsOf(CountSamples(Crop(*ViewOf(*program.currentImage), rect))));
    }

    RegionTexts Row(std::size_t row)
    {
        RegionTexts texts;
        for (std::size_t i = 0; i < texts.size(); ++i) {
            texts[i] = Text(IdRegionCell(row, i));
        }
        return texts;
    }

    std::vector<std::uint8_t> Display() const
    {
        const CImage& display = *program.displayImage;
        return {display.m_data, display.m_data + display.m_dataSize};
    }

    // A drag in the histogram, where the inspector is asked.
    void DragBand(std::int64_t from, std::int64_t to)
    {
        RECT frame;
        program.Inspector().GetDlgItem(IdHistogram).GetClientRect(&frame);
        const int columns = frame.right / 4 * 4;
        CInspectorDlg& inspector = program.Inspector();
        inspector.Send(WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(ColumnOf(from, columns, 4095), 9));
        inspector.Send(WM_MOUSEMOVE, MK_LBUTTON, MAKELPARAM(ColumnOf(to, columns, 4095), 9));
        inspector.Send(WM_LBUTTONUP, 0, MAKELPARAM(ColumnOf(to, columns, 4095), 9));
        inspector.Send(WM_MOUSEMOVE, 0, MAKELPARAM(ColumnOf(from, columns, 4095), 9));
    }

    ScriptedLibrary library;
    Operator hand;
    Program program;
};

TEST_F(InspectorDialog, RegionsAreDrawnAndFollowTheImage)
{
    Run([&] {
        const POINT a = {60, 100}, b = {160, 190}, c = {200, 230}, d = {260, 300};
        const std::vector<std::uint8_t> bare = Display();
        const auto range = std::pair(program.scaleCenter, program.scaleWidth);
        Draw(MK_SHIFT, a, b);
        EXPECT_EQ(Row(1), Expected(a, b));
        EXPECT_NE(Display(), bare);
        Draw(MK_SHIFT, d, c); // the other way
        EXPECT_EQ(Row(2), Expected(c, d));
        EXPECT_EQ(Row(3), RegionTexts());
        Draw(MK_SHIFT, a, a); // no drag
        EXPECT_EQ(Row(3), RegionTexts());
        Draw(MK_SHIFT | MK_CONTROL, a, b); // is neither
        EXPECT_EQ(Row(3), RegionTexts());

        const RegionTexts former = Row(1);
        Receive(3);
        EXPECT_EQ(Row(1), Expected(a, b));
        EXPECT_NE(Row(1), former);
        Receive(1);
        EXPECT_EQ(std::pair(program.scaleCenter, program.scaleWidth), range)
            << "frames are no part of the image";
        program.Inspector().Send(WM_COMMAND, MAKEWPARAM(IdClearMarks, BN_CLICKED));
        EXPECT_EQ(Display(), bare);
        EXPECT_EQ(Row(1), RegionTexts());
    });
}

TEST_F(InspectorDialog, ALostMouseOrAClosedInspectorMarksNothing)
{
    Run([&] {
        const std::vector<std::uint8_t> bare = Display();
        hand.Mouse(IdImageArea, WM_LBUTTONDOWN, 60, 100, MK_SHIFT | MK_LBUTTON);
        hand.Mouse(IdImageArea, WM_MOUSEMOVE, 160, 190, MK_SHIFT | MK_LBUTTON);
        EXPECT_NE(Display(), bare) << "the draft";
        hand.Mouse(IdImageArea, WM_CAPTURECHANGED, 0, 0);
        hand.Mouse(IdImageArea, WM_LBUTTONUP, 160, 190);
        EXPECT_EQ(Row(1), RegionTexts());
        EXPECT_EQ(Display(), bare);

        Draw(MK_SHIFT, {60, 100}, {160, 190});
        const RegionTexts region = Row(1);
        program.Inspector().Send(WM_COMMAND, MAKEWPARAM(IDCANCEL, BN_CLICKED));
        EXPECT_FALSE(program.Inspector().IsOpen());
        EXPECT_EQ(Display(), bare);
        Draw(MK_SHIFT, {60, 100}, {100, 190});
        Receive(3);
        Receive(1);
        EXPECT_TRUE(hand.Click(IdInspect));
        EXPECT_EQ(Row(1), region) << "regions wait for the inspector";
        EXPECT_EQ(Row(2), RegionTexts());
    });
}

TEST_F(InspectorDialog, ShowsPointerProfileDifferenceAndPutsThemOnTheClipboard)
{
    Run([&] {
        const POINT a = {60, 100}, b = {160, 100};
        hand.Mouse(IdImageArea, WM_MOUSEMOVE, a.x, a.y);
        const auto [x, y] = PixelAt(a);
        EXPECT_EQ(Text(IdPointer), PointText(x, y, ViewOf(*program.currentImage)->At(x, y)));
        hand.Mouse(IdImageArea, WM_MOUSEMOVE, a.x, 0);
        EXPECT_EQ(Text(IdPointer), "") << "above the picture";
        hand.Mouse(IdImageArea, WM_MOUSEMOVE, a.x, a.y);
        hand.Mouse(IdImageArea, WM_MOUSELEAVE, 0, 0);
        EXPECT_EQ(Text(IdPointer), "");

        Draw(MK_CONTROL, a, b);
        const auto right = PixelAt(b).first;
        EXPECT_EQ(Text(IdProfileText).substr(0, Text(IdProfileText).find(':')),
                  std::to_string(right - x + 1) + " points from " + std::to_string(x) + ", " +
                      std::to_string(y) + " to " + std::to_string(right) + ", " +
                      std::to_string(y));
        EXPECT_EQ(Text(IdFirstDifference), "");
        program.Inspector().Send(WM_COMMAND, MAKEWPARAM(IdHoldReference, BN_CLICKED));
        EXPECT_EQ(Text(IdFirstDifference), "0");
        Receive(3);
        EXPECT_NE(Text(IdFirstDifference), "0");
        program.Inspector().Send(WM_COMMAND, MAKEWPARAM(IdCopyNumbers, BN_CLICKED));
        EXPECT_EQ(headless::Clipboard(), TableOf(program.Inspector().Numbers()));
        EXPECT_NE(headless::Clipboard().find("Noise of one\t" + Text(IdFirstDifference + 2)),
                  std::string::npos);
    });
}

TEST_F(InspectorDialog, EdgesOfTheBandAreTheRange)
{
    Run([&] {
        for (const bool isNegative : {false, true}) {
            if (isNegative) {
                hand.Click(IdNegative);
                Receive(1); // whose range is fitted
            }
            const auto band = [&] {
                return BandOf(program.scaleCenter, program.scaleWidth, isNegative, 4095);
            };
            const SampleBand before = band();
            DragBand(before.low, 1000);
            EXPECT_NEAR(static_cast<double>(band().low), 1000, 15) << "a column";
            EXPECT_NEAR(static_cast<double>(band().high), static_cast<double>(before.high), 1);
            EXPECT_EQ(hand.Text(IdScaleWidth), std::to_string(program.scaleWidth));
            const auto width = program.scaleWidth;
            DragBand(band().low + 500, 3000);
            EXPECT_EQ(program.scaleWidth, width) << "pressed beside the edges";
            DragBand(band().low, 4095);
            EXPECT_EQ(program.scaleWidth, 5u) << "no edge passes the other";
            DragBand(band().low, 0);
        }
    });
}

TEST_F(InspectorDialog, ListsTheCallsAndFollowsThem)
{
    Run([&] {
        headless::RunFor(3000); // a poll
        const auto last = [&] { return Text(IdFirstCall + int{CallLineCount} - 1); };
        EXPECT_NE(last().find("TarnFreeObject"), std::string::npos) << last();
        library.Fail(Export::DisableCapture, 0x200007);
        TarnDisableCapture(7, 1);
        headless::RunFor(600);
        EXPECT_NE(last().find("TarnDisableCapture 7 1 -> 0x200007 Result 0x200007"),
                  std::string::npos)
            << last();
        program.Inspector().Send(WM_VSCROLL, SB_TOP);
        const std::string first = Text(IdFirstCall);
        headless::RunFor(3000);
        EXPECT_EQ(Text(IdFirstCall), first) << "who reads is not disturbed";
        EXPECT_EQ(Text(IdObjects), "0");
    });
}

} // namespace
