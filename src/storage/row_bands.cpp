// Gathers view rows in bands, so that a transposed picture is not walked column by column.
#include "storage/row_bands.h"

#include "image/pixels.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace {

using Gather = void (*)(const CImage& image, std::uint32_t first, std::uint32_t count,
                        std::uint8_t* band);

Gather TransposedGather(const CImage& image);
template <std::size_t B>
void GatherColumns(const CImage& image, std::uint32_t first, std::uint32_t count,
                   std::uint8_t* band);

} // namespace

void GatherFileRows(const CImage& image, std::uint32_t first, std::uint32_t count,
                    std::uint8_t* band)
{
    if (const Gather gather = TransposedGather(image)) {
        gather(image, first, count, band);
        return;
    }
    const bool rowsAreRows = image.RowsAreRows();
    const std::uint32_t rows = rowsAreRows ? image.m_height : image.m_width;
    const std::size_t rowBytes = std::size_t{image.ViewRowLength()} * image.m_pixelBytes;
    for (std::uint32_t k = 0; k < count; ++k) {
        image.GetRow(rows - 1 - (first + k), band + k * rowBytes, rowBytes);
    }
}

namespace {

// Null when GetRow has to do it: in the layout of rows, where it is as fast, and with a width
// divisor, where only some of the columns are view rows.
Gather TransposedGather(const CImage& image)
{
    if (image.RowsAreRows() || image.m_widthDivisor > 1 || image.m_data == nullptr) {
        return nullptr;
    }
    switch (image.m_pixelBytes) {
    case 1:
        return GatherColumns<1>;
    case 2:
        return GatherColumns<2>;
    case 3:
        return GatherColumns<3>;
    case 4:
        return GatherColumns<4>;
    case 6:
        return GatherColumns<6>;
    default:
        return nullptr;
    }
}

// File row k is stored column k, or W-1-k when columns run forward, for the file begins with the
// last view row.
template <std::size_t B>
void GatherColumns(const CImage& image, std::uint32_t first, std::uint32_t count,
                   std::uint8_t* band)
{
    constexpr std::size_t Tile = TileSide<B>;
    std::uint8_t turned[Tile * Tile * B];
    const std::size_t width = image.m_width;
    const std::size_t height = image.m_height;
    const bool isLeftward = image.ColumnsRunForward();
    const bool isDownward = image.RowsRunForward();
    const std::size_t left = isLeftward ? width - first - count : first;
    for (std::size_t y = 0; y < height; y += Tile) {
        const std::size_t rows = std::min(Tile, height - y);
        const std::size_t pixel = isDownward ? y : height - y - rows;
        for (std::size_t x = 0; x < count; x += Tile) {
            const std::size_t columns = std::min<std::size_t>(Tile, count - x);
            TransposeTile<B>(image.m_data + (y * width + left + x) * B, width * B, rows, columns,
                             turned, Tile * B);
            for (std::size_t i = 0; i < columns; ++i) {
                const std::size_t row = isLeftward ? count - 1 - (x + i) : x + i;
                const std::uint8_t* source = turned + i * Tile * B;
                std::uint8_t* destination = band + (row * height + pixel) * B;
                if (isDownward) {
                    std::memcpy(destination, source, rows * B);
                } else {
                    ReverseCopy<B>(source, rows, destination);
                }
            }
        }
    }
}

} // namespace
