// Which sample values are worth showing, and the table that shows them.
#include "display/lut.h"

#include "display/range.h"
#include "display/truncate.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

namespace {

constexpr std::uint32_t GrayLevels = 256;

} // namespace

std::optional<ScaleRange> FitScaleRange(const CImage& image, double lutWindowWidth)
{
    if (image.m_data == nullptr || (image.m_pixelBytes != 1 && image.m_pixelBytes != 2)) {
        return std::nullopt;
    }
    const auto count = static_cast<std::int32_t>(std::min<std::uint64_t>(
        std::uint64_t{image.m_width} * image.m_height, std::numeric_limits<std::int32_t>::max()));
    const double cut = 1 - lutWindowWidth * 0.01;
    double lo, hi;
    if (image.m_pixelBytes == 1) {
        ComputeRange8(count, image.m_data, cut, 0.0, MMFitWindow, &lo, &hi);
    } else {
        ComputeRange16(count, reinterpret_cast<const std::uint16_t*>(image.m_data), cut, 0.0,
                       MMFitWindow, &lo, &hi);
    }
    const std::uint32_t width = TruncateToUInt32(hi - lo);
    return ScaleRange{TruncateToUInt32(width / 2 + lo), width};
}

// For every index i:
//   x = i - (center - width / 2), or maxValue - x when negative
//   lut[i] = trunc(255 pow(trunc(x 255 / width, clamped to 0..255) / 255, 1 / gamma))
// The level trunc(...) never falls as i rises (never rises when negative), so the table is filled
// in runs of one level: the end of a run is estimated, then stepped to by the formula itself.
void BuildDisplayLut(std::uint8_t* lut, std::uint32_t size, std::uint32_t center,
                     std::uint32_t width, double gamma, bool negative, std::uint32_t maxValue)
{
    const double g = gamma > 0 ? 1 / gamma : 1.0;
    std::uint8_t gray[GrayLevels];
    for (std::uint32_t level = 0; level < GrayLevels; ++level) {
        const double share = level * 0.00392156862745098;
        gray[level] = static_cast<std::uint8_t>(255 * (g == 1.0 ? share : std::pow(share, g)));
    }

    const double start = center - width * 0.5;
    const auto levelAt = [&](std::uint32_t i) {
        double x = i - start;
        if (negative) {
            x = maxValue - x;
        }
        if (width == 0) {
            return x > 0 ? 255u : 0u;
        }
        const double v = x * 255 / width;
        return v >= 255 ? 255u : v < 0 ? 0u : static_cast<std::uint32_t>(v);
    };

    const std::uint32_t lastLevel = negative ? 0 : GrayLevels - 1;
    for (std::uint32_t i = 0; i < size;) {
        const std::uint32_t level = levelAt(i);
        std::uint32_t end = size;
        if (level != lastLevel) {
            const double x = width * (negative ? level : level + 1.0) / 255;
            end = std::clamp(TruncateToUInt32(start + (negative ? maxValue - x : x)), i + 1, size);
        }
        while (end < size && levelAt(end) == level) {
            ++end;
        }
        while (levelAt(end - 1) != level) {
            --end;
        }
        std::memset(lut + i, gray[level], end - i);
        i = end;
    }
}
