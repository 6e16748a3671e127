// The range functions and the front ends that feed them an image's samples.
#include "display/range.h"

#include "image/vector_clones.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

struct OccupiedRange
{
    std::int32_t first, last; // both 0 when there is no sample
};

template <std::int32_t Bins, typename Sample>
void ComputeRange(std::int32_t count, const Sample* samples, double a, double b,
                  RangeFunction function, double* lo, double* hi);

OccupiedRange FindOccupiedSamples(std::int32_t count, const std::uint8_t* samples);
OccupiedRange FindOccupiedSamples(std::int32_t count, const std::uint16_t* samples);

template <typename Sample>
void CountSamples(std::int32_t count, const Sample* samples, std::uint32_t* histogram);

OccupiedRange FindOccupiedBins(std::int32_t n, const std::uint32_t* histogram);
double WindowShare(double a);
void LimitRange(std::int32_t n, double* lo, double* hi);

} // namespace

const RangeFunctionName RangeFunctionNames[5] = {
    {"MMEqualCut", MMEqualCut}, {"MMAvgWeightCut", MMAvgWeightCut},
    {"MMCountCut", MMCountCut}, {"MMFitWindow", MMFitWindow},
    {nullptr, nullptr},
};

void ComputeRange8(std::int32_t count, const std::uint8_t* samples, double a, double b,
                   RangeFunction function, double* lo, double* hi)
{
    ComputeRange<256>(count, samples, a, b, function, lo, hi);
}

void ComputeRange16(std::int32_t count, const std::uint16_t* samples, double a, double b,
                    RangeFunction function, double* lo, double* hi)
{
    ComputeRange<65536>(count, samples, a, b, function, lo, hi);
}

void MMEqualCut(std::int32_t n, const std::uint32_t* histogram, double a, double b, double* lo,
                double* hi)
{
    const auto [first, last] = FindOccupiedBins(n, histogram);
    const double occupied = last - first;
    *lo = first + occupied * a;
    *hi = last - occupied * b;
    LimitRange(n, lo, hi);
}

void MMAvgWeightCut(std::int32_t n, const std::uint32_t* histogram, double a, double b, double* lo,
                    double* hi)
{
    double first, last, mean;
    std::uint32_t total;
    HistogramStats(n, histogram, &first, &last, &mean, &total);
    *lo = first + (mean - first) * a;
    *hi = last - (last - mean) * b;
    LimitRange(n, lo, hi);
}

void MMCountCut(std::int32_t n, const std::uint32_t* histogram, double a, double b, double* lo,
                double* hi)
{
    double mean;
    std::uint32_t total;
    HistogramStats(n, histogram, lo, hi, &mean, &total);
    if (0 < a && a < 1) {
        auto i = static_cast<std::int32_t>(*lo);
        for (double remaining = total * a; i < n && remaining > 0; ++i) {
            remaining -= histogram[i];
        }
        *lo = i;
    }
    if (0 < b && b < 1) {
        auto i = static_cast<std::int32_t>(*hi);
        for (double remaining = total * b; i > 0 && remaining > 0; --i) {
            remaining -= histogram[i];
        }
        *hi = i;
    }
    if (*hi < *lo) {
        *hi = *lo;
    }
}

// With W = share x (last - first), for every start i from first while i < last - W:
//   sum(i) = count[i] + count[i + 1] + ... + count[i + k] for all k < W, wrapping at 32 bits
// and the first start of the largest sum wins. The next start's sum drops one bin and takes one in.
void MMFitWindow(std::int32_t n, const std::uint32_t* histogram, double a, double, double* lo,
                 double* hi)
{
    const auto [first, last] = FindOccupiedBins(n, histogram);
    const double window = WindowShare(a) * (last - first);
    std::int32_t bestStart = first;
    if (window > 0 && first < last - window) {
        const auto bins = static_cast<std::int32_t>(std::ceil(window));
        const auto end = static_cast<std::int32_t>(std::ceil(last - window));
        std::uint32_t sum = 0;
        for (std::int32_t k = 0; k < bins; ++k) {
            sum += histogram[first + k];
        }
        std::uint32_t best = 0;
        for (std::int32_t i = first; i < end; ++i) {
            if (sum > best) {
                best = sum;
                bestStart = i;
            }
            sum += histogram[i + bins] - histogram[i];
        }
    }
    *lo = bestStart;
    *hi = bestStart + window;
    if (*hi < *lo) {
        *hi = *lo;
    }
}

