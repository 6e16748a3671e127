// The resampler. A display pixel shows the average of its block of source pixels. The blocks of one
// display row stand side by side, so the picture is drawn in strips of display columns: for each
// row the sums of the source columns first, with vectors, then the averages of the columns shown.
// Of a large picture a second thread draws the upper half.
#include "display/resample.h"

#include "display/truncate.h"
#include "image/vector_clones.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <exception>
#include <limits>
#include <thread>

namespace {

// Display pixels of a picture that is worth a second thread, whose start and end take as long as
// some ten thousand.
constexpr std::uint32_t PixelsForTwoThreads = 1u << 20;

// The most rows and columns of samples of a block that is drawn in a strip. The step keeps blocks
// below this; others are summed sample by sample.
constexpr std::uint32_t MaxTaps = 5;

// Source rows or columns lo, lo + step, ... below hi of one display row or column.
struct Block
{
    std::uint32_t lo, hi;

    bool IsEmpty() const { return lo >= hi; }
    std::uint32_t Taps(std::uint32_t step) const { return (hi - lo - 1) / step + 1; }
};

template <typename Sample>
struct Source
{
    const Sample* samples;
    std::uint32_t width, height, step;

    const Sample* Row(std::uint32_t y) const { return samples + std::size_t{y} * width; }
};

// The display columns that are drawn together. For each of their rows:
//
//   source columns  first ............................ first + span
//   columnSums      sum of the block's rows, one each
//   display         column places[i] shows the average of the block that begins at starts[i]
//
// The columns are kept by the number of source columns that their blocks are made of.
struct Strip
{
    static constexpr std::uint32_t MaxColumns = 1024;
    static constexpr std::uint32_t MaxSpan = 4096;

    struct Group
    {
        std::uint32_t count = 0;
        std::uint16_t places[MaxColumns]; // display columns of the strip
        std::uint16_t starts[MaxColumns]; // source columns of the strip
    };

    std::uint32_t first = 0, span = 0, columns = 0;
    Group groups[MaxTaps + 1]; // [number of source columns]
};

// Where the display rows or columns of a picture start in the source.
struct Axis
{
    double start, scale;
    std::uint32_t count;
};

// What is drawn of a picture: all but the empty blocks at its ends.
struct Filled
{
    std::uint32_t columns, rows;
};

template <typename Sample>
std::uint32_t Resample(const Source<Sample>& source, const std::uint8_t* lut, std::uint32_t cx,
                       std::uint32_t cy, double scaleX, double scaleY, CImage& display);
template <typename Sample>
Filled DrawInHalves(const Source<Sample>& source, const std::uint8_t* lut, Axis across, Axis up,
                    std::uint8_t* picture, std::uint32_t lineLength);
template <typename Sample>
Filled DrawRows(const Source<Sample>& source, const std::uint8_t* lut, Axis across, Axis up,
                std::uint8_t* picture, std::uint32_t lineLength) noexcept;

double ScaleOf(std::uint32_t sourceWidth, std::uint32_t sourceHeight, std::uint32_t displayWidth,
               std::uint32_t displayHeight, double zoom);
std::uint32_t RowsShown(std::uint32_t sourceHeight, std::uint32_t displayHeight, double scale);
double FirstSource(std::uint32_t center, std::uint32_t displayExtent, double scale,
                   std::uint32_t extent);
Block BlockAt(double start, double scale, std::uint32_t extent);

double FillStrip(Strip& strip, double x, double scale, std::uint32_t columns,
                 std::uint32_t sourceWidth, std::uint32_t step);
template <typename Sample>
void DrawStrip(const Strip& strip, const Source<Sample>& source, Block rows,
               const std::uint8_t* lut, std::uint8_t* line);
void SumRows(const std::uint8_t* samples, std::size_t stride, std::uint32_t rows,
             std::uint32_t span, std::uint32_t* sums);
void SumRows(const std::uint16_t* samples, std::size_t stride, std::uint32_t rows,
             std::uint32_t span, std::uint32_t* sums);
template <std::uint32_t Taps>
void DrawColumns(const Strip::Group& group, const std::uint32_t* columnSums, std::uint32_t step,
                 std::uint32_t rows, const std::uint8_t* lut, std::uint8_t* line);
template <typename Sample>
std::uint8_t DrawBlock(const Source<Sample>& source, Block rows, Block columns,
                       const std::uint8_t* lut);
void RepeatIntoEmptyBlocks(std::uint8_t* picture, std::uint32_t lineLength, std::uint32_t rows,
                           std::uint32_t columns, std::uint32_t filledRows,
                           std::uint32_t filledColumns, std::uint8_t gray);

} // namespace

