// The evenness of a flat image, after AAPM TG-150: the picture without a border of 10 mm is divided
// into squares of 10 mm, and each is compared with its neighbors and with all.
#pragma once

#include "measure/gray_view.h"

#include <cstdint>
#include <vector>

inline constexpr double DefaultPixelPitch = 0.1; // mm from pixel to pixel

// Of one quantity: signal, noise or SNR.
struct NonUniformity
{
    // The largest of |v - n| / n over all squares, where v is the square's value and n the mean of
    // its up to eight neighbors; 0 when there is one square only.
    double local = 0;
    // (largest - smallest) / mean over all squares.
    double global = 0;
};

struct UniformitySquare
{
    PixelRect rect;
    double signal;        // mean
    double noise;         // standard deviation, divided by samples - 1
    double signalToNoise; // 0 when the noise is 0
    double localSignal;   // this square's share in the local non-uniformity, |v - n| / n
};

struct Uniformity
{
    std::uint32_t columns = 0, rows = 0;
    std::vector<UniformitySquare> squares; // row by row from the top left; none in too small images
    NonUniformity signal, noise, signalToNoise;
};

// pixelPitch in mm, at least 0.001 and at most 5. Squares that the right or lower border would cut
// are left out.
Uniformity UniformityOf(const GrayView& view, double pixelPitch);
