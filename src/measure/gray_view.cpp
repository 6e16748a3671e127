// Views of images and of their parts.
#include "measure/gray_view.h"

#include <algorithm>

namespace {

constexpr std::uint32_t RowsAreRows = 4, TopDown = 2, LeftToRight = 1; // of the orientation code

} // namespace

std::optional<GrayView> ViewOf(const CImage& image)
{
    constexpr std::uint32_t Needed = RowsAreRows | LeftToRight;
    if (image.m_data == nullptr || image.m_samples != 1 ||
        (image.m_pixelBytes != 1 && image.m_pixelBytes != 2) ||
        (image.m_orientation & Needed) != Needed || image.m_bitsPerSample > 16) {
        return std::nullopt;
    }
    const auto step = static_cast<std::ptrdiff_t>(std::size_t{image.m_width} * image.m_pixelBytes);
    return GrayView{image.RowAddress(0), (image.m_orientation & TopDown) != 0 ? step : -step,
                    image.m_width,       image.m_height,
                    image.m_pixelBytes,  image.m_bitsPerSample};
}

GrayView Crop(const GrayView& view, const PixelRect& rect)
{
    GrayView part = view;
    const std::uint32_t x = std::min(rect.x, view.width);
    const std::uint32_t y = std::min(rect.y, view.height);
    part.width = std::min(rect.width, view.width - x);
    part.height = std::min(rect.height, view.height - y);
    if (!part.IsEmpty()) {
        part.top += static_cast<std::ptrdiff_t>(y) * view.rowStep +
                    static_cast<std::ptrdiff_t>(x) * view.sampleBytes;
    }
    return part;
}

GrayView InMemoryOrder(const GrayView& view)
{
    GrayView ordered = view;
    if (view.rowStep < 0 && !view.IsEmpty()) {
        ordered.top += (static_cast<std::ptrdiff_t>(view.height) - 1) * view.rowStep;
        ordered.rowStep = -view.rowStep;
    }
    return ordered;
}
