// Histogram, statistics, moments, profile and difference.
#include "measure/difference.h"
#include "measure/histogram.h"
#include "measure/moments.h"
#include "measure/profile.h"
#include "planted.h"

#include <gtest/gtest.h>

namespace {

TEST(Views, ShowThePictureFromTheTopLeftAndCutRegions)
{
    CImage image(3, 2, 8, 0, 1);
    constexpr std::uint8_t Pixels[] = {4, 5, 6, 1, 2, 3}; // the bottom row stands first
    image.PutPixels(Pixels, 6, 0);
    const GrayView view = ViewOfAll(image);
    EXPECT_TRUE(view.At(0, 0) == 1 && view.At(2, 1) == 6 && view.MaxValue() == 255);
    const GrayView part = Crop(view, {1, 1, 9, 9});
    EXPECT_TRUE(part.width == 2 && part.height == 1 && part.At(0, 0) == 5);
    EXPECT_TRUE(Crop(view, {3, 0, 1, 1}).IsEmpty());
    image.m_orientation = 7;
    EXPECT_EQ(ViewOfAll(image).At(0, 0), 4u);
    for (const std::uint32_t code : {0u, 4u, 6u}) {
        image.m_orientation = code;
        EXPECT_FALSE(ViewOf(image)) << code;
    }
    EXPECT_FALSE(ViewOf(CImage(2, 2, 8, 0, 2)));
    EXPECT_FALSE(ViewOf(CImage(2, 2, 17, 0, 1)));
    EXPECT_FALSE(ViewOf(CImage(0, 2, 8, 0, 1)));
}

// Half of the samples one above the other half, at the top of the range: where sums of squares in
// doubles would lose everything. The variance is n / 4 / (n - 1).
TEST(Statistics, LoseNothingInLargeSums)
{
    const auto image =
        Paint(1024, 1025, 16, 0, 1, [](std::uint32_t x, std::uint32_t) { return 65534.0 + x % 2; });
    const double n = 1024.0 * 1025;
    const Statistics statistics = StatisticsOf(CountSamples(ViewOfAll(*image)));
    EXPECT_EQ(statistics.mean, 65534.5);
    EXPECT_EQ(statistics.median, 65534.5);
    EXPECT_DOUBLE_EQ(statistics.standardDeviation, std::sqrt(n / 4 / (n - 1)));
    EXPECT_DOUBLE_EQ(*statistics.signalToNoise, 65534.5 / statistics.standardDeviation);
    const Moments moments = MomentsOf(ViewOfAll(*image));
    EXPECT_EQ(moments.Mean(), statistics.mean);
    EXPECT_EQ(moments.StandardDeviation(), statistics.standardDeviation);
}

// The mean of n samples lies within 5 SD / sqrt n of the truth, their deviation within
// 5 SD / sqrt 2n (plus 1/12 of variance that rounding adds); by chance one in a million fails.
TEST(Statistics, FindPlantedMeanAndNoiseOfARegion)
{
    const auto image = Paint(300, 300, 12, 20, 7, [](std::uint32_t x, std::uint32_t y) {
        return 100 <= x && x < 200 && 50 <= y && y < 250 ? 1234.25 : 3000.0;
    });
    const GrayView region = Crop(ViewOfAll(*image), {100, 50, 100, 200});
    const Statistics statistics = StatisticsOf(CountSamples(region));
    const double n = 100 * 200, noise = std::sqrt(20 * 20 + 1 / 12.0);
    EXPECT_EQ(statistics.count, 20000u);
    EXPECT_NEAR(statistics.mean, 1234.25, 5 * noise / std::sqrt(n));
    EXPECT_NEAR(statistics.standardDeviation, noise, 5 * noise / std::sqrt(2 * n));
    EXPECT_NEAR(statistics.median, 1234.25, 5 * 1.2534 * noise / std::sqrt(n) + 0.5);
}

TEST(Statistics, SayWhatIsNotDefined)
{
    const auto single = Paint(1, 1, 12, 0, 1, [](auto, auto) { return 9; });
    const Statistics one = StatisticsOf(CountSamples(ViewOfAll(*single)));
    EXPECT_TRUE(one.mean == 9 && one.standardDeviation == 0 && !one.signalToNoise);
    const GrayView nothing = Crop(ViewOfAll(*single), {1, 1, 1, 1});
    EXPECT_EQ(StatisticsOf(CountSamples(nothing)).count, 0u);
    EXPECT_EQ(ClippedSharesOf(CountSamples(nothing), 4095).atZero, 0);
    EXPECT_FALSE(DifferenceOf(ViewOfAll(*single), nothing));
}

TEST(Statistics, CountClippedSamplesAndFindPlantedOnes)
{
    const auto image = Paint(40, 25, 12, 0, 1, [](std::uint32_t x, std::uint32_t y) {
        return y == 3 ? 0.0 : y == 4 && x >= 30 ? 4095.0 : 100.0;
    });
    SampleOf(*image, 5, 20) = 5000; // above what 12 bits can be
    const ClippedShares shares = ClippedSharesOf(CountSamples(ViewOfAll(*image)), 4095);
    EXPECT_DOUBLE_EQ(shares.atZero, 40 / 1000.0);
    EXPECT_DOUBLE_EQ(shares.atMaximum, 11 / 1000.0);
    const auto found = FindValue(ViewOfAll(*image), 4095);
    EXPECT_TRUE(found && found->x == 30 && found->y == 4);
    EXPECT_FALSE(FindValue(ViewOfAll(*image), 7));
}

// On a ramp the profile is the ramp's own formula, wherever the line runs.
TEST(Profile, FollowsARampAlongAnyLine)
{
    const auto ramp = [](double x, double y) { return 100 + 8 * x + 3 * y; };
    const auto image = Paint(60, 50, 12, 0, 1, ramp);
    const GrayView view = ViewOfAll(*image);
    for (const std::uint32_t width : {1u, 2u, 5u}) {
        const auto profile = ProfileAlong(view, 10, 12, 40, 31, width);
        ASSERT_EQ(profile.size(), 37u); // the length is 35.5
        for (const ProfilePoint& point : profile) {
            EXPECT_NEAR(point.mean, ramp(point.x, point.y), 1e-9);
            EXPECT_EQ(point.samples, width);
        }
        EXPECT_TRUE(profile.front().x == 10 && profile.back().y == 31);
    }
    const auto edge = ProfileAlong(view, 0, 0, 59, 0, 3); // one of three rows is outside
    ASSERT_EQ(edge.size(), 60u);
    EXPECT_TRUE(edge[59].samples == 2 && edge[59].mean == ramp(59, 0.5));
    EXPECT_EQ(ProfileAlong(view, 7, 8, 7, 8, 1).at(0).mean, ramp(7, 8));
}

TEST(Difference, FindsPlantedOffsetAndTheNoiseOfOne)
{
    const auto flat = [](double value) { return [value](auto, auto) { return value; }; };
    const auto first = Paint(200, 150, 12, 15, 1, flat(2000)),
               second = Paint(200, 150, 12, 15, 2, flat(1990.5));
    const auto difference = DifferenceOf(ViewOfAll(*first), ViewOfAll(*second));
    const double n = 200 * 150, noise = std::sqrt(15 * 15 + 1 / 12.0);
    EXPECT_NEAR(difference->mean, -9.5, 5 * noise * std::sqrt(2 / n));
    EXPECT_NEAR(difference->noise, noise, 5 * noise / std::sqrt(2 * n));

    const auto same = Paint(200, 150, 12, 15, 1, flat(2000));
    SampleOf(*same, 3, 4) = static_cast<std::uint16_t>(SampleOf(*same, 3, 4) + 7);
    const auto one = DifferenceOf(ViewOfAll(*first), ViewOfAll(*same));
    EXPECT_TRUE(one->unequal == 1 && one->maximum == 7 && one->minimum == 0);
    EXPECT_DOUBLE_EQ(one->mean, 7 / n);
    EXPECT_DOUBLE_EQ(one->standardDeviation, std::sqrt((49 - 49 / n) / (n - 1)));
}

} // namespace
