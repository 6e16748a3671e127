// Window/level range: which band of sample values an image's histogram says is worth showing.
#pragma once

#include <cstdint>

// Puts into lo and hi the band (in bins, lo <= hi) that the function finds in a histogram of n
// bins; bin v counts the samples equal to v. What the fractions a and b mean is each function's
// own. A histogram without samples gives lo = hi = 0.
using RangeFunction = void (*)(std::int32_t n, const std::uint32_t* histogram, double a, double b,
                               double* lo, double* hi);

struct RangeFunctionName
{
    const char* name;
    RangeFunction function;
};

// Ended by a pair of nulls.
extern const RangeFunctionName RangeFunctionNames[5];

// First and last occupied bin, mean sample value and number of samples (all 0 when there is none).
// The weight of a bin and the total wrap at 32 bits.
void HistogramStats(std::int32_t n, const std::uint32_t* histogram, double* first, double* last,
                    double* mean, std::uint32_t* total);

// Cuts the fractions a (low end) and b (high end) of the occupied range [first, last]:
//   lo = first + (last - first) a,  hi = last - (last - first) b
void MMEqualCut(std::int32_t n, const std::uint32_t* histogram, double a, double b, double* lo,
                double* hi);
// Cuts toward the mean:  lo = first + (mean - first) a,  hi = last - (last - mean) b
void MMAvgWeightCut(std::int32_t n, const std::uint32_t* histogram, double a, double b, double* lo,
                    double* hi);
// Cuts bins from each end until the fraction a, b of all samples is gone; only for 0 < a, b < 1.
void MMCountCut(std::int32_t n, const std::uint32_t* histogram, double a, double b, double* lo,
                double* hi);
// The window of the share 1 - a of the occupied range that holds the most samples; the lowest one
// of a tie. b is not used. A share above 1 reaches beyond the last occupied bin.
void MMFitWindow(std::int32_t n, const std::uint32_t* histogram, double a, double b, double* lo,
                 double* hi);

// The range of count samples by the given function on their histogram of 256 or 65,536 bins. No
// function means the occupied range. The 65,536 bins (256 KiB) stand on the stack of the call.
void ComputeRange8(std::int32_t count, const std::uint8_t* samples, double a, double b,
                   RangeFunction function, double* lo, double* hi);
void ComputeRange16(std::int32_t count, const std::uint16_t* samples, double a, double b,
                    RangeFunction function, double* lo, double* hi);
