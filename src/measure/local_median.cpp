// Sliding sums rule most pixels out; the rest are compared with their median.
#include "measure/local_median.h"

#include <algorithm>
#include <cmath>

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

// Sums of each column over the rows of the window, moved down row by row.
class ColumnSums
{
public:
    explicit ColumnSums(const FloatImage& image)
        : sums(image.width), squares(image.width), m_image(image)
    {
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
        for (std::uint32_t x = 0; x < m_image.width; ++x) {
            const double value = row[x];
            sums[x] += sign * value;
            squares[x] += sign * value * value;
        }
    }

    const FloatImage& m_image;
    Span m_rows = {0, 0};
};

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
                   const std::function<void(std::size_t, double, double)>& visit)
{
    const std::uint32_t radius = window / 2;
    ColumnSums columns(image);
    std::vector<float> values;
    for (std::uint32_t y = 0; y < image.height; ++y) {
        const Span rows = Around(y, radius, image.height);
        columns.MoveTo(rows);
        double sum = 0, squares = 0;
        Span summed = {0, 0};
        for (std::uint32_t x = 0; x < image.width; ++x) {
            const Span around = Around(x, radius, image.width);
            for (; summed.end < around.end; ++summed.end) {
                sum += columns.sums[summed.end];
                squares += columns.squares[summed.end];
            }
            for (; summed.first < around.first; ++summed.first) {
                sum -= columns.sums[summed.first];
                squares -= columns.squares[summed.first];
            }
            const double count = static_cast<double>(around.Count()) * rows.Count();
            const double mean = sum / count;
            const double slack = RoundingShare * squares / count;
            const double deviation =
                std::sqrt(std::max(0.0, squares / count - mean * mean) + slack);
            const std::size_t i = std::size_t{y} * image.width + x;
            const double value = image.values[i];
            if (value >= low * (mean + deviation) && value <= high * (mean - deviation)) {
                continue;
            }
            const double median = MedianAround(image, around, rows, values);
            if (value < low * median || value > high * median) {
                visit(i, value, median);
            }
        }
    }
}
