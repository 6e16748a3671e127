// What cells of pixels have in common rules out most of a picture; what is left is compared with
// its surroundings. One pass from the top sums up a row of small cells, of which those of the wide
// rule are made, and judges the row above, whose neighbors are then known.
#include "measure/local_median.h"

#include "image/vector_clones.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <limits>

namespace {

// Of a small cell, in pixels: as wide as a vector. Both are the narrow window's radius at least.
constexpr std::uint32_t CellWidth = 8, CellHeight = 4;
// Small cells of one of the wide rule, whose sides are the wide window's radius at least.
constexpr std::uint32_t WideAcross = 2, WideDown = 3;

struct Span
{
    std::uint32_t first, end;
    std::uint32_t Count() const { return end - first; }
};

Span Around(Span span, std::uint32_t radius, std::uint32_t extent)
{
    return {span.first - std::min(span.first, radius), std::min(span.end + radius, extent)};
}

Span Part(std::uint32_t index, std::uint32_t size, std::uint32_t extent)
{
    return {index * size, std::min((index + 1) * size, extent)};
}

// Of the windows around the pixels of the span.
double SmallestWindow(Span span, std::uint32_t radius, std::uint32_t extent)
{
    return std::min(Around({span.first, span.first + 1}, radius, extent).Count(),
                    Around({span.end - 1, span.end}, radius, extent).Count());
}

// Cells of one row, with an empty one before the first and one behind the last. The sums are those
// of the differences from the mean response. Values that are off by more than a quarter of the
// cell's reference are left out and counted apart: one of them would spoil the bounds of all around
// it.
struct CellRow
{
    explicit CellRow(std::size_t cells);
    void Clear();
    // Each of these cells takes in so many small ones.
    void Add(const CellRow& small, std::uint32_t across);

    std::vector<double> counts, sums, squares, leftOut;
    std::vector<double> least, most; // with those left out
};

constexpr float LargestShare = 0.25f; // that is not left out
// A sum of 4 and then 8 values of single precision is off by less than this share of their sizes.
constexpr double FloatRounding = 16 * 6e-8;

// What a cell and its neighbors say about the median m of each window around one of its pixels.
//
// Half of a window's n pixels are as far from any value c as m is, or farther, all but k of them
// not left out: the squares of the differences from c, of the window or of more pixels, sum up to
// (n / 2 - k) (m - c)^2 at least.
struct MedianBounds
{
    double center;  // c, the mean of those not left out
    double squares; // their sum, or more
    double far;     // n / 2 - k of the smallest window

    double Reach() const
    {
        return far > 0 ? std::sqrt(squares / far) : std::numeric_limits<double>::infinity();
    }
};

// Of cell i, from the sums of each cell and those above and below it.
TARNTEST_IN_CLONES MedianBounds BoundsAt(std::size_t i, const double* counts, const double* sums,
                                         const double* squares, const double* leftOut, double mean,
                                         double smallestWindow)
{
    const double count = counts[i - 1] + counts[i] + counts[i + 1];
    const double sum = sums[i - 1] + sums[i] + sums[i + 1];
    const double shift = sum / count, center = mean + shift;
    // Of the sum, whose summands are at most a quarter of their values, and of all doubles.
    const double rounding = std::abs(shift) * FloatRounding + center * 1e-12;
    return {center,
            squares[i - 1] + squares[i] + squares[i + 1] - sum * shift + count * center * rounding,
            smallestWindow / 2 - (leftOut[i - 1] + leftOut[i] + leftOut[i + 1])};
}

// One rule on the whole picture.
class RuleCheck
{
public:
    RuleCheck(const Response& response, const OutlierRule& rule, const OutlierVisit& visit,
              std::uint32_t cellWidth, std::uint32_t cellHeight);

    // The row of cells to be summed up next, which is empty.
    CellRow& Next() { return m_rows[2]; }
    // Next is complete, and the row above can be judged.
    void Advance();

private:
    void JudgeRow(std::uint32_t row);
    void JudgeCell(Span columns, Span rows, const MedianBounds& bounds);

