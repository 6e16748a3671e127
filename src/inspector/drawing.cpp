// Draws point by point: the pictures are small.
#include "inspector/drawing.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>

namespace {

constexpr std::uint8_t Black = 0, BarGray = 70, BandGray = 208, White = 255;
constexpr int EdgeReach = 6; // pixels from an edge where a press takes hold of it

int WidthOf(const CImage& picture)
{
    return static_cast<int>(picture.m_width);
}

int HeightOf(const CImage& picture)
{
    return static_cast<int>(picture.m_height);
}

void Put(CImage& picture, int x, int y, std::uint8_t gray)
{
    if (x >= 0 && y >= 0 && x < WidthOf(picture) && y < HeightOf(picture)) {
        picture.m_data[static_cast<std::size_t>(HeightOf(picture) - 1 - y) * picture.m_width +
                       static_cast<std::size_t>(x)] = gray;
    }
}

void PutMark(CImage& picture, int x, int y)
{
    Put(picture, x, y, (x + y) / 2 % 2 == 0 ? Black : White);
}

// From row y down to the bottom.
void FillColumn(CImage& picture, int x, int y, std::uint8_t gray)
{
    for (; y < HeightOf(picture); ++y) {
        Put(picture, x, y, gray);
    }
}

// The fullest value of each column.
std::vector<std::uint32_t> Bars(const Histogram& counts, int columns, std::uint32_t maxValue)
{
    std::vector<std::uint32_t> bars(static_cast<std::size_t>(columns));
    for (std::size_t value = 0; value < counts.counts.size(); ++value) {
        const int column = ColumnOf(static_cast<std::int64_t>(value), columns, maxValue);
        if (counts.counts[value] != 0) {
            std::uint32_t& bar = bars[static_cast<std::size_t>(std::clamp(column, 0, columns - 1))];
            bar = std::max(bar, counts.counts[value]);
        }
    }
    return bars;
}

} // namespace

SampleBand BandOf(std::uint32_t center, std::uint32_t width, bool negative, std::uint32_t maxValue)
{
    const std::int64_t start = std::int64_t{center} - width / 2;
    const std::int64_t low = negative ? start + maxValue - width : start;
    return {low, low + width};
}

BandRange RangeOf(SampleBand band, bool negative, std::uint32_t maxValue)
{
    const std::int64_t width = std::max(band.high - band.low, NarrowestRange);
    const std::int64_t start = negative ? band.low - maxValue + width : band.low;
    return {static_cast<std::uint32_t>(std::max<std::int64_t>(start + width / 2, 0)),
            static_cast<std::uint32_t>(width)};
}

int ColumnOf(std::int64_t value, int columns, std::uint32_t maxValue)
{
    const std::int64_t values = std::int64_t{maxValue} + 1;
    const std::int64_t limited = std::clamp(value, -values, 2 * values);
    return static_cast<int>(
        std::floor(static_cast<double>(limited) * columns / static_cast<double>(values)));
}

std::int64_t ValueAtColumn(int column, int columns, std::uint32_t maxValue)
{
    const double share = std::clamp((column + 0.5) / columns, 0.0, 1.0);
    return std::llround(share * maxValue);
}

std::optional<BandEdge> EdgeAt(int column, const SampleBand& band, int columns,
                               std::uint32_t maxValue)
{
    const int low = std::clamp(ColumnOf(band.low, columns, maxValue), 0, columns - 1);
    const int high = std::clamp(ColumnOf(band.high, columns, maxValue), 0, columns - 1);
    const int toLow = std::abs(column - low), toHigh = std::abs(column - high);
    if (std::min(toLow, toHigh) > EdgeReach) {
        return std::nullopt;
    }
    return toLow < toHigh || (toLow == toHigh && column < low) ? BandEdge::Low : BandEdge::High;
}

void DrawHistogram(CImage& picture, const Histogram& counts, std::uint32_t maxValue,
                   const SampleBand& band, bool logarithmic)
{
    if (picture.m_data == nullptr) {
        return;
    }
    picture.Fill(White);
    const int columns = WidthOf(picture), rows = HeightOf(picture);
    const int low = ColumnOf(band.low, columns, maxValue);
    const int high = ColumnOf(band.high, columns, maxValue);
    for (int x = std::max(low, 0); x <= std::min(high, columns - 1); ++x) {
        FillColumn(picture, x, 0, BandGray);
    }
    const std::vector<std::uint32_t> bars = Bars(counts, columns, maxValue);
    const auto size = [logarithmic](std::uint32_t count) {
        return logarithmic ? std::log1p(count) : static_cast<double>(count);
    };
    const double tallest = size(std::max(*std::ranges::max_element(bars), 1u));
    for (int x = 0; x < columns; ++x) {
        const std::uint32_t count = bars[static_cast<std::size_t>(x)];
        const int height = static_cast<int>(std::ceil(size(count) / tallest * rows));
        FillColumn(picture, x, rows - height, BarGray);
    }
    for (const int edge : {low, high}) {
        FillColumn(picture, edge, 0, Black);
    }
}

