// Mean and standard deviation of many integers, exact in 64 bits up to the last division and root.
#pragma once

#include "measure/gray_view.h"

#include <cstdint>

// Sums of values of up to 17 bits with sign; at most 2^29 of them.
struct Moments
{
    std::uint64_t count = 0;
    std::int64_t sum = 0;
    std::uint64_t squares = 0;

    double Mean() const; // 0 without values
    // Of a sample: divided by count - 1; 0 for fewer than two values.
    double StandardDeviation() const;
};

// Of a picture's samples, in one pass.
Moments MomentsOf(const GrayView& view);