    const Response& m_response;
    const OutlierRule m_rule;
    const OutlierVisit& m_visit;
    const std::uint32_t m_radius, m_cellWidth, m_cellHeight;
    const std::size_t m_columns;
    std::uint32_t m_advances = 0;
    std::array<CellRow, 3> m_rows;      // above, judged, below
    CellRow m_stacks;                   // the sums of the three
    std::vector<double> m_windowWidths; // of the smallest window around a pixel of the cell
    std::vector<double> m_isOpen;       // not 0 when the cell may have an outlier
    std::vector<float> m_patch;         // a cell and its surroundings
    Surroundings m_around;
};

// Sums of the differences from the cell's reference, count and extremes.
struct SmallCell
{
    float sum, squares, kept, least, most;
};

// Sums up rows of small cells.
class CellSums
{
public:
    explicit CellSums(const Response& response);
    void Fill(std::uint32_t top, CellRow& cells);

private:
    const Response& m_response;
    const std::size_t m_columns, m_width; // of whole cells
    std::vector<float> m_references;      // a value of each cell, of its first ones the middle
    std::vector<float> m_values[CellHeight];
    std::vector<SmallCell> m_cells;
};

std::uint32_t CountNotAbove(const float* values, std::size_t count, double share, double limit);
std::uint32_t CountNotBelow(const float* values, std::size_t count, double share, double limit);

} // namespace

// Of many values, most are outside of bounds that a sample gives, and are only counted.
double MedianOf(std::vector<float>& values)
{
    constexpr std::size_t Few = 10000, SampleSize = 1000;
    const std::size_t rank = values.size() / 2; // of the larger of two middle ones
    std::size_t below = 0;
    std::vector<float> middle;
    if (values.size() > Few) {
        std::vector<float> sample;
        for (std::size_t i = 0; i < SampleSize; ++i) {
            sample.push_back(values[i * (values.size() / SampleSize)]);
        }
        std::ranges::sort(sample);
        const float low = sample[SampleSize * 45 / 100], high = sample[SampleSize * 55 / 100];
        middle.resize(values.size());
        std::size_t kept = 0;
        for (const float value : values) {
            below += value < low ? 1 : 0;
            middle[kept] = value;
            const unsigned isNotBelow = value >= low ? 1 : 0, isNotAbove = value <= high ? 1 : 0;
            kept += isNotBelow & isNotAbove;
        }
        middle.resize(kept);
    }
    const bool isBetween = below < rank && rank < below + middle.size();
    if (!isBetween) {
        below = 0;
    }
    std::vector<float>& candidates = isBetween ? middle : values;
    const auto found = candidates.begin() + static_cast<std::ptrdiff_t>(rank - below);
    std::nth_element(candidates.begin(), found, candidates.end());
    if (values.size() % 2 != 0) {
        return *found;
    }
    return (double{*found} + *std::max_element(candidates.begin(), found)) * 0.5;
}

// The median is one of those counted when they are more than half, and none when they are less.
// Exactly half of them leave it between two.
bool Surroundings::MedianIsAbove(double value, double share) const
{
    const std::size_t twice =
        std::size_t{2} * CountNotAbove(values.data(), values.size(), share, value);
    std::vector<float> sorted;
    return twice < values.size() ||
           (twice == values.size() && share * MedianOf(sorted = values) > value);
}

bool Surroundings::MedianIsBelow(double value, double share) const
{
    const std::size_t twice =
        std::size_t{2} * CountNotBelow(values.data(), values.size(), share, value);
    std::vector<float> sorted;
    return twice < values.size() ||
           (twice == values.size() && share * MedianOf(sorted = values) < value);
}

void VisitOutliers(const Response& response, const OutlierRule& narrow,
                   const OutlierVisit& visitNarrow, const OutlierRule& wide,
                   const OutlierVisit& visitWide)
{
    CellSums sums(response);
    RuleCheck narrowCheck(response, narrow, visitNarrow, CellWidth, CellHeight);
    RuleCheck wideCheck(response, wide, visitWide, CellWidth * WideAcross, CellHeight * WideDown);
    std::uint32_t rows = 0;
    for (std::uint32_t top = 0; top < response.height; top += CellHeight) {
        sums.Fill(top, narrowCheck.Next());
        wideCheck.Next().Add(narrowCheck.Next(), WideAcross);
        narrowCheck.Advance();
        ++rows;
        if (rows % WideDown == 0) {
            wideCheck.Advance();
        }
    }
    if (rows % WideDown != 0) {
        wideCheck.Advance();
    }
    // Below the last row is nothing.
    narrowCheck.Advance();
    wideCheck.Advance();
}

