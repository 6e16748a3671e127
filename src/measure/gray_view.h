// GrayView, how every measure sees a picture: gray samples in rows, the top row first.
#pragma once

#include "image/image.h"

#include <cstddef>
#include <cstdint>
#include <optional>

// A part of a picture in pixels: x to the right, y down from the top left corner.
struct PixelRect
{
    std::uint32_t x, y, width, height;
};

// Looks at pixels that it does not own. A region is the view of a part, so that every measure of a
// picture is one of a region too.
struct GrayView
{
    const std::uint8_t* top; // first sample of the top row
    std::ptrdiff_t rowStep;  // bytes from a row to the one below it; negative in bottom-up blocks
    std::uint32_t width, height;
    std::uint32_t sampleBytes;   // 1 or 2
    std::uint32_t bitsPerSample; // 8..16; a sample may hold more than these bits can

    bool IsEmpty() const { return width == 0 || height == 0; }
    std::uint64_t Count() const { return std::uint64_t{width} * height; }
    std::uint32_t MaxValue() const { return (1u << bitsPerSample) - 1; }

    // Sample: std::uint8_t or std::uint16_t, as sampleBytes says.
    template <typename Sample>
    const Sample* Row(std::uint32_t y) const
    {
        return reinterpret_cast<const Sample*>(top + static_cast<std::ptrdiff_t>(y) * rowStep);
    }
    std::uint32_t At(std::uint32_t x, std::uint32_t y) const
    {
        return sampleBytes == 1 ? Row<std::uint8_t>(y)[x] : Row<std::uint16_t>(y)[x];
    }
};

// Nothing for an image that cannot be measured: one without pixels, with other than one sample of
// 1 or 2 bytes a pixel, or whose rows do not run from left to right. The image must outlive the
// view.
std::optional<GrayView> ViewOf(const CImage& image);

// The part of the view that the rectangle covers; what lies outside is cut off.
GrayView Crop(const GrayView& view, const PixelRect& rect);

// The same pixels with the rows in the order in which they stand in memory, which processors fetch
// ahead: for measures that do not ask where a pixel is.
GrayView InMemoryOrder(const GrayView& view);

// Calls work(Sample{}) with a zero sample of the view's type and returns what that returns.
template <typename Work>
auto WithSampleType(const GrayView& view, Work work)
{
    return view.sampleBytes == 1 ? work(std::uint8_t{}) : work(std::uint16_t{});
}
