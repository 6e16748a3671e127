// Judges every pixel by its surroundings and groups those that fail.
#include "measure/defects.h"

#include "measure/local_median.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace {

constexpr std::uint32_t WideWindow = 21, NarrowWindow = 9;
constexpr double DeadShare = 0.05, UnderShare = 0.6, OverShare = 1.3, UniformShare = 0.01;
constexpr double NoiseFactor = 6;
constexpr std::uint32_t LongestShortRun = 10; // pixels; a longer one is a line
constexpr std::uint32_t RunPixelsPerNeighbor = 10;

constexpr std::uint8_t Taken = 128; // beside a pixel's rules: it belongs to a group already

// The rules that each pixel breaks.
class Marks
{
public:
    Marks(std::uint32_t columns, std::uint32_t rows)
        : width(columns), height(rows), m_rules(std::size_t{columns} * rows)
    {
    }

    void Mark(std::size_t i, std::uint8_t rule)
    {
        if (m_rules[i] == 0) {
            m_marked.push_back(i);
        }
        m_rules[i] |= rule;
    }
    bool Has(std::int64_t x, std::int64_t y) const
    {
        return x >= 0 && y >= 0 && x < width && y < height && m_rules[IndexOf(x, y)] != 0;
    }
    void Take(std::int64_t x, std::int64_t y) { m_rules[IndexOf(x, y)] |= Taken; }
    bool IsTaken(std::int64_t x, std::int64_t y) const
    {
        return (m_rules[IndexOf(x, y)] & Taken) != 0;
    }
    // Row by row from the top left.
    std::vector<DefectivePixel> Pixels() const;

    const std::uint32_t width, height;

private:
    std::size_t IndexOf(std::int64_t x, std::int64_t y) const
    {
        return static_cast<std::size_t>(y) * width + static_cast<std::size_t>(x);
    }

    std::vector<std::uint8_t> m_rules;
    std::vector<std::size_t> m_marked;
};

std::vector<float> ResponseOf(const ImageSums& flats, const ImageSums& darks);
double ResponseNoise(const ImageSums& flats, const std::vector<float>& response);
void MarkNoisy(const ImageSums& darks, Marks& marks);
std::vector<DefectGroup> GroupDefects(Marks& marks, const std::vector<DefectivePixel>& pixels);
void TakeLines(Marks& marks, bool alongRows, const std::vector<DefectivePixel>& pixels,
               std::vector<DefectGroup>& groups);
