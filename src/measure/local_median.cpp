// What cells of pixels have in common rules out most of a picture; what is left is compared with
// its median.
#include "measure/local_median.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

struct Span
{
    std::uint32_t first, end;
    std::uint32_t Count() const { return end - first; }
};

Span Around(std::uint32_t center, std::uint32_t radius, std::uint32_t extent)
{
    return {center - std::min(center, radius), std::min(center + radius + 1, extent)};
}

double MedianAround(const FloatImage& image, Span columns, Span rows, std::vector<float>& values)
{
    values.clear();
    for (std::uint32_t y = rows.first; y < rows.end; ++y) {
        const float* const row = image.values + std::size_t{y} * image.width;
        values.insert(values.end(), row + columns.first, row + columns.end);
    }
    return MedianOf(values);
}

// Whether more than half of the square is so small, and more than half so large, that its median
// cannot make the value an outlier. Counting is much faster than finding the median.
bool IsOrdinary(const FloatImage& image, Span columns, Span rows, double value, double low,
                double high)
{
    std::uint32_t notAbove = 0, notBelow = 0;
    for (std::uint32_t y = rows.first; y < rows.end; ++y) {
        const float* const row = image.values + std::size_t{y} * image.width;
        for (std::uint32_t x = columns.first; x < columns.end; ++x) {
            notAbove += low * row[x] <= value ? 1 : 0;
            notBelow += high * row[x] >= value ? 1 : 0;
        }
    }
    const std::uint32_t half = columns.Count() * rows.Count() / 2;
    return notAbove > half && notBelow > half;
}

// Sums of a cell's differences from one of its values, so that single precision is enough. Values
// that are off by more than a quarter are left out and counted apart: one of them would spoil the
// bounds of all around it.
struct Cell
{
    double count, reference, sum, squares, leftOut;
    float smallest, largest;
};

// Values that the median of every window around the cell's pixels is sure not to be outside of.
struct MedianBounds
{
    double low, high;
};

// Cells of side x side pixels. The side is the radius of the window at least, so that the windows
// of a cell's pixels lie in it and its neighbors.
class Cells
{
public:
    Cells(const FloatImage& image, std::uint32_t radius);

    std::uint32_t Columns() const { return m_columns; }
    std::uint32_t Rows() const { return m_rows; }
    Span PixelColumns(std::uint32_t column) const { return Part(column, m_image.width); }
    Span PixelRows(std::uint32_t row) const { return Part(row, m_image.height); }
    const Cell& At(std::uint32_t column, std::uint32_t row) const
    {
        return m_cells[std::size_t{row} * m_columns + column];
    }
    MedianBounds BoundsAt(std::uint32_t column, std::uint32_t row) const;

private:
    Span Part(std::uint32_t index, std::uint32_t extent) const
    {
        return {index * m_side, std::min((index + 1) * m_side, extent)};
    }
    void AddRow(std::uint32_t row);
    // Pixels of the smallest window around a pixel of the cell.
    double SmallestWindow(std::uint32_t column, std::uint32_t row) const;

    const FloatImage& m_image;
    const std::uint32_t m_radius, m_side, m_columns, m_rows;
    std::vector<Cell> m_cells;
};

Cells::Cells(const FloatImage& image, std::uint32_t radius)
    : m_image(image),
      m_radius(radius),
      m_side(radius + 2),
      m_columns((image.width + m_side - 1) / m_side),
      m_rows((image.height + m_side - 1) / m_side)
{
    m_cells.reserve(std::size_t{m_columns} * m_rows);
    for (std::uint32_t row = 0; row < m_rows; ++row) {
        AddRow(row);
    }
}

// Sums up the pixel columns first, which vectors do.
void Cells::AddRow(std::uint32_t row)
{
    const std::uint32_t width = m_image.width;
    const Span pixelRows = PixelRows(row);
    const float* const top = m_image.values + std::size_t{pixelRows.first} * width;
    constexpr float LargestShare = 0.25f;
    std::vector<float> least(top, top + width), most = least, reference(width), sums(width),
                                                squares(width), leftOut(width);
    for (std::uint32_t column = 0; column < m_columns; ++column) {
        const Span pixels = PixelColumns(column);
        std::fill_n(&reference[pixels.first], pixels.Count(), top[pixels.first]);
    }
    for (std::uint32_t y = pixelRows.first; y < pixelRows.end; ++y) {
        const float* const values = m_image.values + std::size_t{y} * width;
        for (std::uint32_t x = 0; x < width; ++x) {
            const float off = values[x] - reference[x], limit = reference[x] * LargestShare;
            const bool isLeftOut = off * off > limit * limit;
            const float difference = isLeftOut ? 0 : off;
            leftOut[x] += isLeftOut ? 1.f : 0.f;
            sums[x] += difference;
            squares[x] += difference * difference;
            least[x] = values[x] < least[x] ? values[x] : least[x];
            most[x] = values[x] > most[x] ? values[x] : most[x];
        }
    }
    for (std::uint32_t column = 0; column < m_columns; ++column) {
        const Span pixels = PixelColumns(column);
        Cell cell = {.count = static_cast<double>(pixels.Count()) * pixelRows.Count(),
                     .reference = reference[pixels.first],
                     .sum = 0,
                     .squares = 0,
                     .leftOut = 0,
                     .smallest = least[pixels.first],
                     .largest = most[pixels.first]};
        for (std::uint32_t x = pixels.first; x < pixels.end; ++x) {
            cell.sum += sums[x];
            cell.squares += squares[x];
            cell.leftOut += leftOut[x];
            cell.smallest = std::min(cell.smallest, least[x]);
            cell.largest = std::max(cell.largest, most[x]);
        }
        cell.count -= cell.leftOut;
        m_cells.push_back(cell);
    }
}

