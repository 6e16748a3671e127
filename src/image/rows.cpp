// The picture row by row in viewing order, whatever the orientation of the storage.
#include "image/image.h"
#include "image/pixels.h"

#include <algorithm>
#include <cstring>

namespace {

// Copies count pixels that stand step bytes apart, starting at source, to destination.
using Gather = void (*)(const std::uint8_t* source, std::size_t step, std::uint32_t count,
                        std::uint8_t* destination);

struct GatherRow
{
    std::uint32_t pixelBytes;
    Gather contiguousReversed; // contiguous pixels, last to first
    Gather columnForward;      // a stored column, first to last
    Gather columnReversed;     // a stored column, last to first
};

template <std::size_t B>
void ContiguousReversed(const std::uint8_t* source, std::size_t step, std::uint32_t count,
                        std::uint8_t* destination);
template <std::size_t B>
void ColumnForward(const std::uint8_t* source, std::size_t step, std::uint32_t count,
                   std::uint8_t* destination);
template <std::size_t B>
void ColumnReversed(const std::uint8_t* source, std::size_t step, std::uint32_t count,
                    std::uint8_t* destination);

// Copies of 3- and 6-byte pixels become a word and a byte, two words: never a byte past the pixel.
constexpr GatherRow GatherFamily[] = {
    {1, ContiguousReversed<1>, ColumnForward<1>, ColumnReversed<1>},
    {2, ContiguousReversed<2>, ColumnForward<2>, ColumnReversed<2>},
    {3, ContiguousReversed<3>, ColumnForward<3>, ColumnReversed<3>},
    {4, ContiguousReversed<4>, ColumnForward<4>, ColumnReversed<4>},
    {6, ContiguousReversed<6>, ColumnForward<6>, ColumnReversed<6>},
};

} // namespace

std::uint32_t CImage::GetRow(std::uint32_t r, void* destination, std::size_t size) const
{
    const std::uint8_t* source = RowAddress(r);
    if (source == nullptr) {
        return 0;
    }
    const auto count =
        static_cast<std::uint32_t>(std::min<std::size_t>(size / m_pixelBytes, ViewRowLength()));
    auto* pixels = static_cast<std::uint8_t*>(destination);
    if (RowsAreRows() && ColumnsRunForward()) {
        if (count != 0) {
            std::memcpy(pixels, source, std::size_t{count} * m_pixelBytes);
        }
        return count;
    }
    const auto* family = std::ranges::find(GatherFamily, m_pixelBytes, &GatherRow::pixelBytes);
    if (family == std::end(GatherFamily)) {
        return count;
    }
    const Gather gather = RowsAreRows()      ? family->contiguousReversed
                          : RowsRunForward() ? family->columnForward
                                             : family->columnReversed;
    gather(source, std::size_t{m_width} * m_pixelBytes, count, pixels);
    return count;
}

const std::uint8_t* CImage::RowAddress(std::uint32_t r) const
{
    if (m_data == nullptr || ViewRowCount() == 0) {
        return nullptr;
    }
    const std::size_t row = std::min(r, ViewRowCount() - 1);
    if (RowsAreRows()) {
        const std::size_t storedRow = RowsRunForward() ? row : m_height - 1 - row;
        return m_data + storedRow * m_width * m_pixelBytes;
    }
    const std::size_t storedColumn = ColumnsRunForward() ? row : m_width - 1 - row;
    return m_data + storedColumn * m_pixelBytes;
}

std::uint32_t CImage::ViewRowCount() const
{
    return RowsAreRows() ? m_height : m_width / std::max(m_widthDivisor, 1u);
}

std::uint32_t CImage::ViewRowLength() const
{
    return RowsAreRows() ? m_width : m_height;
}

namespace {

template <std::size_t B>
void ContiguousReversed(const std::uint8_t* source, std::size_t, std::uint32_t count,
                        std::uint8_t* destination)
{
    ReverseCopy<B>(source, count, destination);
}

template <std::size_t B>
void ColumnForward(const std::uint8_t* source, std::size_t step, std::uint32_t count,
                   std::uint8_t* destination)
{
    for (std::size_t k = 0; k < count; ++k) {
        std::memcpy(destination + k * B, source + k * step, B);
    }
}

template <std::size_t B>
void ColumnReversed(const std::uint8_t* source, std::size_t step, std::uint32_t count,
                    std::uint8_t* destination)
{
    for (std::size_t k = 0; k < count; ++k) {
        std::memcpy(destination + (count - 1 - k) * B, source + k * step, B);
    }
}

} // namespace
