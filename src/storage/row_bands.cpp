// Gathers view rows in bands, so that a transposed picture is not walked column by column.
#include "storage/row_bands.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace {

constexpr std::uint32_t RowsAreRows = 4; // bits of the orientation code
constexpr std::uint32_t RowsRunForward = 2;
constexpr std::uint32_t ColumnsRunForward = 1;

constexpr std::size_t Tile = 64; // pixels

// A picture as its file rows see it: pixel p of file row k stands at
// origin + k * rowStep + p * pixelStep.
struct Walk
{
    const std::uint8_t* origin;
    std::ptrdiff_t rowStep;
    std::ptrdiff_t pixelStep;
    std::size_t rowLength;
};

using Gather = void (*)(const Walk& walk, std::size_t count, std::uint8_t* band);

bool IsPlainTransposed(const CImage& image);
Walk WalkColumns(const CImage& image, std::uint32_t first);
template <std::size_t B>
void GatherTiles(const Walk& walk, std::size_t count, std::uint8_t* band);
template <std::size_t B>
void TurnTile(const std::uint8_t* corner, std::ptrdiff_t rowStep, std::ptrdiff_t pixelStep,
              std::size_t rows, std::size_t pixels, std::uint8_t* tile);
Gather GatherFor(std::uint32_t pixelBytes);

} // namespace

void GatherFileRows(const CImage& image, std::uint32_t first, std::uint32_t count,
                    std::uint8_t* band)
{
    if (const Gather gather = GatherFor(image.m_pixelBytes); gather && IsPlainTransposed(image)) {
        gather(WalkColumns(image, first), count, band);
        return;
    }
    const bool rowsAreRows = (image.m_orientation & RowsAreRows) != 0;
    const std::uint32_t rows = rowsAreRows ? image.m_height : image.m_width;
    const std::size_t rowBytes = std::size_t{image.ViewRowLength()} * image.m_pixelBytes;
    for (std::uint32_t k = 0; k < count; ++k) {
        image.GetRow(rows - 1 - (first + k), band + k * rowBytes, rowBytes);
    }
}

namespace {

// With a width divisor only some of the columns are view rows; GetRow knows which.
bool IsPlainTransposed(const CImage& image)
{
    return (image.m_orientation & RowsAreRows) == 0 && image.m_widthDivisor <= 1 &&
           image.m_data != nullptr;
}

//            ColumnsRunForward         not ColumnsRunForward
//   file row 0 is the last column      file row 0 is column 0
Walk WalkColumns(const CImage& image, std::uint32_t first)
{
    const bool isLeftward = (image.m_orientation & ColumnsRunForward) != 0;
    const bool isDownward = (image.m_orientation & RowsRunForward) != 0;
    const auto pixel = static_cast<std::ptrdiff_t>(image.m_pixelBytes);
    const std::ptrdiff_t storedRow = pixel * image.m_width;
    const std::ptrdiff_t column = isLeftward ? image.m_width - 1 - first : first;
    const std::ptrdiff_t row = isDownward ? 0 : image.m_height - 1;
    return {.origin = image.m_data + row * storedRow + column * pixel,
            .rowStep = isLeftward ? -pixel : pixel,
            .pixelStep = isDownward ? storedRow : -storedRow,
            .rowLength = image.m_height};
}

// Both the stored rows and the band's rows are often a power of two apart, where a whole tile would
// fall into the same few cache lines; hence each tile is turned in a buffer of its own.
template <std::size_t B>
void GatherTiles(const Walk& walk, std::size_t count, std::uint8_t* band)
{
    std::uint8_t tile[Tile * Tile * B];
    for (std::size_t p0 = 0; p0 < walk.rowLength; p0 += Tile) {
        const std::size_t pixels = std::min(Tile, walk.rowLength - p0);
        for (std::size_t k0 = 0; k0 < count; k0 += Tile) {
            const std::size_t rows = std::min(Tile, count - k0);
            const std::uint8_t* corner = walk.origin +
                                         static_cast<std::ptrdiff_t>(k0) * walk.rowStep +
                                         static_cast<std::ptrdiff_t>(p0) * walk.pixelStep;
            // The whole tile, with bounds that the compiler knows, is the case that counts.
            if (pixels == Tile && rows == Tile && walk.rowStep > 0) {
                TurnTile<B>(corner, B, walk.pixelStep, Tile, Tile, tile);
            } else if (pixels == Tile && rows == Tile) {
                TurnTile<B>(corner, -std::ptrdiff_t{B}, walk.pixelStep, Tile, Tile, tile);
            } else {
                TurnTile<B>(corner, walk.rowStep, walk.pixelStep, rows, pixels, tile);
            }
            for (std::size_t k = 0; k < rows; ++k) {
                std::memcpy(band + ((k0 + k) * walk.rowLength + p0) * B, tile + k * Tile * B,
                            pixels * B);
            }
        }
    }
}

template <std::size_t B>
inline void TurnTile(const std::uint8_t* corner, std::ptrdiff_t rowStep, std::ptrdiff_t pixelStep,
                     std::size_t rows, std::size_t pixels, std::uint8_t* tile)
{
    for (std::size_t p = 0; p < pixels; ++p, corner += pixelStep) {
        const std::uint8_t* source = corner;
        for (std::size_t k = 0; k < rows; ++k, source += rowStep) {
            std::memcpy(tile + (k * Tile + p) * B, source, B);
        }
    }
}

Gather GatherFor(std::uint32_t pixelBytes)
{
    switch (pixelBytes) {
    case 1:
        return GatherTiles<1>;
    case 2:
        return GatherTiles<2>;
    case 3:
        return GatherTiles<3>;
    case 4:
        return GatherTiles<4>;
    case 6:
        return GatherTiles<6>;
    default:
        return nullptr;
    }
}

} // namespace
