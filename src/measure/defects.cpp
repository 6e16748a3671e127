// Judges every pixel by its surroundings and groups those that fail.
#include "measure/defects.h"

#include "measure/local_median.h"
#include "measure/response.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <numeric>

namespace {

constexpr std::uint32_t WideWindow = 21, NarrowWindow = 9;
constexpr double DeadShare = 0.05, UnderShare = 0.6, OverShare = 1.3, UniformShare = 0.01;
constexpr double NoiseFactor = 6;
constexpr std::uint32_t LongestShortRun = 10; // pixels; a longer one is a line
constexpr std::uint32_t RunPixelsPerNeighbor = 10;

// The rules that pixels break, found in any order.
class Marks
{
public:
    void Mark(std::size_t i, std::uint8_t rule) { m_marks.push_back({i, rule}); }
    // Row by row from the top left.
    std::vector<DefectivePixel> Pixels(std::uint32_t width);

private:
    struct IndexedRule
    {
        std::size_t i;
        std::uint8_t rule;
    };
    std::vector<IndexedRule> m_marks;
};

// Where the defective pixels are, and which of them belong to a group already.
class DefectMap
{
public:
    // The pixels row by row; they must outlive the map.
    DefectMap(const std::vector<DefectivePixel>& pixels, std::uint32_t height);

    bool Has(std::int64_t x, std::int64_t y) const { return Find(x, y) != None; }
    bool IsTaken(std::int64_t x, std::int64_t y) const { return m_isTaken[Find(x, y)]; }
    // False when there is no defective pixel or it is taken already.
    bool Take(std::int64_t x, std::int64_t y);

private:
    static constexpr std::size_t None = static_cast<std::size_t>(-1);
    std::size_t Find(std::int64_t x, std::int64_t y) const;

    const std::vector<DefectivePixel>& m_pixels;
    std::vector<std::size_t> m_rows; // where each begins
    std::vector<bool> m_isTaken;
};

Response ResponseOf(const ImageSums& flats, const ImageSums& darks);
std::optional<double> ResponseNoise(const Response& response, std::uint32_t flats);
void MarkNoisy(const ImageSums& darks, Marks& marks);
std::vector<DefectGroup> GroupDefects(const std::vector<DefectivePixel>& pixels,
                                      std::uint32_t height);
void TakeLines(DefectMap& map, bool alongRows, const std::vector<DefectivePixel>& pixels,
               std::vector<DefectGroup>& groups);
DefectGroup TakeCluster(DefectMap& map, std::uint32_t x, std::uint32_t y);

} // namespace

bool AddImage(ImageSums& sums, const GrayView& view, bool withSquares)
{
    if (sums.images == 0) {
        sums.width = view.width;
        sums.height = view.height;
        const auto pixels = static_cast<std::size_t>(view.Count());
        sums.sums.assign(pixels, 0);
        sums.squares.assign(withSquares ? pixels : 0, 0);
    }
    if (sums.width != view.width || sums.height != view.height || sums.images == MostSummedImages) {
        return false;
    }
    WithSampleType(view, [&](auto sample) {
        for (std::uint32_t y = 0; y < view.height; ++y) {
            const auto* const row = view.Row<decltype(sample)>(y);
            std::uint32_t* const rowSums = &sums.sums[std::size_t{y} * view.width];
            for (std::uint32_t x = 0; x < view.width; ++x) {
                rowSums[x] += row[x];
            }
            sums.total += std::accumulate(row, row + view.width, std::uint64_t{0});
            if (withSquares) {
                std::uint64_t* const squares = &sums.squares[std::size_t{y} * view.width];
                for (std::uint32_t x = 0; x < view.width; ++x) {
                    squares[x] += std::uint64_t{row[x]} * row[x];
                }
            }
        }
    });
    ++sums.images;
    return true;
}

Defects FindDefects(const ImageSums& flats, const ImageSums& darks)
{
    Defects defects;
    Marks marks;
    const Response response = ResponseOf(flats, darks);
    defects.decidedRules = Dead | UnderResponding | OverResponding;
    defects.responseNoise = ResponseNoise(response, flats.images);
    OutlierVisit markNonUniform;
    if (defects.responseNoise && *defects.responseNoise <= MostNoiseForNonUniformity) {
        defects.decidedRules |= NonUniformPixel;
        markNonUniform = [&](std::size_t i, double, const Surroundings&) {
            marks.Mark(i, NonUniformPixel);
        };
    }
    VisitOutliers(response, {NarrowWindow, 1 - UniformShare, 1 + UniformShare}, markNonUniform,
                  {WideWindow, UnderShare, OverShare},
                  [&](std::size_t i, double value, const Surroundings& around) {
                      marks.Mark(i, value <= 0 || around.MedianIsAbove(value, DeadShare) ? Dead
                                    : around.MedianIsBelow(value, OverShare) ? OverResponding
                                                                             : UnderResponding);
                  });
    if (darks.images >= DarksForNoise && !darks.squares.empty()) {
        defects.decidedRules |= Noisy;
        MarkNoisy(darks, marks);
    }
    defects.pixels = marks.Pixels(flats.width);
    defects.groups = GroupDefects(defects.pixels, flats.height);
    return defects;
}