PicturePlace PlacePicture(std::uint32_t sourceWidth, std::uint32_t sourceHeight,
                          std::uint32_t displayWidth, std::uint32_t displayHeight, double zoom,
                          std::uint32_t cx, std::uint32_t cy)
{
    const double scale = ScaleOf(sourceWidth, sourceHeight, displayWidth, displayHeight, zoom);
    const std::uint32_t below = (displayHeight - RowsShown(sourceHeight, displayHeight, scale)) / 2;
    return {scale, std::trunc(FirstSource(cx, displayWidth, scale, sourceWidth)),
            FirstSource(cy, displayHeight, scale, sourceHeight) - below * scale};
}

// Columns begin at whole source pixels, so that the left edge is rounded and not the center.
ViewCenter CenterFor(const PicturePlace& place, std::uint32_t sourceWidth,
                     std::uint32_t sourceHeight, std::uint32_t displayWidth,
                     std::uint32_t displayHeight)
{
    const double shownWidth = displayWidth * place.scale;
    const double shownHeight = displayHeight * place.scale;
    ViewCenter center{sourceWidth / 2, sourceHeight / 2};
    if (shownWidth < sourceWidth) {
        const double last = std::floor(sourceWidth - shownWidth);
        const double left = std::clamp(std::round(place.left), 0.0, last);
        center.x = TruncateToUInt32(std::ceil(left + shownWidth / 2));
    }
    if (shownHeight < sourceHeight) {
        const double last = sourceHeight - shownHeight / 2;
        const double wanted = std::max(place.bottom, 0.0) + shownHeight / 2;
        center.y = TruncateToUInt32(std::min(std::round(wanted), last));
    }
    return center;
}

void RenderToDisplay(const CImage* source, const std::uint8_t* lut, double zoom, std::uint32_t cx,
                     std::uint32_t cy, CImage* display)
{
    if (source == nullptr || source->m_data == nullptr || display == nullptr ||
        display->m_data == nullptr || !(zoom > 0)) {
        return;
    }
    const std::uint32_t width = source->m_width, height = source->m_height;
    const double scale = ScaleOf(width, height, display->m_width, display->m_height, zoom);
    const std::uint32_t step = TruncateToUInt32(scale * 2 / 7 + 1.0);
    if (source->m_pixelBytes == 1) {
        Resample8(source->m_data, width, height, lut, cx, cy, scale, scale, step, *display);
    } else if (source->m_pixelBytes == 2) {
        Resample16(reinterpret_cast<const std::uint16_t*>(source->m_data), width, height, lut, cx,
                   cy, scale, scale, step, *display);
    }
}

std::uint32_t Resample8(const std::uint8_t* samples, std::uint32_t width, std::uint32_t height,
                        const std::uint8_t* lut, std::uint32_t cx, std::uint32_t cy, double scaleX,
                        double scaleY, std::uint32_t step, CImage& display)
{
    return Resample(Source<std::uint8_t>{samples, width, height, step}, lut, cx, cy, scaleX, scaleY,
                    display);
}

std::uint32_t Resample16(const std::uint16_t* samples, std::uint32_t width, std::uint32_t height,
                         const std::uint8_t* lut, std::uint32_t cx, std::uint32_t cy, double scaleX,
                         double scaleY, std::uint32_t step, CImage& display)
{
    return Resample(Source<std::uint16_t>{samples, width, height, step}, lut, cx, cy, scaleX,
                    scaleY, display);
}

