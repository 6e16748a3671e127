// The inspector's pictures: histogram, profile, and the marks on the image. All are drawn into
// 8-bit images whose row 0 is the bottom line on screen.
#pragma once

#include "display/resample.h"
#include "image/image.h"
#include "inspector/inspection.h"
#include "measure/histogram.h"
#include "measure/profile.h"

#include <cstdint>
#include <optional>
#include <vector>

// The band of sample values that the gray levels are spread over: low < high unless the width of
// the range is 0. In sample units, and beyond the samples' range where the range reaches there.
struct SampleBand
{
    std::int64_t low, high;
};

// Between the band and the range of the display table. A negative table mirrors the distance from
// the range's start at maxValue: it spreads center + maxValue - 3/2 width up to a width more.
SampleBand BandOf(std::uint32_t center, std::uint32_t width, bool negative, std::uint32_t maxValue);
struct BandRange
{
    std::uint32_t center, width;
};
inline constexpr std::int64_t NarrowestRange = 5; // the display takes no narrower one
// The nearest range: a center is 0 at least.
BandRange RangeOf(SampleBand band, bool negative, std::uint32_t maxValue);

// The axis runs from 0 at the left edge to maxValue at the right one.
int ColumnOf(std::int64_t value, int columns, std::uint32_t maxValue);
std::int64_t ValueAtColumn(int column, int columns, std::uint32_t maxValue);

enum class BandEdge
{
    Low,
    High
};
// The edge that a press at this column takes hold of; nothing when both are too far away.
std::optional<BandEdge> EdgeAt(int column, const SampleBand& band, int columns,
                               std::uint32_t maxValue);

// A bar a column, as high as the fullest of the column's values, and the band behind them.
void DrawHistogram(CImage& picture, const Histogram& counts, std::uint32_t maxValue,
                   const SampleBand& band, bool logarithmic);

// From the smallest to the largest value of the profile, along the whole width.
void DrawProfile(CImage& picture, const std::vector<ProfilePoint>& profile);

// A point of the display, in pixels from its top left corner.
struct DisplayPoint
{
    int x, y;
};

// Between pixels of the image, counted from its top left corner, and points of the display that
// shows it at that place. The image has pixels.
struct ImageOnDisplay
{
    PicturePlace place;
    std::uint32_t displayHeight, imageWidth, imageHeight;

    // Nothing outside the image.
    std::optional<PixelPosition> PixelAt(DisplayPoint point) const;
    PixelPosition NearestPixel(DisplayPoint point) const;
    DisplayPoint PointOf(double x, double y) const; // 0, 0: the corner of the first pixel
};

// A line or the outline of a rectangle, of points in black and white by turns, cut at the edges.
void DrawMarkLine(CImage& display, DisplayPoint from, DisplayPoint to);
void DrawMarkFrame(CImage& display, DisplayPoint corner, DisplayPoint opposite);
// A digit of 3 x 5 points in a black box.
void DrawMarkNumber(CImage& display, DisplayPoint corner, int number);
