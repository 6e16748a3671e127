// The response of each pixel of a sensor, computed where it is asked for: a picture of real numbers
// would be twice the size of an image.
#pragma once

#include <cstddef>
#include <cstdint>

// flat x flatShare - dark x darkShare of each pixel, row by row from the top left. Owns nothing.
struct Response
{
    const std::uint32_t* flats;
    const std::uint32_t* darks;
    double flatShare, darkShare;
    std::uint32_t width, height;
    double mean; // of all pixels

    std::size_t IndexOf(std::uint32_t x, std::uint32_t y) const
    {
        return std::size_t{y} * width + x;
    }
    float At(std::size_t i) const
    {
        // Sums of up to 2^31, which processors convert much faster with a sign than without.
        return static_cast<float>(static_cast<std::int32_t>(flats[i]) * flatShare -
                                  static_cast<std::int32_t>(darks[i]) * darkShare);
    }
    // Of `count` pixels from pixel i on.
    void Compute(std::size_t i, std::uint32_t count, float* values) const;
};
