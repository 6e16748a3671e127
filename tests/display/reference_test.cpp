// The range, the table and the resampler: cases worked out by hand, and random ones against the
// reference.
#include "benchmarks/reference_display.h"
#include "display/lut.h"
#include "display/range.h"
#include "display/resample.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <numeric>
#include <random>
#include <vector>

namespace {

using Lut = std::vector<std::uint8_t>;

// The reference functions, in the order of RangeFunctionNames; no function stands at the end.
const RangeFunction References[] = {reference::MMEqualCut, reference::MMAvgWeightCut,
                                    reference::MMCountCut, reference::MMFitWindow, nullptr};

constexpr double Fractions[] = {-100, -0.7, 0, 0.01, 0.25, 0.5, 1 - 33.3 * 0.01, 0.99, 1, 1.5};

// None, one or a few bins, and sums that wrap.
TEST(Range, OfAFewBinsEqualsTheReferenceBitForBit)
{
    std::mt19937 random(4);
    constexpr std::int32_t Bins = 100;
    for (int round = 0; round < 5000; ++round) {
        std::vector<std::uint32_t> histogram(Bins);
        for (auto left = random() % 5; left > 0; --left) {
            histogram[random() % Bins] =
                static_cast<std::uint32_t>(random() % 2 ? random() % 9 : 0x80000000);
        }
        const double a = Fractions[random() % 10], b = Fractions[random() % 10];
        for (std::size_t f = 0; f < 4; ++f) {
            double lo, hi, expectedLo, expectedHi;
            RangeFunctionNames[f].function(Bins, histogram.data(), a, b, &lo, &hi);
            References[f](Bins, histogram.data(), a, b, &expectedLo, &expectedHi);
            ASSERT_EQ(lo, expectedLo) << f << " " << a << " " << b;
            ASSERT_EQ(hi, expectedHi) << f << " " << a << " " << b;
        }
    }
}

TEST(Range, EqualsTheReferenceBitForBit)
{
    std::mt19937 random(1);
    const auto compare = [&](auto fast, auto expected, const auto& samples) {
        const auto count = static_cast<std::int32_t>(samples.size());
        const double a = Fractions[random() % 10], b = Fractions[random() % 10];
        for (std::size_t f = 0; f < 5; ++f) {
            double lo, hi, expectedLo, expectedHi;
            fast(count, samples.data(), a, b, RangeFunctionNames[f].function, &lo, &hi);
            expected(count, samples.data(), a, b, References[f], &expectedLo, &expectedHi);
            ASSERT_EQ(lo, expectedLo) << f << " " << a << " " << b;
            ASSERT_EQ(hi, expectedHi) << f << " " << a << " " << b;
        }
    };
    for (int round = 0; round < 150; ++round) {
        const unsigned mask = round % 3 == 0 ? 0xFFF : round % 3 == 1 ? 0xFF : 0x3FFF;
        std::vector<std::uint16_t> wide(random() % 5000);
        for (std::uint16_t& sample : wide) {
            sample = static_cast<std::uint16_t>((random() % 5 ? random() % 90 : random()) & mask);
        }
        compare(ComputeRange16, reference::ComputeRange16, wide);
        compare(ComputeRange8, reference::ComputeRange8,
                std::vector<std::uint8_t>(wide.begin(), wide.end()));
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

Lut MakeIdentity()
{
    Lut lut(DisplayLutSize);
    std::iota(lut.begin(), lut.end(), std::uint8_t{0});
    return lut;
}

void Draw(CImage& display, const CImage* source, double zoom, std::uint32_t cx, std::uint32_t cy)
{
    display.Fill(DisplayBackground);
    RenderToDisplay(source, MakeIdentity().data(), zoom, cx, cy, &display);
}

// expected(row, column) of every display pixel
void ExpectPixels(const CImage& display, auto expected)
{
    for (std::uint32_t i = 0; i < display.m_dataSize; ++i) {
        EXPECT_EQ(display.m_data[i], expected(i / display.m_width, i % display.m_width)) << i;
    }
}

TEST(Render, LeavesTheDisplayAloneWithoutAPicture)
{
    CImage display(8, 8, 8, 0, 1), none(0, 0, 12, 0, 1), color(8, 8, 8, 0, 2);
    for (const CImage* source : {static_cast<CImage*>(nullptr), &none, &color}) {
        Draw(display, source, 1, 4, 4);
        ExpectPixels(display, [](auto...) { return DisplayBackground; });
    }
    Draw(display, &display, NAN, 4, 4);
    ExpectPixels(display, [](auto...) { return DisplayBackground; });
    RenderToDisplay(&display, nullptr, 1, 4, 4, &none);
}

TEST(Render, CentersVerticallyAndStartsAtTheLeft)
{
    CImage source(4, 2, 16, 0, 1), display(8, 8, 8, 0, 1);
    const std::uint16_t samples[] = {1, 2, 3, 4096, 5, 6, 7, 4104};
    source.PutPixels(samples, 8, 0);
    Draw(display, &source, 1, 2, 1);
    ExpectPixels(display, [&](std::uint32_t row, std::uint32_t column) {
        const bool inside = row >= 2 && row < 6 && column < 7;
        return inside ? samples[(row - 2) / 2 * 4 + column / 2] % 4096u : DisplayBackground;
    });
}

TEST(Resample, TakesBlocksWiderThanAStripAndAnyStep)
{
    std::vector<std::uint8_t> samples(20000);
    for (std::size_t i = 0; i < samples.size(); ++i) {
        samples[i] = static_cast<std::uint8_t>(i / 5000);
    }
    for (const std::uint32_t step : {1u, 999u, 0xFFFFFFFFu}) {
        CImage display(5, 1, 8, 0, 1);
        display.Fill(4);
        Resample8(samples.data(), 20000, 1, MakeIdentity().data(), 10000, 0, 5000, 1, step,
                  display);
        ExpectPixels(display, [](std::uint32_t, std::uint32_t column) { return column; });
    }
}

TEST(Render, EqualsTheReferenceBitForBit)
{
    std::mt19937 random(3);
    const auto within = [&](std::uint32_t lo, std::uint32_t hi) {
        return lo + static_cast<std::uint32_t>(random()) % (hi - lo + 1);
    };
    const auto randomByte = [&] { return static_cast<std::uint8_t>(random()); };
    const double zooms[] = {1, 1, 1.5, 2.25, 5, 7.59375, 37.5, 1e6, 1e16};
    Lut lut(DisplayLutSize);
    std::generate(lut.begin(), lut.end(), randomByte);
    for (int round = 0; round < 250; ++round) {
        const bool large = round % 10 == 4, huge = round % 25 == 0; // huge: by two threads
        const std::uint32_t widest = large ? 6000 : 300, highest = large ? 100 : 300;
        CImage source(within(1, huge ? 3000 : widest), within(1, huge ? 2000 : highest),
                      round % 2 ? 8 : 16, 0, 1);
        std::generate_n(source.m_data, source.m_dataSize, randomByte);
        const std::uint32_t width = huge ? 2000 : within(1, large ? 2600 : 400);
        const std::uint32_t height = huge ? 1001 : within(1, 300);
        CImage fast(width, height, 8, 0, 1), expected(width, height, 8, 0, 1);
        fast.Fill(DisplayBackground);
        expected.Fill(DisplayBackground);
        const double zoom = zooms[random() % 9];
        const std::uint32_t cx = within(0, source.m_width), cy = within(0, source.m_height + 2);
        RenderToDisplay(&source, lut.data(), zoom, cx, cy, &fast);
        reference::RenderToDisplay(&source, lut.data(), zoom, cx, cy, &expected);
        ASSERT_EQ(std::memcmp(fast.m_data, expected.m_data, fast.m_dataSize), 0)
            << source.m_width << "x" << source.m_height << " into " << width << "x" << height
            << " zoom " << zoom << " around " << cx << ", " << cy;
    }
}

} // namespace