namespace {

TARNTEST_VECTOR_CLONES
std::uint32_t CountNotAbove(const float* values, std::size_t count, double share, double limit)
{
    std::uint32_t found = 0;
    for (std::size_t i = 0; i < count; ++i) {
        found += share * values[i] <= limit ? 1 : 0;
    }
    return found;
}

TARNTEST_VECTOR_CLONES
std::uint32_t CountNotBelow(const float* values, std::size_t count, double share, double limit)
{
    std::uint32_t found = 0;
    for (std::size_t i = 0; i < count; ++i) {
        found += share * values[i] >= limit ? 1 : 0;
    }
    return found;
}

CellRow::CellRow(std::size_t cells)
{
    for (std::vector<double>* const field : {&counts, &sums, &squares, &leftOut, &least, &most}) {
        field->resize(cells + 2);
    }
    Clear();
}

void CellRow::Clear()
{
    for (std::vector<double>* const field : {&counts, &sums, &squares, &leftOut}) {
        std::ranges::fill(*field, 0.0);
    }
    std::ranges::fill(least, std::numeric_limits<double>::infinity());
    std::ranges::fill(most, -std::numeric_limits<double>::infinity());
}

void CellRow::Add(const CellRow& small, std::uint32_t across)
{
    for (std::size_t i = 1; i + 1 < small.counts.size(); ++i) {
        const std::size_t to = (i - 1) / across + 1;
        counts[to] += small.counts[i];
        sums[to] += small.sums[i];
        squares[to] += small.squares[i];
        leftOut[to] += small.leftOut[i];
        least[to] = std::min(least[to], small.least[i]);
        most[to] = std::max(most[to], small.most[i]);
    }
}

CellSums::CellSums(const Response& response)
    : m_response(response),
      m_columns((std::size_t{response.width} + CellWidth - 1) / CellWidth),
      m_width(m_columns * CellWidth),
      m_references(m_columns),
      m_cells(m_columns)
{
    for (std::vector<float>& row : m_values) {
        row.resize(m_width);
    }
}

// Vectors by name, because compilers make branches of the choice which values are left out.
TARNTEST_VECTOR_CLONES
void SumCells(std::size_t columns, const float* const* rows, const float* references,
              SmallCell* cells)
{
    using Floats = float __attribute__((vector_size(CellWidth * sizeof(float))));
    using Bits = std::int32_t __attribute__((vector_size(CellWidth * sizeof(float))));
    for (std::size_t i = 0; i < columns; ++i) {
        const Floats reference = Floats{} + references[i];
        const Floats limit = reference * reference * (LargestShare * LargestShare);
        Floats sums[2] = {}, extremes[2] = {-reference, reference}; // the least one negated
        Bits kept = {};
        for (std::uint32_t y = 0; y < CellHeight; ++y) {
            Floats values;
            std::memcpy(&values, rows[y] + i * CellWidth, sizeof values);
            const Floats off = values - reference;
            const Bits isKept = off * off <= limit;
            const Floats difference =
                reinterpret_cast<Floats>(reinterpret_cast<Bits>(off) & isKept);
            kept -= isKept;
            sums[0] += difference;
            sums[1] += difference * difference;
            extremes[0] = -values > extremes[0] ? -values : extremes[0];
            extremes[1] = values > extremes[1] ? values : extremes[1];
        }
        for (Floats& sum : sums) {
            sum += __builtin_shufflevector(sum, sum, 4, 5, 6, 7, 0, 1, 2, 3);
            sum += __builtin_shufflevector(sum, sum, 2, 3, 0, 1, 6, 7, 4, 5);
            sum += __builtin_shufflevector(sum, sum, 1, 0, 3, 2, 5, 4, 7, 6);
        }
        kept += __builtin_shufflevector(kept, kept, 4, 5, 6, 7, 0, 1, 2, 3);
        kept += __builtin_shufflevector(kept, kept, 2, 3, 0, 1, 6, 7, 4, 5);
        kept += __builtin_shufflevector(kept, kept, 1, 0, 3, 2, 5, 4, 7, 6);
        for (Floats& extreme : extremes) {
            Floats other = __builtin_shufflevector(extreme, extreme, 4, 5, 6, 7, 0, 1, 2, 3);
            extreme = extreme > other ? extreme : other;
            other = __builtin_shufflevector(extreme, extreme, 2, 3, 0, 1, 6, 7, 4, 5);
            extreme = extreme > other ? extreme : other;
            other = __builtin_shufflevector(extreme, extreme, 1, 0, 3, 2, 5, 4, 7, 6);
            extreme = extreme > other ? extreme : other;
        }
        cells[i] = {sums[0][0], sums[1][0], static_cast<float>(kept[0]), -extremes[0][0],
                    extremes[1][0]};
    }
}

// Where the picture ends within a cell, the cell is filled up with its reference, which changes no
// sum. That is not below 0, so that all but outliers are above 0.
void CellSums::Fill(std::uint32_t top, CellRow& cells)
{
    const std::uint32_t height = std::min(m_response.height - top, CellHeight);
    const float* rows[CellHeight];
    for (std::uint32_t y = 0; y < CellHeight; ++y) {
        rows[y] = m_values[y].data();
        if (y < height) {
            m_response.Compute(m_response.IndexOf(0, top + y), m_response.width,
                               m_values[y].data());
        }
    }
    for (std::size_t i = 0; i < m_columns; ++i) {
        const std::size_t x = i * CellWidth;
        const float* const first = &m_values[0][x];
        const float middle = std::max(std::min(first[0], first[1]),
                                      std::min(std::max(first[0], first[1]), first[2]));
        m_references[i] = std::max(x + 2 < m_response.width ? middle : first[0], 0.f);
    }
    for (std::uint32_t y = height; y < CellHeight; ++y) {
        for (std::size_t x = 0; x < m_width; ++x) {
            m_values[y][x] = m_references[x / CellWidth];
        }
    }
    for (std::uint32_t y = 0; y < height; ++y) {
        std::fill(m_values[y].begin() + m_response.width, m_values[y].end(), m_references.back());
    }
    SumCells(m_columns, rows, m_references.data(), m_cells.data());
    for (std::size_t i = 0; i < m_columns; ++i) {
        const SmallCell& cell = m_cells[i];
        const double inPicture = static_cast<double>(
            std::min<std::size_t>(m_response.width - i * CellWidth, CellWidth) * height);
        const double leftOut = CellWidth * CellHeight - cell.kept, count = inPicture - leftOut;
        const double reference = m_references[i], shift = reference - m_response.mean;
        cells.counts[i + 1] = count;
        cells.sums[i + 1] = cell.sum + count * shift;
        cells.squares[i + 1] = cell.squares * (1 + FloatRounding) + 2 * shift * cell.sum +
                               count * shift * shift +
                               count * std::abs(shift) * reference * FloatRounding;
        cells.leftOut[i + 1] = leftOut;
        cells.least[i + 1] = cell.least;
        cells.most[i + 1] = cell.most;
    }
}

RuleCheck::RuleCheck(const Response& response, const OutlierRule& rule, const OutlierVisit& visit,
                     std::uint32_t cellWidth, std::uint32_t cellHeight)
    : m_response(response),
      m_rule(rule),
      m_visit(visit),
      m_radius(rule.window / 2),
      m_cellWidth(cellWidth),
      m_cellHeight(cellHeight),
      m_columns((std::size_t{response.width} + cellWidth - 1) / cellWidth),
      m_rows{CellRow(m_columns), CellRow(m_columns), CellRow(m_columns)},
      m_stacks(m_columns),
      m_windowWidths(m_columns + 2),
      m_isOpen(m_columns + 2)
{
    for (std::uint32_t i = 0; i < m_columns; ++i) {
        m_windowWidths[i + 1] =
            SmallestWindow(Part(i, cellWidth, response.width), m_radius, response.width);
    }
}

void RuleCheck::Advance()
{
    if (m_advances > 0 && m_visit) {
        JudgeRow(m_advances - 1);
    }
    ++m_advances;
    std::swap(m_rows[0], m_rows[1]);
    std::swap(m_rows[1], m_rows[2]);
    m_rows[2].Clear();
}

TARNTEST_VECTOR_CLONES
void AddThree(std::size_t count, const double* a, const double* b, const double* c,
              double* __restrict sums)
{
    for (std::size_t i = 0; i < count; ++i) {
        sums[i] = a[i] + b[i] + c[i];
    }
}

// Compares squares, because a square root is no vector operation to compilers.
TARNTEST_VECTOR_CLONES
void FindOpenCells(std::size_t columns, const double* counts, const double* sums,
                   const double* squares, const double* leftOut, const double* least,
                   const double* most, const double* windowWidths, double windowHeight, double mean,
                   double low, double high, double* __restrict isOpen)
{
    const double perLow = 1 / low, perHigh = 1 / high;
    for (std::size_t i = 1; i <= columns; ++i) {
        const MedianBounds bounds =
            BoundsAt(i, counts, sums, squares, leftOut, mean, windowWidths[i] * windowHeight);
        const double above = least[i] * perLow - bounds.center;
        const double below = bounds.center - most[i] * perHigh;
        isOpen[i] = (least[i] > 0 ? 0.0 : 1.0) + (bounds.far > 0 ? 0.0 : 1.0) +
                    (above > 0 ? 0.0 : 1.0) + (below > 0 ? 0.0 : 1.0) +
                    (above * above * bounds.far > bounds.squares ? 0.0 : 1.0) +
                    (below * below * bounds.far > bounds.squares ? 0.0 : 1.0);
    }
}

void RuleCheck::JudgeRow(std::uint32_t row)
{
    using Field = std::vector<double> CellRow::*;
    for (const Field field :
         {&CellRow::counts, &CellRow::sums, &CellRow::squares, &CellRow::leftOut}) {
        AddThree(m_columns + 2, (m_rows[0].*field).data(), (m_rows[1].*field).data(),
                 (m_rows[2].*field).data(), (m_stacks.*field).data());
    }
    const Span rows = Part(row, m_cellHeight, m_response.height);
    const double windowHeight = SmallestWindow(rows, m_radius, m_response.height);
    const double *const counts = m_stacks.counts.data(), *const sums = m_stacks.sums.data();
    const double *const squares = m_stacks.squares.data(), *const leftOut = m_stacks.leftOut.data();
    FindOpenCells(m_columns, counts, sums, squares, leftOut, m_rows[1].least.data(),
                  m_rows[1].most.data(), m_windowWidths.data(), windowHeight, m_response.mean,
                  m_rule.low, m_rule.high, m_isOpen.data());
    for (std::size_t i = 1; i <= m_columns; ++i) {
        if (m_isOpen[i] != 0) {
            JudgeCell(Part(static_cast<std::uint32_t>(i - 1), m_cellWidth, m_response.width), rows,
                      BoundsAt(i, counts, sums, squares, leftOut, m_response.mean,
                               m_windowWidths[i] * windowHeight));
        }
    }
}

void RuleCheck::JudgeCell(Span columns, Span rows, const MedianBounds& bounds)
{
    const Span wide = Around(columns, m_radius, m_response.width);
    const Span tall = Around(rows, m_radius, m_response.height);
    m_patch.resize(std::size_t{wide.Count()} * tall.Count());
    const auto inPatch = [&](std::uint32_t x, std::uint32_t y) {
        return m_patch.begin() + (y - tall.first) * wide.Count() + (x - wide.first);
    };
    for (std::uint32_t y = tall.first; y < tall.end; ++y) {
        m_response.Compute(m_response.IndexOf(wide.first, y), wide.Count(),
                           &*inPatch(wide.first, y));
    }
    const double reach = bounds.Reach();
    const double least = m_rule.low * (bounds.center + reach);
    const double most = m_rule.high * (bounds.center - reach);
    for (std::uint32_t y = rows.first; y < rows.end; ++y) {
        for (std::uint32_t x = columns.first; x < columns.end; ++x) {
            const double value = *inPatch(x, y);
            if (value > 0 && value >= least && value <= most) {
                continue;
            }
            if (value > 0) {
                const Span across = Around({x, x + 1}, m_radius, m_response.width);
                const Span down = Around({y, y + 1}, m_radius, m_response.height);
                m_around.values.resize(std::size_t{across.Count()} * down.Count());
                auto to = m_around.values.begin();
                for (std::uint32_t row = down.first; row < down.end; ++row) {
                    to = std::copy_n(inPatch(across.first, row), across.Count(), to);
                }
            }
            if (value <= 0 || m_around.MedianIsAbove(value, m_rule.low) ||
                m_around.MedianIsBelow(value, m_rule.high)) {
                m_visit(m_response.IndexOf(x, y), value, m_around);
            }
        }
    }
}

} // namespace