// Half of a window's n pixels are as far from any value c as its median m is, or farther, all but k
// of them in the sum: the squares of the differences from c, of a window or of more pixels, sum up
// to (n / 2 - k) (m - c)^2 at least.
MedianBounds Cells::BoundsAt(std::uint32_t column, std::uint32_t row) const
{
    const Span across = Around(column, 1, m_columns), down = Around(row, 1, m_rows);
    double count = 0, sum = 0, leftOut = 0;
    const auto visit = [&](auto use) {
        for (std::uint32_t y = down.first; y < down.end; ++y) {
            for (std::uint32_t x = across.first; x < across.end; ++x) {
                use(At(x, y));
            }
        }
    };
    visit([&](const Cell& cell) {
        count += cell.count;
        sum += cell.count * cell.reference + cell.sum;
        leftOut += cell.leftOut;
    });
    const double far = SmallestWindow(column, row) / 2 - leftOut;
    if (far <= 0) {
        return {-std::numeric_limits<double>::infinity(), std::numeric_limits<double>::infinity()};
    }
    const double center = sum / count;
    // Of a single precision sum of as many values as the cell is high.
    const double rounding = m_side * double{std::numeric_limits<float>::epsilon()};
    double squares = 0;
    visit([&](const Cell& cell) {
        const double shift = cell.reference - center;
        squares += cell.squares + 2 * shift * cell.sum + cell.count * shift * shift;
        squares +=
            rounding * (cell.squares + 2 * std::abs(shift) * std::sqrt(cell.count * cell.squares));
    });
    const double reach = std::sqrt(std::max(0.0, squares) / far) + rounding * std::abs(center);
    return {center - reach, center + reach};
}

double Cells::SmallestWindow(std::uint32_t column, std::uint32_t row) const
{
    const auto smallest = [this](Span pixels, std::uint32_t extent) {
        return static_cast<double>(std::min(Around(pixels.first, m_radius, extent).Count(),
                                            Around(pixels.end - 1, m_radius, extent).Count()));
    };
    return smallest(PixelColumns(column), m_image.width) * smallest(PixelRows(row), m_image.height);
}

} // namespace

double MedianOf(std::vector<float>& values)
{
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    if (values.size() % 2 != 0) {
        return *middle;
    }
    return (double{*middle} + *std::max_element(values.begin(), middle)) * 0.5;
}

void VisitOutliers(const FloatImage& image, std::uint32_t window, double low, double high,
                   const OutlierVisit& visit)
{
    const std::uint32_t radius = window / 2;
    const Cells cells(image, radius);
    std::vector<float> values;
    const auto visitPixel = [&](std::uint32_t x, std::uint32_t y) {
        const std::size_t i = std::size_t{y} * image.width + x;
        const double value = image.values[i];
        const Span wide = Around(x, radius, image.width), tall = Around(y, radius, image.height);
        if (value > 0 && IsOrdinary(image, wide, tall, value, low, high)) {
            return;
        }
        const double median = MedianAround(image, wide, tall, values);
        if (value <= 0 || value < low * median || value > high * median) {
            visit(i, value, median);
        }
    };
    for (std::uint32_t row = 0; row < cells.Rows(); ++row) {
        for (std::uint32_t column = 0; column < cells.Columns(); ++column) {
            const MedianBounds bounds = cells.BoundsAt(column, row);
            const double least = low * bounds.high, most = high * bounds.low;
            const auto isSafe = [&](double value) {
                return value > 0 && value >= least && value <= most;
            };
            const Cell& cell = cells.At(column, row);
            if (isSafe(cell.smallest) && isSafe(cell.largest)) {
                continue;
            }
            const Span across = cells.PixelColumns(column), down = cells.PixelRows(row);
            for (std::uint32_t y = down.first; y < down.end; ++y) {
                for (std::uint32_t x = across.first; x < across.end; ++x) {
                    if (!isSafe(image.values[std::size_t{y} * image.width + x])) {
                        visitPixel(x, y);
                    }
                }
            }
        }
    }
}
