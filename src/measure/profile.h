// The course of the values along a line.
#pragma once

#include "measure/gray_view.h"

#include <cstdint>
#include <vector>

struct ProfilePoint
{
    double x, y;           // pixels, on the line
    double mean;           // of the samples across the line
    std::uint32_t samples; // how many lie in the picture; when 0, mean is 0
};

// On a longer line they stand further apart, from end to end as well.
inline constexpr std::uint32_t MostProfilePoints = 1'000'000;

// One point a pixel, the ends included, from pixel (x0, y0) to (x1, y1). Each is the mean of
// `width` samples (1 or more) that stand one pixel apart across the line, centered on it. Between
// pixels a sample is interpolated from its four neighbors, so that lines along rows and columns
// with an odd width give the values as they are.
std::vector<ProfilePoint> ProfileAlong(const GrayView& view, double x0, double y0, double x1,
                                       double y1, std::uint32_t width);
