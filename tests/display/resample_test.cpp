// The resampler: borders worked out by hand, and random images against the reference.
#include "benchmarks/reference_display.h"
#include "display/lut.h"
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
        const bool large = round % 10 == 0;
        CImage source(within(1, large ? 6000 : 300), within(1, large ? 100 : 300),
                      round % 2 ? 8 : 16, 0, 1);
        std::generate_n(source.m_data, source.m_dataSize, randomByte);
        const std::uint32_t width = within(1, large ? 2600 : 400), height = within(1, 300);
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
