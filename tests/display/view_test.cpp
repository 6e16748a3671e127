// The view's arithmetic: zoom, scroll bars, bitmap header.
#include "display/view.h"

#include <climits>
#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <tuple>

namespace {

TEST(View, DescribesTheDisplayAsAGrayBitmap)
{
    BITMAPINFO256 info;
    FillBitmapHeader(info, 740, 480);
    EXPECT_EQ(info.bmiHeader.biHeight, 480);
    EXPECT_EQ(std::memcmp(&info.bmiColors[254], "\xFE\xFE\xFE\0\xFF\xFF\xFF", 8), 0);
    EXPECT_EQ(ImageAreaWidth(475, 475), 472);
    EXPECT_EQ(ImageAreaWidth(479, 475), 476);
}

TEST(View, PlacesTheBarsForTheViewCenter)
{
    EXPECT_TRUE(IsZoomUsable(214748364.7));
    EXPECT_FALSE(IsZoomUsable(214748364.8));
    EXPECT_FALSE(IsZoomUsable(NAN));
    const struct
    {
        double zoom;
        std::uint32_t width, height, cx, cy;
        int range, horizontal, vertical;
    } cases[] = {
        {2, 1000, 1000, 4000000000u, 4000000000u, 20, 20, 0},
        {1.5 * 1.5 * 1.5, 1500, 2000, 750, 1000, 33, 16, 16},
        {2, 0, 0, 0, 0, 20, 0, 0},
        {1.5, 2, 2, 1, 1, 15, 0, 0},
    };
    for (const auto& c : cases) {
        const auto positions = ScrollPositionsFor(c.zoom, c.width, c.height, c.cx, c.cy);
        EXPECT_EQ(std::tie(positions.range, positions.horizontal, positions.vertical),
                  std::tie(c.range, c.horizontal, c.vertical))
            << &c - cases;
    }
}

TEST(View, StepsTheBarsAndTheCenterWithThem)
{
    const struct
    {
        UINT code;
        int thumb, from, to, direction;
        std::uint32_t center;
    } cases[] = {
        {SB_LINEDOWN, 0, 9, 10, 1, 500},
        {SB_PAGEDOWN, 0, 18, 20, 1, 750},
        {SB_THUMBPOSITION, INT_MAX, 3, 20, 1, 750},
        {SB_THUMBPOSITION, INT_MIN, 3, 0, 1, 250},
        {SB_THUMBTRACK, 10, 3, -1, 1, 0},
        {SB_LINEUP, 0, 1, 0, -1, 750},
        {SB_LINEDOWN, 0, 19, 20, -7, 250},
        {SB_LINEDOWN, 0, 3, 4, 1, 350},
    };
    for (const auto& c : cases) {
        const auto step = ScrollStep(c.code, c.thumb, c.from, 0, 20, c.direction, 1000, 2.0);
        EXPECT_EQ(step ? step->position : -1, c.to) << c.code << " from " << c.from;
        EXPECT_EQ(step ? step->center : 0, c.center) << c.code << " from " << c.from;
    }
    // 1000 - 1000 / 3.375 = 703 hidden pixels over 33 steps: a real division, truncated at the end.
    EXPECT_EQ(ScrollStep(SB_LINEDOWN, 0, 0, 0, 33, 1, 1000, 3.375)->center, 169u);
    EXPECT_FALSE(ScrollStep(SB_THUMBPOSITION, 5, 1, 0, 0, 1, 1000, 2.0));
}

} // namespace
