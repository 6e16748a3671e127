// Extremes of cells rule out most of a picture and sliding sums most of the rest; what is left is
// compared with its median.
#include "measure/local_median.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

// Sliding sums are off by some last bits of their largest value.
constexpr double RoundingShare = 1e-9;

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

// The smallest and largest value of each cell of side x side pixels. The side is the radius of the
// window at least.
struct Cells
{
    std::uint32_t side, columns, rows;
    std::vector<float> smallest, largest;

    Cells(const FloatImage& image, std::uint32_t cellSide);
    // Whether some pixel of the cell could be an outlier: the values of its window, and so their
    // median, lie between the extremes of the cell and its neighbors.
    bool MayHoldOutliers(std::uint32_t column, std::uint32_t row, double low, double high) const;
    Span PixelColumns(std::uint32_t first, std::uint32_t end, const FloatImage& image) const
    {
        return {first * side, std::min(end * side, image.width)};
    }
};

Cells::Cells(const FloatImage& image, std::uint32_t cellSide)
    : side(cellSide),
      columns((image.width + side - 1) / side),
      rows((image.height + side - 1) / side)
{
    std::vector<float> least(image.width), most(image.width); // of each pixel column in the cells
    for (std::uint32_t top = 0; top < image.height; top += side) {
        const float* row = image.values + std::size_t{top} * image.width;
        std::copy_n(row, image.width, least.begin());
        std::copy_n(row, image.width, most.begin());
        for (std::uint32_t y = top + 1; y < std::min(top + side, image.height); ++y) {
            row += image.width;
            for (std::uint32_t x = 0; x < image.width; ++x) {
                least[x] = row[x] < least[x] ? row[x] : least[x];
                most[x] = row[x] > most[x] ? row[x] : most[x];
            }
        }
        for (std::uint32_t column = 0; column < columns; ++column) {
            const auto [first, end] = PixelColumns(column, column + 1, image);
            smallest.push_back(*std::min_element(&least[first], least.data() + end));
            largest.push_back(*std::max_element(&most[first], most.data() + end));
        }
    }
}

bool Cells::MayHoldOutliers(std::uint32_t column, std::uint32_t row, double low, double high) const
{
    float least = std::numeric_limits<float>::infinity(), most = -least;
    const Span across = Around(column, 1, columns), down = Around(row, 1, rows);
    for (std::uint32_t y = down.first; y < down.end; ++y) {
        for (std::uint32_t x = across.first; x < across.end; ++x) {
            least = std::min(least, smallest[std::size_t{y} * columns + x]);
            most = std::max(most, largest[std::size_t{y} * columns + x]);
        }
    }
    return !(least > 0) || least < low * most || most > high * least;
}

// Sums of each column over the rows of the window, moved down row by row.
class ColumnSums
{
public:
    ColumnSums(const FloatImage& image, Span columns, Span rows)
        : sums(image.width),
          squares(image.width),
          m_image(image),
          m_columns(columns),
          m_rows{rows.first, rows.first}
    {
        MoveTo(rows);
    }

    void MoveTo(Span rows)
    {
        for (; m_rows.end < rows.end; ++m_rows.end) {
            Add(m_rows.end, 1);
        }
        for (; m_rows.first < rows.first; ++m_rows.first) {
            Add(m_rows.first, -1);
        }
    }

    std::vector<double> sums, squares;

private:
    void Add(std::uint32_t y, double sign)
    {
        const float* const row = m_image.values + std::size_t{y} * m_image.width;
        for (std::uint32_t x = m_columns.first; x < m_columns.end; ++x) {
            const double value = row[x];
            sums[x] += sign * value;
            squares[x] += sign * value * value;
        }
    }

    const FloatImage& m_image;
    Span m_columns, m_rows;
};

struct Limits
{
    std::uint32_t radius;
    double low, high;
};

void VisitOutliersIn(const FloatImage& image, Span columns, Span rows, const Limits& limits,
                     const OutlierVisit& visit)
{
    const Span reach = {Around(columns.first, limits.radius, image.width).first,
                        Around(columns.end - 1, limits.radius, image.width).end};
    ColumnSums columnSums(image, reach, Around(rows.first, limits.radius, image.height));
    std::vector<float> values;
    for (std::uint32_t y = rows.first; y < rows.end; ++y) {
        const Span tall = Around(y, limits.radius, image.height);
        columnSums.MoveTo(tall);
        double sum = 0, squares = 0;
        Span summed = {reach.first, reach.first};
        for (std::uint32_t x = columns.first; x < columns.end; ++x) {
            const Span wide = Around(x, limits.radius, image.width);
            for (; summed.end < wide.end; ++summed.end) {
                sum += columnSums.sums[summed.end];
                squares += columnSums.squares[summed.end];
            }
            for (; summed.first < wide.first; ++summed.first) {
                sum -= columnSums.sums[summed.first];
                squares -= columnSums.squares[summed.first];
            }
            const double share = 1 / (static_cast<double>(wide.Count()) * tall.Count());
            const double mean = sum * share, meanSquare = squares * share;
            const double deviation =
                std::sqrt(std::max(0.0, meanSquare - mean * mean) + RoundingShare * meanSquare);
            const std::size_t i = std::size_t{y} * image.width + x;
            const double value = image.values[i];
            if (value > 0 && value >= limits.low * (mean + deviation) &&
                value <= limits.high * (mean - deviation)) {
                continue;
            }
            if (value > 0 && IsOrdinary(image, wide, tall, value, limits.low, limits.high)) {
                continue;
            }
            const double median = MedianAround(image, wide, tall, values);
            if (value <= 0 || value < limits.low * median || value > limits.high * median) {
                visit(i, value, median);
            }
        }
    }
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
    const Cells cells(image, window / 2 + 2);
    for (std::uint32_t row = 0; row < cells.rows; ++row) {
        const Span rows = {row * cells.side, std::min((row + 1) * cells.side, image.height)};
        for (std::uint32_t column = 0; column < cells.columns; ++column) {
            const std::uint32_t first = column;
            while (column < cells.columns && cells.MayHoldOutliers(column, row, low, high)) {
                ++column;
            }
            if (column > first) {
                VisitOutliersIn(image, cells.PixelColumns(first, column, image), rows,
                                {window / 2, low, high}, visit);
            }
        }
    }
}
