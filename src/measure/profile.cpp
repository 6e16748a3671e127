// Samples a picture along a line.
#include "measure/profile.h"

#include <algorithm>
#include <cmath>
#include <optional>

namespace {

// Bilinear, at pixel centers the sample itself; nothing outside the centers of the edge pixels.
std::optional<double> SampleAt(const GrayView& view, double x, double y)
{
    if (!(x >= 0) || !(y >= 0) || !(x <= view.width - 1.0) || !(y <= view.height - 1.0)) {
        return std::nullopt;
    }
    const auto left = static_cast<std::uint32_t>(x), top = static_cast<std::uint32_t>(y);
    const std::uint32_t right = left + (left + 1 < view.width ? 1 : 0);
    const std::uint32_t bottom = top + (top + 1 < view.height ? 1 : 0);
    const double u = x - left, v = y - top;
    return (1 - v) * ((1 - u) * view.At(left, top) + u * view.At(right, top)) +
           v * ((1 - u) * view.At(left, bottom) + u * view.At(right, bottom));
}

} // namespace

std::vector<ProfilePoint> ProfileAlong(const GrayView& view, double x0, double y0, double x1,
                                       double y1, std::uint32_t width)
{
    const double length = std::hypot(x1 - x0, y1 - y0);
    const auto steps =
        static_cast<std::uint32_t>(std::lround(std::min(MostProfilePoints - 1.0, length)));
    const double acrossX = length > 0 ? (y0 - y1) / length : 0;
    const double acrossY = length > 0 ? (x1 - x0) / length : 1;
    std::vector<ProfilePoint> profile;
    for (std::uint32_t i = 0; i <= steps; ++i) {
        const double share = steps == 0 ? 0 : static_cast<double>(i) / steps;
        ProfilePoint point = {x0 + share * (x1 - x0), y0 + share * (y1 - y0), 0, 0};
        for (std::uint32_t k = 0; k < width; ++k) {
            const double offset = k - (width - 1) * 0.5;
            if (const auto value =
                    SampleAt(view, point.x + offset * acrossX, point.y + offset * acrossY)) {
                point.mean += *value;
                ++point.samples;
            }
        }
        point.mean /= point.samples > 0 ? point.samples : 1;
        profile.push_back(point);
    }
    return profile;
}
