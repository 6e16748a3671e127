// Rearranges the stored block so that the same picture is read under another orientation code.
#include "image/image.h"
#include "image/pixels.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

namespace {

enum Transform : std::uint8_t
{
    None,
    Mirror,
    Flip,
    Turn,
    Transp,
    Anti,
    Cw,
    Ccw
};

constexpr std::uint32_t InvertB0 = 1; // stored rows come out reversed
constexpr std::uint32_t InvertB1 = 2; // stored rows come out in the opposite order

// What a transform does to the storage, and with the same three facts to the code:
// a transposing one inverts b2 and exchanges b1 and b0, then the bits of `inverts` are inverted.
struct Rule
{
    Transform transform;
    void (CImage::*run)();
    bool transposes;
    std::uint32_t inverts;
};

constexpr Rule Rules[] = {
    {None, nullptr, false, 0},
    {Mirror, &CImage::MirrorRows, false, InvertB0},
    {Flip, &CImage::FlipRows, false, InvertB1},
    {Turn, &CImage::Rotate180, false, InvertB1 | InvertB0},
    {Transp, &CImage::Transpose, true, 0},
    {Anti, &CImage::TransposeAnti, true, InvertB1 | InvertB0},
    {Cw, &CImage::RotateCw, true, InvertB0},
    {Ccw, &CImage::RotateCcw, true, InvertB1},
};

// A line for every new code, a column for every current code.
constexpr Transform Transforms[CImage::OrientationCount][CImage::OrientationCount] = {
    // clang-format off
    //  0       1       2       3       4       5       6       7
    {None,   Mirror, Flip,   Turn,   Transp, Ccw,    Cw,     Anti  }, // 0
    {Mirror, None,   Turn,   Flip,   Cw,     Anti,   Transp, Ccw   }, // 1
    {Flip,   Turn,   None,   Mirror, Ccw,    Transp, Anti,   Cw    }, // 2
    {Turn,   Flip,   Mirror, None,   Anti,   Cw,     Ccw,    Transp}, // 3
    {Transp, Ccw,    Cw,     Anti,   None,   Mirror, Flip,   Turn  }, // 4
    {Cw,     Anti,   Transp, Ccw,    Mirror, None,   Turn,   Flip  }, // 5
    {Ccw,    Transp, Anti,   Cw,     Flip,   Turn,   None,   Mirror}, // 6
    {Anti,   Cw,     Ccw,    Transp, Turn,   Flip,   Mirror, None  }, // 7
    // clang-format on
};

constexpr std::uint32_t CodeAfter(const Rule& rule, std::uint32_t code)
{
    if (rule.transposes) {
        code = (~code & 4) | (code & 1) << 1 | (code & 2) >> 1;
    }
    return code ^ rule.inverts;
}

// For every pair of codes one transform maps one to the other, and it is the one in the table.
constexpr bool TransformsAreComplete()
{
    for (std::size_t i = 0; i < std::size(Rules); ++i) {
        if (Rules[i].transform != i) {
            return false;
        }
    }
    for (std::uint32_t now = 0; now < CImage::OrientationCount; ++now) {
        for (std::uint32_t wanted = 0; wanted < CImage::OrientationCount; ++wanted) {
            for (const Rule& rule : Rules) {
                if ((CodeAfter(rule, now) == wanted) !=
                    (rule.transform == Transforms[wanted][now])) {
                    return false;
                }
            }
        }
    }
    return true;
}
static_assert(TransformsAreComplete());

// The rearranging of blocks with pixels of one size.
struct PixelRoutines
{
    std::uint32_t pixelBytes;
    void (*reverse)(std::uint8_t* first, std::size_t count);
    void (*transposeSquare)(std::uint8_t* block, std::size_t side);
    void (*transpose)(const std::uint8_t* source, std::size_t width, std::size_t height,
                      std::uint8_t* destination);
};

template <std::size_t B>
void TransposeSquareBlock(std::uint8_t* block, std::size_t side);
template <std::size_t B>
void TransposeBlock(const std::uint8_t* source, std::size_t width, std::size_t height,
                    std::uint8_t* destination);

constexpr PixelRoutines AllPixelRoutines[] = {
    {1, ReversePixels<1>, TransposeSquareBlock<1>, TransposeBlock<1>},
    {2, ReversePixels<2>, TransposeSquareBlock<2>, TransposeBlock<2>},
    {3, ReversePixels<3>, TransposeSquareBlock<3>, TransposeBlock<3>},
    {4, ReversePixels<4>, TransposeSquareBlock<4>, TransposeBlock<4>},
    {6, ReversePixels<6>, TransposeSquareBlock<6>, TransposeBlock<6>},
};

void Rearrange(CImage& image, Transform transform);
bool TransposeStorage(CImage& image, const PixelRoutines& routines, std::uint32_t inverts);
void InvertStorage(CImage& image, const PixelRoutines& routines, std::uint32_t inverts);
void FlipStorage(CImage& image);
void CopyRows(const std::uint8_t* source, std::size_t sourceStep, std::uint8_t* destination,
              std::size_t destinationStep, std::size_t rowBytes, std::size_t rows);

} // namespace

void CImage::SetOrientation(std::uint32_t code)
{
    if (code >= OrientationCount || m_orientation >= OrientationCount) {
        return;
    }
    if (const Transform transform = Transforms[code][m_orientation]; transform != None) {
        (this->*Rules[transform].run)();
    }
}

