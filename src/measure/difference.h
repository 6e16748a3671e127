// How two pictures of one size differ.
#pragma once

#include "measure/gray_view.h"

#include <cstdint>
#include <optional>

// Of the differences second - first, pixel by pixel.
struct Difference
{
    std::uint64_t count = 0;
    std::uint64_t unequal = 0; // pixels that differ at all
    std::int64_t minimum = 0, maximum = 0;
    double mean = 0;
    double standardDeviation = 0; // divided by count - 1; 0 for one pixel
    double noise = 0; // standardDeviation / sqrt 2: the noise of one, when both are alike
};

// One pass over both, exact in 64-bit integers up to the last division and root. Nothing when the
// sizes differ or there are no pixels.
std::optional<Difference> DifferenceOf(const GrayView& first, const GrayView& second);
