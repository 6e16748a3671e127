// Real numbers become integers by truncation toward zero, without leaving the integer's range.
#pragma once

#include <cstdint>
#include <limits>

// 0 for negative values and NaN, 2^32 - 1 for everything from there up.
constexpr std::uint32_t TruncateToUInt32(double value)
{
    constexpr double Limit = 4294967296.0;
    if (!(value > 0.0)) {
        return 0;
    }
    return value < Limit ? static_cast<std::uint32_t>(value)
                         : std::numeric_limits<std::uint32_t>::max();
}