namespace {

// For each display pixel, in storage order:
//   average = sum / n of its block's samples; an empty block repeats the average before it (0 at
//   the start), also across row ends
//   pixel = lut[average mod 4096]
// The blocks of a row are the same in every row, and empty blocks stand only at the ends of rows
// and in the last rows. So the picture is drawn strip by strip, and empty blocks at the end.
template <typename Sample>
std::uint32_t Resample(const Source<Sample>& source, const std::uint8_t* lut, std::uint32_t cx,
                       std::uint32_t cy, double scaleX, double scaleY, CImage& display)
{
    if (display.m_data == nullptr || !(scaleX > 0) || !(scaleY > 0) || source.step == 0) {
        return 0;
    }
    const std::uint32_t rows = RowsShown(source.height, display.m_height, scaleY);
    const std::uint32_t columns =
        TruncateToUInt32(std::min(display.m_width - 1.0, source.width / scaleX));
    if (rows == 0 || columns == 0) {
        return 0;
    }
    const std::uint32_t top = (display.m_height - rows) / 2;
    std::uint8_t* const picture = display.m_data + std::size_t{display.m_width} * top;
    const Axis across = {std::trunc(FirstSource(cx, display.m_width, scaleX, source.width)), scaleX,
                         columns};
    const Axis up = {FirstSource(cy, display.m_height, scaleY, source.height), scaleY, rows};
    const Filled filled = DrawInHalves(source, lut, across, up, picture, display.m_width);
    RepeatIntoEmptyBlocks(picture, display.m_width, rows, columns, filled.rows, filled.columns,
                          lut[0]);
    return rows * columns;
}

// Both halves write other rows and read what does not change. Without a second thread this one
// draws all of it.
template <typename Sample>
Filled DrawInHalves(const Source<Sample>& source, const std::uint8_t* lut, Axis across, Axis up,
                    std::uint8_t* picture, std::uint32_t lineLength)
{
    if (std::uint64_t{across.count} * up.count < PixelsForTwoThreads ||
        std::thread::hardware_concurrency() < 2) {
        return DrawRows(source, lut, across, up, picture, lineLength);
    }
    Axis lower = up, upper = up;
    lower.count = up.count / 2;
    upper.count = up.count - lower.count;
    for (std::uint32_t row = 0; row < lower.count; ++row) {
        upper.start += up.scale; // added up as the rows do it, which rounds
    }
    Filled ofUpper{};
    const auto drawUpper = [&] {
        ofUpper = DrawRows(source, lut, across, upper,
                           picture + std::size_t{lineLength} * lower.count, lineLength);
    };
    std::thread helper;
    try {
        helper = std::thread(drawUpper);
    } catch (const std::exception&) {
        drawUpper();
    }
    Filled filled = DrawRows(source, lut, across, lower, picture, lineLength);
    if (helper.joinable()) {
        helper.join();
    }
    filled.rows += ofUpper.rows;
    return filled;
}

template <typename Sample>
Filled DrawRows(const Source<Sample>& source, const std::uint8_t* lut, Axis across, Axis up,
                std::uint8_t* picture, std::uint32_t lineLength) noexcept
{
    const bool fewRows = up.scale + 2 <= static_cast<double>(MaxTaps) * source.step;
    double x = across.start;
    Filled filled{};
    while (filled.columns < across.count) {
        const Block block = BlockAt(x, across.scale, source.width);
        if (block.IsEmpty()) {
            break;
        }
        Strip strip;
        if (fewRows) {
            x = FillStrip(strip, x, across.scale, across.count - filled.columns, source.width,
                          source.step);
        }
        std::uint8_t* line = picture + filled.columns;
        double y = up.start;
        Block former{0, 0};
        for (filled.rows = 0; filled.rows < up.count; ++filled.rows) {
            const Block blockRows = BlockAt(y, up.scale, source.height);
            if (blockRows.IsEmpty()) {
                break;
            }
            if (strip.columns == 0) {
                *line = DrawBlock(source, blockRows, block, lut);
            } else if (blockRows.lo == former.lo && blockRows.hi == former.hi) {
                std::memcpy(line, line - lineLength, strip.columns);
            } else {
                DrawStrip(strip, source, blockRows, lut, line);
            }
            former = blockRows;
            line += lineLength;
            y += up.scale;
        }
        if (strip.columns == 0) {
            x += across.scale;
        }
        filled.columns += std::max(strip.columns, 1u);
    }
    return filled;
}

// Both axes use the larger of the two, so that the aspect ratio stays.
double ScaleOf(std::uint32_t sourceWidth, std::uint32_t sourceHeight, std::uint32_t displayWidth,
               std::uint32_t displayHeight, double zoom)
{
    return std::max(static_cast<double>(sourceWidth) / displayWidth / zoom,
                    static_cast<double>(sourceHeight) / displayHeight / zoom);
}

std::uint32_t RowsShown(std::uint32_t sourceHeight, std::uint32_t displayHeight, double scale)
{
    return TruncateToUInt32(std::min(static_cast<double>(displayHeight), sourceHeight / scale));
}

// Where the picture starts in the source, so that the center stands in the middle of the display
// as far as the source reaches.
double FirstSource(std::uint32_t center, std::uint32_t displayExtent, double scale,
                   std::uint32_t extent)
{
    const double start = center - displayExtent * scale / 2;
    return std::min(start > 0 ? start : 0, extent - scale);
}

Block BlockAt(double start, double scale, std::uint32_t extent)
{
    const std::uint32_t lo = TruncateToUInt32(start);
    std::uint32_t hi = TruncateToUInt32(start + scale + 0.5);
    if (hi == lo) {
        hi += 1;
    }
    return {lo, std::min(hi, extent)};
}

// Takes as many of the columns as a strip holds: their blocks start at x, x + scale, ... and are
// not empty. Returns where the next column starts. Takes none when the first block is too large.
double FillStrip(Strip& strip, double x, double scale, std::uint32_t columns,
                 std::uint32_t sourceWidth, std::uint32_t step)
{
    strip.first = BlockAt(x, scale, sourceWidth).lo;
    while (strip.columns < std::min(columns, Strip::MaxColumns)) {
        const Block block = BlockAt(x, scale, sourceWidth);
        if (block.IsEmpty() || block.hi - strip.first > Strip::MaxSpan ||
            block.Taps(step) > MaxTaps) {
            break;
        }
        Strip::Group& group = strip.groups[block.Taps(step)];
        group.places[group.count] = static_cast<std::uint16_t>(strip.columns);
        group.starts[group.count] = static_cast<std::uint16_t>(block.lo - strip.first);
        ++group.count;
        strip.span = block.hi - strip.first;
        ++strip.columns;
        x += scale;
    }
    return x;
}

template <typename Sample>
void DrawStrip(const Strip& strip, const Source<Sample>& source, Block rows,
               const std::uint8_t* lut, std::uint8_t* line)
{
    const std::uint32_t rowTaps = rows.Taps(source.step);
    std::uint32_t columnSums[Strip::MaxSpan];
    SumRows(source.Row(rows.lo) + strip.first, std::size_t{source.width} * source.step, rowTaps,
            strip.span, columnSums);
    const Strip::Group* const groups = strip.groups;
    DrawColumns<1>(groups[1], columnSums, source.step, rowTaps, lut, line);
    DrawColumns<2>(groups[2], columnSums, source.step, rowTaps, lut, line);
    DrawColumns<3>(groups[3], columnSums, source.step, rowTaps, lut, line);
    DrawColumns<4>(groups[4], columnSums, source.step, rowTaps, lut, line);
    DrawColumns<5>(groups[5], columnSums, source.step, rowTaps, lut, line);
    static_assert(MaxTaps == 5);
}

// sums[x] = samples[x] + samples[x + stride] + ... of Rows rows. All rows are read side by side:
// a processor fetches several streams at once sooner than one after the other.
template <std::uint32_t Rows, typename Sample>
TARNTEST_IN_CLONES void SumRowsOf(const Sample* samples, std::size_t stride, std::uint32_t span,
                                  std::uint32_t* __restrict sums)
{
    for (std::uint32_t x = 0; x < span; ++x) {
        std::uint32_t sum = samples[x];
        for (std::uint32_t row = 1; row < Rows; ++row) {
            sum += samples[x + row * stride];
        }
        sums[x] = sum;
    }
}

template <typename Sample>
TARNTEST_IN_CLONES void SumRowsOf(const Sample* samples, std::size_t stride, std::uint32_t rows,
                                  std::uint32_t span, std::uint32_t* sums)
{
    switch (rows) {
    case 1:
        return SumRowsOf<1>(samples, stride, span, sums);
    case 2:
        return SumRowsOf<2>(samples, stride, span, sums);
    case 3:
        return SumRowsOf<3>(samples, stride, span, sums);
    case 4:
        return SumRowsOf<4>(samples, stride, span, sums);
    default:
        return SumRowsOf<MaxTaps>(samples, stride, span, sums);
    }
}

TARNTEST_VECTOR_CLONES
void SumRows(const std::uint8_t* samples, std::size_t stride, std::uint32_t rows,
             std::uint32_t span, std::uint32_t* sums)
{
    SumRowsOf(samples, stride, rows, span, sums);
}

TARNTEST_VECTOR_CLONES
void SumRows(const std::uint16_t* samples, std::size_t stride, std::uint32_t rows,
             std::uint32_t span, std::uint32_t* sums)
{
    SumRowsOf(samples, stride, rows, span, sums);
}

// pixel = lut[sum / n mod 4096] of the Taps columns x, x + step, ...
//
// The division is a multiplication with M = 2^31 / n rounded up: sum M / 2^31 is sum / n and at
// most sum / 2^31 more, which reaches no other whole number, for sum n < 2^31.
template <std::uint32_t Taps>
void DrawColumns(const Strip::Group& group, const std::uint32_t* columnSums, std::uint32_t step,
                 std::uint32_t rows, const std::uint8_t* lut, std::uint8_t* line)
{
    constexpr std::uint64_t Samples = MaxTaps * MaxTaps;
    static_assert(Samples * std::numeric_limits<std::uint16_t>::max() * Samples < 1u << 31);
    const std::uint64_t n = std::uint64_t{Taps} * rows;
    const std::uint64_t reciprocal = ((1u << 31) + n - 1) / n;
    const std::uint32_t count = group.count; // a pixel written might be any byte, also of this
    for (std::uint32_t i = 0; i < count; ++i) {
        const std::uint32_t* const block = columnSums + group.starts[i];
        std::uint64_t sum = block[0];
        for (std::uint32_t tap = 1; tap < Taps; ++tap) {
            sum += block[std::size_t{tap} * step];
        }
        line[group.places[i]] = lut[(sum * reciprocal >> 31) % 4096];
    }
}

template <typename Sample>
std::uint8_t DrawBlock(const Source<Sample>& source, Block rows, Block columns,
                       const std::uint8_t* lut)
{
    std::uint64_t sum = 0, n = 0;
    for (std::uint64_t y = rows.lo; y < rows.hi; y += source.step) {
        for (std::uint64_t x = columns.lo; x < columns.hi; x += source.step) {
            sum += source.Row(static_cast<std::uint32_t>(y))[x];
            ++n;
        }
    }
    return lut[sum / n % 4096];
}

// Empty blocks repeat the pixel before them; gray is what stands before the first one.
void RepeatIntoEmptyBlocks(std::uint8_t* picture, std::uint32_t lineLength, std::uint32_t rows,
                           std::uint32_t columns, std::uint32_t filledRows,
                           std::uint32_t filledColumns, std::uint8_t gray)
{
    for (std::uint32_t row = 0; row < rows; ++row) {
        std::uint8_t* line = picture + std::size_t{lineLength} * row;
        const std::uint32_t filled = row < filledRows ? filledColumns : 0;
        if (filled > 0) {
            gray = line[filled - 1];
        }
        std::memset(line + filled, gray, columns - filled);
    }
}

} // namespace