void HistogramStats(std::int32_t n, const std::uint32_t* histogram, double* first, double* last,
                    double* mean, std::uint32_t* total)
{
    const OccupiedRange occupied = FindOccupiedBins(n, histogram);
    *first = occupied.first;
    *last = occupied.last;
    *mean = 0.0;
    *total = 0;
    double sum = 0.0;
    for (std::int32_t j = occupied.first; j < n && j <= occupied.last; ++j) {
        *total += histogram[j];
        sum += static_cast<std::uint32_t>(j) * histogram[j];
    }
    if (*total > 0) {
        *mean = sum / *total;
    }
}

namespace {

template <std::int32_t Bins, typename Sample>
void ComputeRange(std::int32_t count, const Sample* samples, double a, double b,
                  RangeFunction function, double* lo, double* hi)
{
    // A window as wide as the occupied range has no choice of start: no histogram is needed.
    const bool wholeRange = function == MMFitWindow && WindowShare(a) >= 1;
    if (function == nullptr || wholeRange) {
        const auto [first, last] = FindOccupiedSamples(count, samples);
        *lo = first;
        *hi = wholeRange ? first + WindowShare(a) * (last - first) : last;
        return;
    }
    std::uint32_t histogram[Bins] = {};
    CountSamples(count, samples, histogram);
    function(Bins, histogram, a, b, lo, hi);
}

template <typename Sample>
TARNTEST_IN_CLONES OccupiedRange FindExtremes(std::int32_t count, const Sample* samples)
{
    if (count <= 0) {
        return {0, 0};
    }
    Sample smallest = std::numeric_limits<Sample>::max();
    Sample largest = 0;
    for (std::int32_t i = 0; i < count; ++i) {
        smallest = std::min(smallest, samples[i]);
        largest = std::max(largest, samples[i]);
    }
    return {smallest, largest};
}

TARNTEST_VECTOR_CLONES
OccupiedRange FindOccupiedSamples(std::int32_t count, const std::uint8_t* samples)
{
    return FindExtremes(count, samples);
}

TARNTEST_VECTOR_CLONES
OccupiedRange FindOccupiedSamples(std::int32_t count, const std::uint16_t* samples)
{
    return FindExtremes(count, samples);
}

// Four quarters of the picture are counted side by side: a processor fetches several streams at
// once sooner than one, and neighbors, which are often alike, do not wait for each other's bin.
template <typename Sample>
void CountSamples(std::int32_t count, const Sample* samples, std::uint32_t* histogram)
{
    const std::int32_t quarter = count / 4;
    for (std::int32_t i = 0; i < quarter; ++i) {
        for (std::int32_t q = 0; q < 4; ++q) {
            ++histogram[samples[i + q * quarter]];
        }
    }
    for (std::int32_t i = quarter * 4; i < count; ++i) {
        ++histogram[samples[i]];
    }
}

OccupiedRange FindOccupiedBins(std::int32_t n, const std::uint32_t* histogram)
{
    std::int32_t first = 0;
    while (first < n && histogram[first] == 0) {
        ++first;
    }
    if (first >= n) {
        return {0, 0};
    }
    std::int32_t last = n - 1;
    while (histogram[last] == 0) {
        --last;
    }
    return {first, last};
}

// The share of the occupied range that MMFitWindow's window covers.
double WindowShare(double a)
{
    const double share = 1 - a;
    return share <= 0 ? 0 : share;
}

void LimitRange(std::int32_t n, double* lo, double* hi)
{
    if (*lo < 0) {
        *lo = 0;
    }
    if (*hi >= n) {
        *hi = n - 1;
    }
    if (*hi < *lo) {
        *hi = *lo;
    }
}

} // namespace
