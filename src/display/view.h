// The image view's arithmetic: the size of the image area, its bitmap header, zoom and scroll bars.
#pragma once

#include "platform/paint.h"

#include <cstdint>
#include <optional>

inline constexpr double ZoomInFactor = 1.5;
inline constexpr double ZoomOutFactor = 0.6666666666666666;

// The width to which the image area's window is resized so that its client width becomes a
// multiple of 4 and bitmap rows need no padding. Pixels.
constexpr int ImageAreaWidth(int windowWidth, int clientWidth)
{
    return windowWidth - clientWidth % 4;
}

// An uncompressed 8-bit bottom-up bitmap of width x height pixels with a gray palette.
void FillBitmapHeader(BITMAPINFO256& info, std::int32_t width, std::int32_t height);

// A zoom whose tenfold no longer fits the bars' 32-bit range, or NaN, cannot be taken.
bool IsZoomUsable(double zoom);

// Both bars run from 0 to range. The vertical bar runs the other way: 0 is the highest center y.
struct ScrollPositions
{
    int range, horizontal, vertical;
};

// Where the bars stand for a view center (cx, cy) in an image of width x height pixels; without an
// image (width = height = 0), at zoom 1 and in images too small to scroll, the positions are 0.
// zoom: 1 or above, usable.
ScrollPositions ScrollPositionsFor(double zoom, std::uint32_t width, std::uint32_t height,
                                   std::uint32_t cx, std::uint32_t cy);

struct ScrollStepResult
{
    int position;
    std::uint32_t center; // source pixels
};

// A scroll event on a bar at oldPosition of min..max. direction: 1 when the bar runs with the
// image's coordinate (also for every other value >= 0), -1 when against it; extent: the image's
// width or height in pixels. Nothing when the position does not change.
std::optional<ScrollStepResult> ScrollStep(UINT code, int thumb, int oldPosition, int min, int max,
                                           int direction, std::uint32_t extent, double zoom);