void CImage::MirrorRows()
{
    Rearrange(*this, Mirror);
}
void CImage::FlipRows()
{
    Rearrange(*this, Flip);
}
void CImage::RotateCw()
{
    Rearrange(*this, Cw);
}
void CImage::Transpose()
{
    Rearrange(*this, Transp);
}
void CImage::TransposeAnti()
{
    Rearrange(*this, Anti);
}
void CImage::RotateCcw()
{
    Rearrange(*this, Ccw);
}
void CImage::Rotate180()
{
    Rearrange(*this, Turn);
}

namespace {

void Rearrange(CImage& image, Transform transform)
{
    const auto* routines =
        std::ranges::find(AllPixelRoutines, image.m_pixelBytes, &PixelRoutines::pixelBytes);
    if (image.m_data == nullptr || routines == std::end(AllPixelRoutines)) {
        return;
    }
    const Rule& rule = Rules[transform];
    if (!rule.transposes) {
        InvertStorage(image, *routines, rule.inverts);
    } else if (!TransposeStorage(image, *routines, rule.inverts)) {
        return;
    }
    image.m_orientation = CodeAfter(rule, image.m_orientation);
}

// False, and nothing done, when there is no memory for a scratch block. A square needs none, which
// spares large blocks a second set of fresh pages.
bool TransposeStorage(CImage& image, const PixelRoutines& routines, std::uint32_t inverts)
{
    if (image.m_width == image.m_height) {
        routines.transposeSquare(image.m_data, image.m_width);
        InvertStorage(image, routines, inverts);
        return true;
    }
    const CLinkedBuffer scratch(new (std::nothrow) std::uint8_t[image.m_dataSize]);
    if (scratch.IsEmpty()) {
        return false;
    }
    routines.transpose(image.m_data, image.m_width, image.m_height, scratch.Get());
    std::swap(image.m_width, image.m_height);
    const std::size_t rowBytes = std::size_t{image.m_width} * image.m_pixelBytes;
    for (std::size_t y = 0; y < image.m_height; ++y) {
        const std::size_t place = inverts & InvertB1 ? image.m_height - 1 - y : y;
        std::uint8_t* const row = image.m_data + place * rowBytes;
        std::memcpy(row, scratch.Get() + y * rowBytes, rowBytes);
        if (inverts & InvertB0) {
            routines.reverse(row, image.m_width);
        }
    }
    return true;
}

void InvertStorage(CImage& image, const PixelRoutines& routines, std::uint32_t inverts)
{
    const std::size_t rowBytes = std::size_t{image.m_width} * image.m_pixelBytes;
    if (inverts == (InvertB1 | InvertB0)) {
        routines.reverse(image.m_data, std::size_t{image.m_width} * image.m_height);
    } else if (inverts == InvertB1) {
        FlipStorage(image);
    } else if (inverts == InvertB0) {
        for (std::size_t y = 0; y < image.m_height; ++y) {
            routines.reverse(image.m_data + y * rowBytes, image.m_width);
        }
    }
}

void FlipStorage(CImage& image)
{
    const std::size_t rowBytes = std::size_t{image.m_width} * image.m_pixelBytes;
    std::uint8_t* low = image.m_data;
    std::uint8_t* high = image.m_data + (image.m_height - 1) * rowBytes;
    for (; low < high; low += rowBytes, high -= rowBytes) {
        std::swap_ranges(low, low + rowBytes, high);
    }
}

// Every tile changes places with the tile on the other side of the diagonal.
template <std::size_t B>
void TransposeSquareBlock(std::uint8_t* block, std::size_t side)
{
    constexpr std::size_t Tile = TileSide<B>;
    const std::size_t step = side * B;
    std::uint8_t upper[Tile * Tile * B], lower[Tile * Tile * B];
    for (std::size_t y = 0; y < side; y += Tile) {
        for (std::size_t x = y; x < side; x += Tile) {
            const std::size_t rows = std::min(Tile, side - y);
            const std::size_t columns = std::min(Tile, side - x);
            std::uint8_t* above = block + y * step + x * B;
            std::uint8_t* below = block + x * step + y * B;
            TransposeTile<B>(above, step, rows, columns, upper, Tile * B);
            TransposeTile<B>(below, step, columns, rows, lower, Tile * B);
            CopyRows(upper, Tile * B, below, step, rows * B, columns);
            CopyRows(lower, Tile * B, above, step, columns * B, rows);
        }
    }
}

template <std::size_t B>
void TransposeBlock(const std::uint8_t* source, std::size_t width, std::size_t height,
                    std::uint8_t* destination)
{
    constexpr std::size_t Tile = TileSide<B>;
    std::uint8_t turned[Tile * Tile * B];
    for (std::size_t x = 0; x < width; x += Tile) {
        for (std::size_t y = 0; y < height; y += Tile) {
            const std::size_t columns = std::min(Tile, width - x);
            const std::size_t rows = std::min(Tile, height - y);
            TransposeTile<B>(source + (y * width + x) * B, width * B, rows, columns, turned,
                             Tile * B);
            CopyRows(turned, Tile * B, destination + (x * height + y) * B, height * B, rows * B,
                     columns);
        }
    }
}

void CopyRows(const std::uint8_t* source, std::size_t sourceStep, std::uint8_t* destination,
              std::size_t destinationStep, std::size_t rowBytes, std::size_t rows)
{
    for (; rows != 0; --rows, source += sourceStep, destination += destinationStep) {
        std::memcpy(destination, source, rowBytes);
    }
}

} // namespace
