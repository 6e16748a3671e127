// Rearranges the stored block so that the same picture is read under another orientation code.
#include "image/image.h"

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

constexpr std::uint32_t invertB0 = 1; // stored rows come out reversed
constexpr std::uint32_t invertB1 = 2; // stored rows come out in the opposite order

// What a transform does to the storage, and with the same three facts to the code:
// a transposing one inverts b2 and exchanges b1 and b0, then the bits of `inverts` are inverted.
struct Rule
{
    Transform transform;
    void (CImage::*run)();
    bool transposes;
    std::uint32_t inverts;
};

constexpr Rule rules[] = {
    {None, nullptr, false, 0},
    {Mirror, &CImage::MirrorRows, false, invertB0},
    {Flip, &CImage::FlipRows, false, invertB1},
    {Turn, &CImage::Rotate180, false, invertB1 | invertB0},
    {Transp, &CImage::Transpose, true, 0},
    {Anti, &CImage::TransposeAnti, true, invertB1 | invertB0},
    {Cw, &CImage::RotateCw, true, invertB0},
    {Ccw, &CImage::RotateCcw, true, invertB1},
};

// A line for every new code, a column for every current code.
constexpr Transform transforms[CImage::OrientationCount][CImage::OrientationCount] = {
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
    if (rule.transposes)
        code = (~code & 4) | (code & 1) << 1 | (code & 2) >> 1;
    return code ^ rule.inverts;
}

// For every pair of codes one transform maps one to the other, and it is the one in the table.
constexpr bool TransformsAreComplete()
{
    for (std::size_t i = 0; i < std::size(rules); ++i)
        if (rules[i].transform != i)
            return false;
    for (std::uint32_t now = 0; now < CImage::OrientationCount; ++now)
        for (std::uint32_t wanted = 0; wanted < CImage::OrientationCount; ++wanted)
            for (const Rule& rule : rules)
                if ((CodeAfter(rule, now) == wanted) != (rule.transform == transforms[wanted][now]))
                    return false;
    return true;
}
static_assert(TransformsAreComplete());

// The rearranging of blocks with pixels of one size.
struct PixelRoutines
{
    std::uint32_t pixelBytes;
    // Reverses the order of count pixels in place.
    void (*reverse)(std::uint8_t* first, std::size_t count);
    // Writes the transposed block, its rows and their order reversed as `inverts` tells.
    void (*transpose)(const std::uint8_t* source, std::size_t width, std::size_t height,
                      std::uint32_t inverts, std::uint8_t* destination);
};

template <std::size_t B>
void ReversePixels(std::uint8_t* first, std::size_t count);
template <std::size_t B>
void TransposePixels(const std::uint8_t* source, std::size_t width, std::size_t height,
                     std::uint32_t inverts, std::uint8_t* destination);

constexpr PixelRoutines pixelRoutines[] = {
    {1, ReversePixels<1>, TransposePixels<1>}, {2, ReversePixels<2>, TransposePixels<2>},
    {3, ReversePixels<3>, TransposePixels<3>}, {4, ReversePixels<4>, TransposePixels<4>},
    {6, ReversePixels<6>, TransposePixels<6>},
};

void Rearrange(CImage& image, Transform transform);
bool TransposeBlock(CImage& image, const PixelRoutines& routines, std::uint32_t inverts);
void ReverseRowOrder(std::uint8_t* block, std::size_t rowBytes, std::size_t rows);

} // namespace

void CImage::SetOrientation(std::uint32_t code)
{
    if (code >= OrientationCount || m_orientation >= OrientationCount)
        return;
    if (const Transform transform = transforms[code][m_orientation]; transform != None)
        (this->*rules[transform].run)();
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
        std::ranges::find(pixelRoutines, image.m_pixelBytes, &PixelRoutines::pixelBytes);
    if (!image.m_data || routines == std::end(pixelRoutines))
        return;
    const Rule& rule = rules[transform];
    const std::size_t rowBytes = std::size_t{image.m_width} * image.m_pixelBytes;
    if (rule.transposes) {
        if (!TransposeBlock(image, *routines, rule.inverts))
            return;
    } else if (rule.inverts == invertB0) {
        for (std::size_t y = 0; y < image.m_height; ++y)
            routines->reverse(image.m_data + y * rowBytes, image.m_width);
    } else if (rule.inverts == invertB1) {
        ReverseRowOrder(image.m_data, rowBytes, image.m_height);
    } else {
        routines->reverse(image.m_data, std::size_t{image.m_width} * image.m_height);
    }
    image.m_orientation = CodeAfter(rule, image.m_orientation);
}

// False, and nothing done, when there is no memory for the scratch block.
bool TransposeBlock(CImage& image, const PixelRoutines& routines, std::uint32_t inverts)
{
    const CLinkedBuffer scratch(new (std::nothrow) std::uint8_t[image.m_dataSize]);
    if (scratch.IsEmpty())
        return false;
    routines.transpose(image.m_data, image.m_width, image.m_height, inverts, scratch.Get());
    std::memcpy(image.m_data, scratch.Get(), image.m_dataSize);
    std::swap(image.m_width, image.m_height);
    return true;
}

void ReverseRowOrder(std::uint8_t* block, std::size_t rowBytes, std::size_t rows)
{
    for (std::size_t y = 0; y < rows / 2; ++y)
        std::swap_ranges(block + y * rowBytes, block + (y + 1) * rowBytes,
                         block + (rows - 1 - y) * rowBytes);
}

template <std::size_t B>
void ReversePixels(std::uint8_t* first, std::size_t count)
{
    for (std::size_t i = 0; i < count / 2; ++i) {
        std::uint8_t* low = first + i * B;
        std::uint8_t* high = first + (count - 1 - i) * B;
        std::uint8_t held[B];
        std::memcpy(held, low, B);
        std::memcpy(low, high, B);
        std::memcpy(high, held, B);
    }
}

template <std::size_t B>
void TransposePixels(const std::uint8_t* source, std::size_t width, std::size_t height,
                     std::uint32_t inverts, std::uint8_t* destination)
{
    // A tile's source and destination rows stay in the first cache together.
    constexpr std::size_t tile = 32;
    for (std::size_t tileY = 0; tileY < height; tileY += tile)
        for (std::size_t tileX = 0; tileX < width; tileX += tile)
            for (std::size_t x = tileX; x < std::min(tileX + tile, width); ++x)
                for (std::size_t y = tileY; y < std::min(tileY + tile, height); ++y) {
                    const std::size_t row = inverts & invertB1 ? width - 1 - x : x;
                    const std::size_t column = inverts & invertB0 ? height - 1 - y : y;
                    std::memcpy(destination + (row * height + column) * B,
                                source + (y * width + x) * B, B);
                }
}

} // namespace
