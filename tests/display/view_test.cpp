// The view's arithmetic: zoom and scroll bars.
#include "display/view.h"

#include <climits>
#include <cmath>
#include <gtest/gtest.h>
#include <tuple>

namespace {

TEST(View, PlacesTheBarsForTheViewCenter)
{
    EXPECT_TRUE(IsZoomUsable(214748364.7));
    EXPECT_FALSE(IsZoomUsable(214748364.8));
    EXPECT_FALSE(IsZoomUsable(NAN));
    for (const auto& [zoom, width, height, cx, cy, range, horizontal, vertical] :
         {std::tuple{2.0, 1000u, 1000u, 4000000000u, 4000000000u, 20, 20, 0},
          {1.5 * 1.5 * 1.5, 1500u, 2000u, 750u, 1000u, 33, 16, 16},
          {2.0, 0u, 0u, 0u, 0u, 20, 0, 0},
          {1.5, 2u, 2u, 1u, 1u, 15, 0, 0}}) {
        const auto positions = ScrollPositionsFor(zoom, width, height, cx, cy);
        EXPECT_EQ(std::tie(positions.range, positions.horizontal, positions.vertical),
                  std::tie(range, horizontal, vertical))
            << zoom << ", " << width;
    }
}

TEST(View, StepsTheBarsAndTheCenterWithThem)
{
    // code, thumb, from, to, direction; center
    constexpr std::tuple<UINT, int, int, int, int, std::uint32_t> Cases[] = {
        {SB_LINEDOWN, 0, 9, 10, 1, 500},
        {SB_PAGEDOWN, 0, 18, 20, 1, 750},
        {SB_THUMBPOSITION, INT_MAX, 3, 20, 1, 750},
        {SB_THUMBPOSITION, INT_MIN, 3, 0, 1, 250},
        {SB_THUMBTRACK, 10, 3, -1, 1, 0},
        {SB_LINEUP, 0, 1, 0, -1, 750},
        {SB_LINEDOWN, 0, 19, 20, -7, 250},
        {SB_LINEDOWN, 0, 3, 4, 1, 350},
    };
    for (const auto& [code, thumb, from, to, direction, center] : Cases) {
        const auto step = ScrollStep(code, thumb, from, 0, 20, direction, 1000, 2.0);
        EXPECT_EQ(step ? step->position : -1, to) << code << " from " << from;
        EXPECT_EQ(step ? step->center : 0, center) << code << " from " << from;
    }
    // 1000 - 1000 / 3.375 = 703 hidden pixels over 33 steps: a real division, truncated at the end.
    EXPECT_EQ(ScrollStep(SB_LINEDOWN, 0, 0, 0, 33, 1, 1000, 3.375)->center, 169u);
    EXPECT_FALSE(ScrollStep(SB_THUMBPOSITION, 5, 1, 0, 0, 1, 1000, 2.0));
}

} // namespace