void DrawProfile(CImage& picture, const std::vector<ProfilePoint>& profile)
{
    if (picture.m_data == nullptr) {
        return;
    }
    picture.Fill(White);
    if (profile.empty()) {
        return;
    }
    const auto [least, most] = std::ranges::minmax_element(profile, {}, &ProfilePoint::mean);
    const double low = least->mean, span = std::max(most->mean - low, 1.0);
    const int columns = WidthOf(picture), rows = HeightOf(picture);
    int former = -1;
    for (int x = 0; x < columns; ++x) {
        const auto index = static_cast<std::size_t>(x) * (profile.size() - 1) /
                           static_cast<std::size_t>(std::max(columns - 1, 1));
        const int y =
            rows - 1 -
            static_cast<int>(std::lround((profile[index].mean - low) / span * (rows - 1)));
        const int from = former < 0 ? y : former;
        for (int k = std::min(from, y); k <= std::max(from, y); ++k) {
            Put(picture, x, k, Black);
        }
        former = y;
    }
}

std::optional<PixelPosition> ImageOnDisplay::PixelAt(DisplayPoint point) const
{
    const double x = std::floor(place.left + (point.x + 0.5) * place.scale);
    const double up = std::floor(place.bottom + (displayHeight - 0.5 - point.y) * place.scale);
    if (x < 0 || up < 0 || x >= imageWidth || up >= imageHeight) {
        return std::nullopt;
    }
    return PixelPosition{static_cast<std::uint32_t>(x),
                         imageHeight - 1 - static_cast<std::uint32_t>(up)};
}

PixelPosition ImageOnDisplay::NearestPixel(DisplayPoint point) const
{
    const double x = std::floor(place.left + (point.x + 0.5) * place.scale);
    const double up = std::floor(place.bottom + (displayHeight - 0.5 - point.y) * place.scale);
    return {static_cast<std::uint32_t>(std::clamp(x, 0.0, imageWidth - 1.0)),
            imageHeight - 1 - static_cast<std::uint32_t>(std::clamp(up, 0.0, imageHeight - 1.0))};
}

DisplayPoint ImageOnDisplay::PointOf(double x, double y) const
{
    const auto limited = [](double value) {
        constexpr double Farthest = 1e6; // beyond any display
        return static_cast<int>(std::floor(std::min(std::max(value, -Farthest), Farthest)));
    };
    return {limited((x - place.left) / place.scale),
            limited(displayHeight - (imageHeight - y - place.bottom) / place.scale)};
}

void DrawMarkLine(CImage& display, DisplayPoint from, DisplayPoint to)
{
    const int steps = std::max({std::abs(to.x - from.x), std::abs(to.y - from.y), 1});
    const int most = 4 * (WidthOf(display) + HeightOf(display)) + 4; // lines far outside are cut
    for (int i = 0; i <= steps; i += std::max(steps / most, 1)) {
        const double share = static_cast<double>(i) / steps;
        PutMark(display, static_cast<int>(std::lround(from.x + share * (to.x - from.x))),
                static_cast<int>(std::lround(from.y + share * (to.y - from.y))));
    }
}

void DrawMarkFrame(CImage& display, DisplayPoint corner, DisplayPoint opposite)
{
    const auto limit = [&display](DisplayPoint point) {
        return DisplayPoint{std::clamp(point.x, -1, WidthOf(display)),
                            std::clamp(point.y, -1, HeightOf(display))};
    };
    const DisplayPoint a = limit(corner), b = limit(opposite);
    DrawMarkLine(display, a, {b.x, a.y});
    DrawMarkLine(display, {b.x, a.y}, b);
    DrawMarkLine(display, b, {a.x, b.y});
    DrawMarkLine(display, {a.x, b.y}, a);
}

void DrawMarkNumber(CImage& display, DisplayPoint corner, int number)
{
    static constexpr std::array<std::array<const char*, 5>, MostRegions> Digits = {
        {{".#.", "##.", ".#.", ".#.", "###"},
         {"##.", "..#", ".#.", "#..", "###"},
         {"##.", "..#", ".#.", "..#", "##."},
         {"#.#", "#.#", "###", "..#", "..#"}}};
    constexpr int Scale = 2, Columns = 3, Rows = 5, Border = 2;
    const auto& digit = Digits.at(static_cast<std::size_t>(number - 1));
    for (int y = 0; y < Rows * Scale + 2 * Border; ++y) {
        for (int x = 0; x < Columns * Scale + 2 * Border; ++x) {
            const int column = (x - Border) / Scale, row = (y - Border) / Scale;
            const bool isInside = x >= Border && y >= Border && column < Columns && row < Rows;
            const bool isSet =
                isInside &&
                digit[static_cast<std::size_t>(row)][static_cast<std::size_t>(column)] == '#';
            Put(display, corner.x + x, corner.y + y, isSet ? White : Black);
        }
    }
}
