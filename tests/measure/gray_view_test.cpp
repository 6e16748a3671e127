// How measures see a picture. The command's tests compare the measures themselves with numpy.
#include "measure/difference.h"
#include "measure/histogram.h"
#include "measure/profile.h"

#include <gtest/gtest.h>

namespace {

TEST(GrayView, ShowsThePictureFromTheTopLeftAndCutsRegions)
{
    CImage image(3, 2, 8, 0, 1);
    constexpr std::uint8_t Pixels[] = {4, 5, 6, 1, 2, 3}; // the bottom row stands first
    image.PutPixels(Pixels, 6, 0);
    const GrayView view = *ViewOf(image);
    EXPECT_TRUE(view.At(0, 0) == 1 && view.At(2, 1) == 6 && view.MaxValue() == 255);
    const GrayView part = Crop(view, {1, 1, 9, 9});
    EXPECT_TRUE(part.width == 2 && part.height == 1 && part.At(0, 0) == 5);
    EXPECT_TRUE(InMemoryOrder(view).At(0, 0) == 4 && InMemoryOrder(view).At(2, 1) == 3);
    image.m_orientation = 7;
    EXPECT_TRUE(ViewOf(image)->At(0, 0) == 4 && ViewOf(image)->At(2, 1) == 3);
    for (const std::uint32_t code : {0u, 4u, 6u}) {
        image.m_orientation = code;
        EXPECT_FALSE(ViewOf(image)) << code;
    }
    EXPECT_FALSE(ViewOf(CImage(2, 2, 8, 0, 2)));
    EXPECT_FALSE(ViewOf(CImage(2, 2, 17, 0, 1)));
    EXPECT_FALSE(ViewOf(CImage(0, 2, 8, 0, 1)));
}

TEST(Profile, OfALongLineHasItsEndsAndAMillionPoints)
{
    CImage image(3'000'000, 1, 8, 0, 1);
    image.Fill(7);
    const auto profile = ProfileAlong(*ViewOf(image), 0, 0, 2'999'999, 0, 1);
    ASSERT_EQ(profile.size(), MostProfilePoints);
    EXPECT_TRUE(profile.front().x == 0 && profile.back().x == 2'999'999);
    EXPECT_TRUE(profile.back().samples == 1 && profile.back().mean == 7);
}

TEST(GrayView, OfNothingHasNoNumbers)
{
    const CImage image(3, 2, 12, 0, 1);
    const GrayView nothing = Crop(*ViewOf(image), {4, 0, 1, 1});
    EXPECT_TRUE(nothing.IsEmpty());
    EXPECT_EQ(StatisticsOf(CountSamples(nothing)).count, 0u);
    EXPECT_EQ(ClippedSharesOf(CountSamples(nothing), 4095).atZero, 0);
    EXPECT_FALSE(DifferenceOf(nothing, nothing));
}

} // namespace