DefectGroup TakeCluster(Marks& marks, std::uint32_t x, std::uint32_t y);

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
    if (sums.width != view.width || sums.height != view.height || sums.images == 65536) {
        return false;
    }
    WithSampleType(view, [&](auto sample) {
        for (std::uint32_t y = 0; y < view.height; ++y) {
            const auto* const row = view.Row<decltype(sample)>(y);
            std::uint32_t* const rowSums = &sums.sums[std::size_t{y} * view.width];
            for (std::uint32_t x = 0; x < view.width; ++x) {
                rowSums[x] += row[x];
            }
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
    Marks marks(flats.width, flats.height);
    const std::vector<float> response = ResponseOf(flats, darks);
    const FloatImage image = {response.data(), flats.width, flats.height};

    defects.decidedRules = Dead | UnderResponding | OverResponding;
    VisitOutliers(image, WideWindow, UnderShare, OverShare,
                  [&](std::size_t i, double value, double median) {
                      marks.Mark(i, value <= 0 || value < DeadShare * median ? Dead
                                    : value > OverShare * median             ? OverResponding
                                                                             : UnderResponding);
                  });
    defects.responseNoise = ResponseNoise(flats, response);
    if (defects.responseNoise <= MostNoiseForNonUniformity) {
        defects.decidedRules |= NonUniformPixel;
        VisitOutliers(image, NarrowWindow, 1 - UniformShare, 1 + UniformShare,
                      [&](std::size_t i, double, double) { marks.Mark(i, NonUniformPixel); });
    }
    if (darks.images >= DarksForNoise && !darks.squares.empty()) {
        defects.decidedRules |= Noisy;
        MarkNoisy(darks, marks);
    }

    defects.pixels = marks.Pixels();
    defects.groups = GroupDefects(marks, defects.pixels);
    return defects;
}

namespace {

std::vector<DefectivePixel> Marks::Pixels() const
{
    std::vector<std::size_t> sorted = m_marked;
    std::ranges::sort(sorted);
    std::vector<DefectivePixel> pixels;
    for (const std::size_t i : sorted) {
        pixels.push_back({static_cast<std::uint32_t>(i % width),
                          static_cast<std::uint32_t>(i / width), m_rules[i]});
    }
    return pixels;
}

std::uint64_t TotalOf(const ImageSums& images)
{
    return std::accumulate(images.sums.begin(), images.sums.end(), std::uint64_t{0});
}

std::vector<float> ResponseOf(const ImageSums& flats, const ImageSums& darks)
{
    std::vector<float> response(flats.sums.size());
    const bool hasDarks = darks.images > 0;
    const double flatMean = static_cast<double>(TotalOf(flats)) / flats.images;
    const double darkMean = hasDarks ? static_cast<double>(TotalOf(darks)) / darks.images : 0;
    const double sign = flatMean < darkMean ? -1 : 1;
    const double flatShare = sign / flats.images, darkShare = hasDarks ? sign / darks.images : 0;
    // With a sum that is not used rather than none, so that the loop has no branch.
    const std::uint32_t* const darkSums = hasDarks ? darks.sums.data() : flats.sums.data();
    for (std::size_t i = 0; i < response.size(); ++i) {
        response[i] = static_cast<float>(flats.sums[i] * flatShare - darkSums[i] * darkShare);
    }
    return response;
}

// From the differences of neighbors in a row, which shading hardly touches and single defects not
// at all: their median size is 0.6745 standard deviations of a difference, sqrt 2 of one pixel's.
double ResponseNoise(const ImageSums& flats, const std::vector<float>& response)
{
    constexpr std::size_t MostSamples = 50000;
    std::vector<float> differences, values;
    const std::size_t step = std::max<std::size_t>(1, response.size() / MostSamples);
    for (std::size_t i = 0; i + 1 < response.size(); i += step) {
        if ((i + 1) % flats.width != 0) {
            differences.push_back(std::abs(response[i + 1] - response[i]));
            values.push_back(response[i]);
        }
    }
    if (differences.empty()) {
        return 0;
    }
    const double value = MedianOf(values);
    return value > 0 ? MedianOf(differences) / 0.6745 / std::sqrt(2.0) / value : 1;
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

std::vector<DefectGroup> GroupDefects(Marks& marks, const std::vector<DefectivePixel>& pixels)
{
    std::vector<DefectGroup> groups;
    TakeLines(marks, true, pixels, groups);
    std::vector<DefectivePixel> columnByColumn = pixels;
    std::ranges::sort(columnByColumn, {},
                      [](const DefectivePixel& pixel) { return std::pair(pixel.x, pixel.y); });
    TakeLines(marks, false, columnByColumn, groups);
    for (const DefectivePixel& pixel : pixels) {
        if (!marks.IsTaken(pixel.x, pixel.y)) {
            const DefectGroup cluster = TakeCluster(marks, pixel.x, pixel.y);
            if (cluster.pixels > 1) {
                groups.push_back(cluster);
            }
        }
    }
    return groups;
}

// The pixels are sorted so that runs stand together.
void TakeLines(Marks& marks, bool alongRows, const std::vector<DefectivePixel>& pixels,
               std::vector<DefectGroup>& groups)
{
    const std::int64_t stepX = alongRows ? 1 : 0, stepY = 1 - stepX;
    for (std::size_t i = 0; i < pixels.size();) {
        const std::size_t first = i;
        std::uint32_t neighbors = 0;
        do {
            const std::int64_t x = pixels[i].x, y = pixels[i].y;
            neighbors += marks.Has(x - stepY, y - stepX) || marks.Has(x + stepY, y + stepX) ? 1 : 0;
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
            marks.Take(pixels[k].x, pixels[k].y);
        }
    }
}

// All pixels that hang together with the one at (x, y).
DefectGroup TakeCluster(Marks& marks, std::uint32_t x, std::uint32_t y)
{
    std::uint32_t left = x, right = x, top = y, bottom = y, pixels = 0;
    std::vector<std::pair<std::uint32_t, std::uint32_t>> open = {{x, y}};
    marks.Take(x, y);
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
                if (marks.Has(nx, ny) && !marks.IsTaken(nx, ny)) {
                    marks.Take(nx, ny);
                    open.emplace_back(static_cast<std::uint32_t>(nx),
                                      static_cast<std::uint32_t>(ny));
                }
            }
        }
    }
    return {false, {left, top, right - left + 1, bottom - top + 1}, pixels};
}

} // namespace
