// The range functions: cases worked out by hand, and random ones against the reference.
#include "benchmarks/reference_display.h"
#include "display/range.h"

#include <gtest/gtest.h>
#include <random>
#include <utility>
#include <vector>

namespace {

using Bins = std::vector<std::pair<std::size_t, std::uint32_t>>;

struct RangeCase
{
    const char* name;
    RangeFunction function;
    Bins occupied;
    double a, b, lo, hi;
};

const std::uint32_t Half = 0x80000000;
const Bins Ends{{100, 1}, {1100, 1}};
const Bins Single{{700, 9}};

const RangeCase RangeCases[] = {
    {"count: nothing counted", MMCountCut, {}, 0.5, 0.5, 0, 0},
    {"fit: one level", MMFitWindow, Single, 0.5, 0, 700, 700},
    {"count: one level is cut like any other", MMCountCut, Single, 0.5, 0.5, 701, 701},
    {"equal: clamped to the bins", MMEqualCut, Ends, -1, -100, 0, 65535},
    {"average: to the mean", MMAvgWeightCut, {{0, 3}, {100, 1}}, 1, 1, 25, 25},
    {"fit: beyond the range", MMFitWindow, Ends, -0.5, 0, 100, 1600},
    {"fit: part of a bin", MMFitWindow, {{0, 1}, {4, 2}, {7, 2}, {9, 1}}, 0.65, 0, 4, 7.15},
    {"fit: sums wrap", MMFitWindow, {{10, Half}, {11, Half}, {20, 5}, {30, 1}}, 0.5, 0, 11, 21},
};

TEST(Range, FindsTheBandWorkedOutByHand)
{
    for (const RangeCase& c : RangeCases) {
        std::vector<std::uint32_t> histogram(65536);
        for (const auto& [bin, count] : c.occupied) {
            histogram[bin] = count;
        }
        double lo = -1, hi = -1;
        c.function(65536, histogram.data(), c.a, c.b, &lo, &hi);
        EXPECT_DOUBLE_EQ(lo, c.lo) << c.name;
        EXPECT_DOUBLE_EQ(hi, c.hi) << c.name;
    }
}

// The reference functions, in the order of RangeFunctionNames; no function stands at the end.
const RangeFunction References[] = {reference::MMEqualCut, reference::MMAvgWeightCut,
                                    reference::MMCountCut, reference::MMFitWindow, nullptr};

TEST(Range, EqualsTheReferenceBitForBit)
{
    std::mt19937 random(1);
    const double fractions[] = {-0.7, 0, 0.01, 0.25, 0.5, 1 - 33.3 * 0.01, 0.99, 1, 1.5};
    const auto compare = [&](auto fast, auto expected, const auto& samples) {
        const auto count = static_cast<std::int32_t>(samples.size());
        const double a = fractions[random() % 9], b = fractions[random() % 9];
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

} // namespace
