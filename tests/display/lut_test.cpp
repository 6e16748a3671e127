// The range and the table: values worked out by hand, and random cases against the reference.
#include "benchmarks/reference_display.h"
#include "display/lut.h"

#include <cmath>
#include <gtest/gtest.h>
#include <random>
#include <vector>

namespace {

using Lut = std::vector<std::uint8_t>;

TEST(DisplayLut, HoldsTheValuesWorkedOutByHand)
{
    const struct
    {
        std::uint32_t center, width;
        double gamma;
        bool negative;
        std::uint32_t index, gray;
    } cases[] = {
        {3700, 800, 1, false, 3300, 0},       {3700, 800, 1, false, 3700, 127},
        {3700, 800, 1, false, 4099, 254},     {3700, 800, 1, false, 4100, 255},
        {3700, 800, 2, false, 3700, 179},     {3700, 800, 0, false, 3700, 127},
        {395, 800, 1, true, 4090 - 800, 255}, {395, 800, 1, true, 4091 - 800, 254},
        {395, 800, 1, true, 4090, 0},         {395, 800, 1, true, 65535, 0},
        {700, 0, 1, false, 700, 0},           {700, 0, 1, false, 701, 255},
        {700, 0, 1, true, 4794, 255},         {700, 0, 1, true, 4795, 0},
        {0, 0xFFFFFFFF, 1, false, 0, 127},    {0xFFFFFFFF, 1, 1, false, 65535, 0},
    };
    for (const auto& c : cases) {
        Lut lut(DisplayLutSize);
        BuildDisplayLut(lut.data(), DisplayLutSize, c.center, c.width, c.gamma, c.negative, 4095);
        EXPECT_EQ(lut[c.index], c.gray) << &c - cases;
    }
}

TEST(DisplayLut, EqualsTheReferenceBitForBit)
{
    std::mt19937 random(2);
    const double gammas[] = {1, 2, 0.45, 2.2, 0, -1, 1e-300, 1e300, NAN};
    const std::uint32_t size = 9000;
    for (std::uint32_t round = 0; round < 200; ++round) {
        const auto center = static_cast<std::uint32_t>(round % 5 ? random() % 70000 : random());
        const auto width = static_cast<std::uint32_t>(random() >> (random() % 32));
        const double gamma = gammas[random() % 9];
        const bool negative = (random() % 2) != 0u;
        const std::uint32_t maxValue = MaxSampleValue(8 * (1 + round % 4));
        Lut fast(size), expected(size);
        BuildDisplayLut(fast.data(), size, center, width, gamma, negative, maxValue);
        reference::BuildDisplayLut(expected.data(), size, center, width, gamma, negative, maxValue);
        ASSERT_EQ(fast, expected) << center << " " << width << " " << gamma << " " << negative;
    }
}

TEST(FitScaleRange, NeedsGrayPixelsOfOneOrTwoBytes)
{
    CImage image(3, 1, 12, 0, 1);
    const std::uint16_t samples[] = {100, 103, 1101};
    image.PutPixels(samples, 3, 0);
    EXPECT_EQ(FitScaleRange(image, 100)->width, 1001u);
    EXPECT_EQ(FitScaleRange(image, 100)->center, 600u);
    EXPECT_EQ(FitScaleRange(image, 1e300)->width, MaxSampleValue(33));
    EXPECT_FALSE(FitScaleRange(CImage(3, 1, 32, 0, 1), 100));
    EXPECT_FALSE(FitScaleRange(CImage(0, 0, 12, 0, 1), 100));
}

} // namespace
