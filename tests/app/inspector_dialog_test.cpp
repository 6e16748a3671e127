// The inspector beside the main window, over windows without a screen.
#include "app/shown_image.h"
#include "inspector/numbers_text.h"
#include "resources/inspector_template.h"

#include <cmath>

namespace {

constexpr std::uint32_t Width = 300, Height = 200;

class InspectorDialog : public ShownImage
{
protected:
    static ScriptedImage Image(std::uint32_t seed) { return Noise(Width, Height, seed); }

    // With an image shown and the inspector open.
    void Run(const std::function<void()>& script)
    {
        ShownImage::Run(Image(1), [&] {
            EXPECT_TRUE(hand.Click(IdInspect));
            EXPECT_TRUE(program.Inspector().IsOpen());
            script();
        });
    }

    std::string Text(int id) { return program.Inspector().GetDlgItem(id).GetWindowText(); }
    void Click(UINT id) { program.Inspector().Send(WM_COMMAND, MAKEWPARAM(id, BN_CLICKED)); }
    void Draw(UINT keys, POINT from, POINT to) { Drag(WM_LBUTTONDOWN, from, to, keys); }

    // The image's pixel at the middle of the display's.
    std::pair<std::uint32_t, std::uint32_t> PixelAt(POINT point) const
    {
        return {static_cast<std::uint32_t>(Column(point.x)),
                Height - 1 - static_cast<std::uint32_t>(std::floor(Row(point.y)))};
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

    RegionTexts Region(std::size_t row)
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
        const auto send = [&](UINT what, UINT buttons, std::int64_t value) {
            const int column = ColumnOf(value, frame.right / 4 * 4, 4095);
            program.Inspector().Send(what, buttons, MAKELPARAM(column, 9));
        };
        send(WM_LBUTTONDOWN, MK_LBUTTON, from);
        send(WM_MOUSEMOVE, MK_LBUTTON, to);
        send(WM_LBUTTONUP, 0, to);
        send(WM_MOUSEMOVE, 0, from);
    }
};

TEST_F(InspectorDialog, RegionsAreDrawnAndFollowTheImage)
{
    Run([&] {
        const POINT a = {60, 100}, b = {160, 190}, c = {200, 230}, d = {260, 300};
        const std::vector<std::uint8_t> bare = Display();
        const auto range = std::pair(program.scaleCenter, program.scaleWidth);
        Draw(MK_SHIFT, a, b);
        EXPECT_EQ(Region(1), Expected(a, b));
        EXPECT_NE(Display(), bare);
        Draw(MK_SHIFT, d, c); // the other way
        EXPECT_EQ(Region(2), Expected(c, d));
        EXPECT_EQ(Region(3), RegionTexts());
        Draw(MK_SHIFT, a, a); // no drag
        EXPECT_EQ(Region(3), RegionTexts());
        Draw(MK_SHIFT | MK_CONTROL, a, b); // is neither
        EXPECT_EQ(Region(3), RegionTexts());

        program.Send(WM_TARN_EVENT, 0, EventNewSeries);
        EXPECT_EQ(Text(IdPictureSeries), "2");
        program.Send(WM_COMMAND, IdAutoSaveImages);
        EXPECT_EQ(Text(IdPictureSeries), "1");

        const RegionTexts former = Region(1);
        Receive(Image(3));
        EXPECT_EQ(Region(1), Expected(a, b));
        EXPECT_NE(Region(1), former);
        Receive(Image(1));
        EXPECT_EQ(std::pair(program.scaleCenter, program.scaleWidth), range)
            << "frames are no part of the image";
        Click(IdClearMarks);
        EXPECT_EQ(Display(), bare);
        EXPECT_EQ(Region(1), RegionTexts());
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
        EXPECT_EQ(Region(1), RegionTexts());
        EXPECT_EQ(Display(), bare);

        Draw(MK_SHIFT, {60, 100}, {160, 190});
        const RegionTexts region = Region(1);
        Click(IDCANCEL);
        EXPECT_FALSE(program.Inspector().IsOpen());
        EXPECT_EQ(Display(), bare);
        Draw(MK_SHIFT, {60, 100}, {100, 190});
        Receive(Image(3));
        Receive(Image(1));
        EXPECT_TRUE(hand.Click(IdInspect));
        EXPECT_EQ(Region(1), region) << "regions wait for the inspector";
        EXPECT_EQ(Region(2), RegionTexts());
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
        Click(IdHoldReference);
        EXPECT_EQ(Text(IdFirstDifference), "0");
        Receive(Image(3));
        EXPECT_NE(Text(IdFirstDifference), "0");
        Click(IdCopyNumbers);
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
                Receive(Image(1)); // whose range is fitted
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
