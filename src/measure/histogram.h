// The histogram of a picture or region, and the numbers that follow from it without another look at
// the pixels.
#pragma once

#include "measure/gray_view.h"

#include <cstdint>
#include <optional>
#include <vector>

// counts[v]: how many samples are equal to v. 256 bins for samples of 1 byte, 65,536 for 2.
struct Histogram
{
    std::vector<std::uint32_t> counts;
};

// One pass over the samples.
Histogram CountSamples(const GrayView& view);

// All of it exact in 64-bit integers up to the last division and root.
struct Statistics
{
    std::uint64_t count = 0; // samples; when 0, so is everything else
    std::uint32_t minimum = 0, maximum = 0;
    double mean = 0;
    double standardDeviation = 0;        // of a sample: divided by count - 1; 0 for one sample
    std::optional<double> signalToNoise; // mean / standardDeviation; nothing when that is 0
    double median = 0;                   // of an even count: the mean of the middle two
};
Statistics StatisticsOf(const Histogram& histogram);

// The shares of all samples, 0..1, that stand at the ends of the sensor's range.
struct ClippedShares
{
    double atZero = 0;
    double atMaximum = 0; // at maxValue or above
};
ClippedShares ClippedSharesOf(const Histogram& histogram, std::uint32_t maxValue);

// Where the value first stands, row by row from the top left; nothing when it does not occur.
struct PixelPosition
{
    std::uint32_t x, y;
};
std::optional<PixelPosition> FindValue(const GrayView& view, std::uint32_t value);