namespace {

std::vector<DefectivePixel> Marks::Pixels(std::uint32_t width)
{
    std::ranges::sort(m_marks, {}, &IndexedRule::i);
    std::vector<DefectivePixel> pixels;
    for (std::size_t k = 0; k < m_marks.size(); ++k) {
        const auto [i, rule] = m_marks[k];
        if (k > 0 && m_marks[k - 1].i == i) {
            pixels.back().rules |= rule;
        } else {
            pixels.push_back({static_cast<std::uint32_t>(i % width),
                              static_cast<std::uint32_t>(i / width), rule});
        }
    }
    return pixels;
}

DefectMap::DefectMap(const std::vector<DefectivePixel>& pixels, std::uint32_t height)
    : m_pixels(pixels), m_isTaken(pixels.size())
{
    m_rows.reserve(std::size_t{height} + 1);
    for (std::size_t k = 0; k < pixels.size(); ++k) {
        m_rows.resize(std::size_t{pixels[k].y} + 1, k);
    }
    m_rows.resize(std::size_t{height} + 1, pixels.size());
}

std::size_t DefectMap::Find(std::int64_t x, std::int64_t y) const
{
    if (x < 0 || y < 0 || y + 1 >= std::ssize(m_rows)) {
        return None;
    }
    const auto row = static_cast<std::size_t>(y);
    const auto first = m_pixels.begin() + static_cast<std::ptrdiff_t>(m_rows[row]);
    const auto end = m_pixels.begin() + static_cast<std::ptrdiff_t>(m_rows[row + 1]);
    const auto found = std::ranges::lower_bound(first, end, x, {}, &DefectivePixel::x);
    return found == end || found->x != x ? None
                                         : static_cast<std::size_t>(found - m_pixels.begin());
}

bool DefectMap::Take(std::int64_t x, std::int64_t y)
{
    const std::size_t pixel = Find(x, y);
    if (pixel == None || m_isTaken[pixel]) {
        return false;
    }
    m_isTaken[pixel] = true;
    return true;
}

Response ResponseOf(const ImageSums& flats, const ImageSums& darks)
{
    const bool hasDarks = darks.images > 0;
    const double flatMean = static_cast<double>(flats.total) / flats.images;
    const double darkMean = hasDarks ? static_cast<double>(darks.total) / darks.images : 0;
    const double sign = flatMean < darkMean ? -1 : 1;
    return {.flats = flats.sums.data(),
            // Sums that are not used rather than none, so that no loop has a branch.
            .darks = hasDarks ? darks.sums.data() : flats.sums.data(),
            .flatShare = sign / flats.images,
            .darkShare = hasDarks ? sign / darks.images : 0,
            .width = flats.width,
            .height = flats.height,
            .mean = sign * (flatMean - darkMean) / static_cast<double>(flats.sums.size())};
}

// From the differences of neighbors in a row, which shading hardly touches and single defects not
// at all: their median size is 0.6745 standard deviations of a difference, sqrt 2 of one pixel's,
// and 95 % of them are below 1.96, which helps where most neighbors are equal. Noise of one flat
// that is less than half a gray level hides behind rounding, which then is alike in all flats.
std::optional<double> ResponseNoise(const Response& response, std::uint32_t flats)
{
    constexpr double HiddenNoise = 0.5; // gray levels
    constexpr std::uint32_t MostSamples = 50000;
    std::vector<float> differences, values;
    const std::uint32_t pixels = response.width * response.height;
    const std::uint32_t step = std::max(1u, pixels / MostSamples);
    differences.reserve(pixels / step + 1);
    values.reserve(pixels / step + 1);
    for (std::size_t i = 0; i + 1 < pixels; i += step) {
        if (static_cast<std::uint32_t>(i + 1) % response.width != 0) {
            const float value = response.At(i);
            differences.push_back(std::abs(response.At(i + 1) - value));
            values.push_back(value);
        }
    }
    if (differences.empty()) {
        return std::nullopt;
    }
    const double value = MedianOf(values);
    double noise = MedianOf(differences) / 0.6745 / std::numbers::sqrt2;
    if (noise == 0) {
        const auto place = differences.begin() + std::ssize(differences) * 95 / 100;
        std::ranges::nth_element(differences, place);
        noise = *place / 1.96 / std::numbers::sqrt2;
    }
    if (noise * std::sqrt(flats) < HiddenNoise) {
        noise = HiddenNoise;
    }
    return value > 0 ? noise / value : 1;
}

void MarkNoisy(const ImageSums& darks, Marks& marks)
{
    std::vector<float> deviations(darks.sums.size());
    const double n = darks.images;
    for (std::size_t i = 0; i < deviations.size(); ++i) {
        const double sum = darks.sums[i];
        const double variance = (static_cast<double>(darks.squares[i]) - sum * sum / n) / (n - 1);
        deviations[i] = static_cast<float>(std::sqrt(std::max(0.0, variance)));
    }
    std::vector<float> sorted = deviations;
    const double limit = NoiseFactor * MedianOf(sorted);
    for (std::size_t i = 0; i < deviations.size(); ++i) {
        if (deviations[i] > limit) {
            marks.Mark(i, Noisy);
        }
    }
}

std::vector<DefectGroup> GroupDefects(const std::vector<DefectivePixel>& pixels,
                                      std::uint32_t height)
{
    DefectMap map(pixels, height);
    std::vector<DefectGroup> groups;
    TakeLines(map, true, pixels, groups);
    std::vector<DefectivePixel> columnByColumn = pixels;
    std::ranges::sort(columnByColumn, {},
                      [](const DefectivePixel& pixel) { return std::pair(pixel.x, pixel.y); });
    TakeLines(map, false, columnByColumn, groups);
    for (const DefectivePixel& pixel : pixels) {
        if (!map.IsTaken(pixel.x, pixel.y)) {
            const DefectGroup cluster = TakeCluster(map, pixel.x, pixel.y);
            if (cluster.pixels > 1) {
                groups.push_back(cluster);
            }
        }
    }
    return groups;
}

// The pixels are sorted so that runs stand together.
void TakeLines(DefectMap& map, bool alongRows, const std::vector<DefectivePixel>& pixels,
               std::vector<DefectGroup>& groups)
{
    const std::int64_t stepX = alongRows ? 1 : 0, stepY = 1 - stepX;
    for (std::size_t i = 0; i < pixels.size();) {
        const std::size_t first = i;
        std::uint32_t neighbors = 0;
        do {
            const std::int64_t x = pixels[i].x, y = pixels[i].y;
            neighbors += map.Has(x - stepY, y - stepX) || map.Has(x + stepY, y + stepX) ? 1 : 0;
            ++i;
        } while (i < pixels.size() && pixels[i].x == pixels[i - 1].x + stepX &&
                 pixels[i].y == pixels[i - 1].y + stepY);
        const auto run = static_cast<std::uint32_t>(i - first);
        if (run <= LongestShortRun || neighbors * RunPixelsPerNeighbor > run) {
            continue;
        }
        const DefectivePixel& start = pixels[first];
        groups.push_back({true, {start.x, start.y, alongRows ? run : 1, alongRows ? 1 : run}, run});
        for (std::size_t k = first; k < i; ++k) {
            map.Take(pixels[k].x, pixels[k].y);
        }
    }
}

// All pixels that hang together with the one at (x, y).
DefectGroup TakeCluster(DefectMap& map, std::uint32_t x, std::uint32_t y)
{
    std::uint32_t left = x, right = x, top = y, bottom = y, pixels = 0;
    std::vector<std::pair<std::uint32_t, std::uint32_t>> open = {{x, y}};
    map.Take(x, y);
    while (!open.empty()) {
        const auto [px, py] = open.back();
        open.pop_back();
        ++pixels;
        left = std::min(left, px);
        right = std::max(right, px);
        top = std::min(top, py);
        bottom = std::max(bottom, py);
        for (std::int64_t ny = std::int64_t{py} - 1; ny <= std::int64_t{py} + 1; ++ny) {
            for (std::int64_t nx = std::int64_t{px} - 1; nx <= std::int64_t{px} + 1; ++nx) {
                if (map.Take(nx, ny)) {
                    open.emplace_back(static_cast<std::uint32_t>(nx),
                                      static_cast<std::uint32_t>(ny));
                }
            }
        }
    }
    return {false, {left, top, right - left + 1, bottom - top + 1}, pixels};
}

} // namespace
