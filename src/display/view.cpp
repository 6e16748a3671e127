// The image view's arithmetic.
#include "display/view.h"

#include "display/truncate.h"

#include <algorithm>
#include <cmath>

namespace {

// Steps of the bars' range for each unit of zoom.
constexpr double StepsPerZoom = 10.0;

int TruncateToPosition(double position, int range);

} // namespace

void FillBitmapHeader(BITMAPINFO256& info, std::int32_t width, std::int32_t height)
{
    info.bmiHeader = {
        .biSize = sizeof(BITMAPINFOHEADER),
        .biWidth = width,
        .biHeight = height,
        .biPlanes = 1,
        .biBitCount = 8,
        .biCompression = BI_RGB,
        .biSizeImage = 0,
        .biXPelsPerMeter = 0,
        .biYPelsPerMeter = 0,
        .biClrUsed = 256,
        .biClrImportant = 256,
    };
    for (unsigned i = 0; i < 256; ++i) {
        const auto gray = static_cast<BYTE>(i);
        info.bmiColors[i] = {gray, gray, gray, 0};
    }
}

bool IsZoomUsable(double zoom)
{
    return zoom * StepsPerZoom < 2147483648.0;
}

// With the part of the image that the zoom shows, V = extent / zoom:
//   horizontal = trunc((cx - V / 2) / trunc(width - V) x R)
//   vertical   = trunc(R - R (cy - V / 2) / trunc(height - V)),  R = 10 zoom
ScrollPositions ScrollPositionsFor(double zoom, std::uint32_t width, std::uint32_t height,
                                   std::uint32_t cx, std::uint32_t cy)
{
    const double r = StepsPerZoom * zoom;
    ScrollPositions positions{static_cast<int>(TruncateToUInt32(r)), 0, 0};
    const double hiddenWidth = std::trunc(width - width / zoom);
    const double hiddenHeight = std::trunc(height - height / zoom);
    if (hiddenWidth > 0) {
        positions.horizontal =
            TruncateToPosition((cx - width / zoom / 2) / hiddenWidth * r, positions.range);
    }
    if (hiddenHeight > 0) {
        positions.vertical =
            TruncateToPosition(r - r * (cy - height / zoom / 2) / hiddenHeight, positions.range);
    }
    return positions;
}

std::optional<ScrollStepResult> ScrollStep(UINT code, int thumb, int oldPosition, int min, int max,
                                           int direction, std::uint32_t extent, double zoom)
{
    std::int64_t position = oldPosition;
    switch (code) {
    case SB_LINEUP:
        position -= 1;
        break;
    case SB_LINEDOWN:
        position += 1;
        break;
    case SB_PAGEUP:
        position -= 10;
        break;
    case SB_PAGEDOWN:
        position += 10;
        break;
    case SB_THUMBPOSITION:
        position = thumb;
        break;
    default: // a thumb being dragged changes nothing until it is let go
        break;
    }
    position = std::min<std::int64_t>(std::max<std::int64_t>(position, min), max);
    if (position == oldPosition || max <= min) {
        return std::nullopt;
    }

    const double visible = extent / zoom;
    const double hidden = std::trunc(extent - visible);
    const double stepSize = hidden / (static_cast<double>(max) - min);
    const std::uint32_t center =
        TruncateToUInt32(stepSize * static_cast<double>(position) + visible * 0.5);
    return ScrollStepResult{static_cast<int>(position), direction >= 0 ? center : extent - center};
}

namespace {

int TruncateToPosition(double position, int range)
{
    return static_cast<int>(
        std::min(TruncateToUInt32(position), static_cast<std::uint32_t>(range)));
}

} // namespace
