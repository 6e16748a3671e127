// Pixels whose response differs from the median of their surroundings.
#pragma once

#include "measure/response.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

// Of an even count: the mean of the middle two. Reorders the values, of which there is one at
// least.
double MedianOf(std::vector<float>& values);

// Values in any order, one at least, whose median is compared by counting, much faster than it is
// found. share >= 0.
struct Surroundings
{
    std::vector<float> values;

    bool MedianIsAbove(double value, double share) const; // value < share x median
    bool MedianIsBelow(double value, double share) const; // value > share x median
};

// An outlier is a pixel whose value is not above 0, or below low times or above high times the
// median of the square around it, which is `window` pixels wide (odd; 9 at
// most in the narrow rule, 25 in the wide one) and cut at the picture's
// edges. 0 < low < 1 < high.
struct OutlierRule
{
    std::uint32_t window;
    double low, high;
};

// around: only filled in when the value is above 0.
using OutlierVisit =
    std::function<void(std::size_t index, double value, const Surroundings& around)>;

// Calls the visits for the outliers of either rule, in no particular order; the narrow rule is not
// asked without its visit. Exact: a pixel is compared with its surroundings only where the scatter
// of a larger area, which limits how far a median can be from the mean, leaves the question open.
void VisitOutliers(const Response& response, const OutlierRule& narrow,
                   const OutlierVisit& visitNarrow, const OutlierRule& wide,
                   const OutlierVisit& visitWide);
