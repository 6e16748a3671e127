// Pixels that differ from the median of their surroundings.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

// Row by row from the top left; not owned.
struct FloatImage
{
    const float* values;
    std::uint32_t width, height;
};

// Of an even count: the mean of the middle two. Reorders the values, of which there is one at
// least.
double MedianOf(std::vector<float>& values);

using OutlierVisit = std::function<void(std::size_t index, double value, double median)>;

// Calls visit for each pixel whose value is not above 0, or below low times or above high times the
// median of the square around it, `window` pixels wide (odd) and cut at the image's edges.
// 0 <= low < 1 < high. Exact: the median itself is only formed where the scatter of a larger area,
// which limits how far a median can be from the mean, and then counts leave the question open. In
// no particular order.
void VisitOutliers(const FloatImage& image, std::uint32_t window, double low, double high,
                   const OutlierVisit& visit);
