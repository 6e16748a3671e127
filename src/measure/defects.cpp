// Judges every pixel by its surroundings and groups those that fail.
#include "measure/defects.h"

#include "measure/local_median.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr std::uint32_t WideWindow = 21, NarrowWindow = 9;
constexpr double DeadShare = 0.05, UnderShare = 0.6, OverShare = 1.3, UniformShare = 0.01;
constexpr double NoiseFactor = 6;
constexpr std::uint32_t LongestShortRun = 10; // pixels; a longer one is a line
constexpr std::uint32_t RunPixelsPerNeighbor = 10;

// The marks of all pixels: bits of DefectRule.
struct Marks
{
    std::uint32_t width, height;
    std::vector<std::uint8_t> rules;

    bool Has(std::int64_t x, std::int64_t y) const
    {
        return x >= 0 && y >= 0 && x < width && y < height &&
               rules[static_cast<std::size_t>(y) * width + static_cast<std::size_t>(x)] != 0;
    }
};

std::vector<float> ResponseOf(const ImageSums& flats, const ImageSums& darks);
double ResponseNoise(const ImageSums& flats, const std::vector<float>& response);
void MarkNoisy(const ImageSums& darks, Marks& marks);
std::vector<DefectGroup> GroupDefects(const Marks& marks, std::vector<DefectivePixel> pixels);
void TakeLines(const Marks& marks, bool alongRows, const std::vector<DefectivePixel>& pixels,
               std::vector<std::uint8_t>& isTaken, std::vector<DefectGroup>& groups);
DefectGroup TakeCluster(const Marks& marks, std::uint32_t x, std::uint32_t y,
                        std::vector<std::uint8_t>& isTaken);

} // namespace

bool AddImage(ImageSums& sums, const GrayView& view, bool withSquares)
{
    if (sums.images == 0) {
        sums.width = view.width;
        sums.height = view.height;
        sums.sums.assign(view.Count(), 0);
        sums.squares.assign(withSquares ? view.Count() : 0, 0);
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
    Marks marks = {flats.width, flats.height, std::vector<std::uint8_t>(flats.sums.size())};
    const std::vector<float> response = ResponseOf(flats, darks);
    const FloatImage image = {response.data(), flats.width, flats.height};

    defects.decidedRules = Dead | UnderResponding | OverResponding;
    VisitOutliers(image, WideWindow, UnderShare, OverShare,
                  [&](std::size_t i, double value, double median) {
                      marks.rules[i] |=
                          static_cast<std::uint8_t>(value > OverShare * median   ? OverResponding
                                                    : value < DeadShare * median ? Dead
                                                                                 : UnderResponding);
                  });
    for (std::size_t i = 0; i < response.size(); ++i) {
        if (response[i] <= 0) {
            marks.rules[i] = Dead;
        }
    }
    defects.responseNoise = ResponseNoise(flats, response);
    if (defects.responseNoise <= MostNoiseForNonUniformity) {
        defects.decidedRules |= NonUniformPixel;
        VisitOutliers(image, NarrowWindow, 1 - UniformShare, 1 + UniformShare,
                      [&](std::size_t i, double, double) { marks.rules[i] |= NonUniformPixel; });
    }
    if (darks.images >= DarksForNoise && !darks.squares.empty()) {
        defects.decidedRules |= Noisy;
        MarkNoisy(darks, marks);
    }

    for (std::size_t i = 0; i < marks.rules.size(); ++i) {
        if (marks.rules[i] != 0) {
            defects.pixels.push_back({static_cast<std::uint32_t>(i % marks.width),
                                      static_cast<std::uint32_t>(i / marks.width), marks.rules[i]});
        }
    }
    defects.groups = GroupDefects(marks, defects.pixels);
    return defects;
}

namespace {

std::vector<float> ResponseOf(const ImageSums& flats, const ImageSums& darks)
{
    std::vector<float> response(flats.sums.size());
    const double flatShare = 1.0 / flats.images;
    const double darkShare = darks.images > 0 ? 1.0 / darks.images : 0;
    for (std::size_t i = 0; i < response.size(); ++i) {
        const double dark = darks.images > 0 ? darks.sums[i] * darkShare : 0;
        response[i] = static_cast<float>(flats.sums[i] * flatShare - dark);
    }
    return response;
}

// From the differences of neighbors in a row, which shading hardly touches and single defects not
// at all: their median size is 0.6745 standard deviations of a difference, sqrt 2 of one pixel's.
double ResponseNoise(const ImageSums& flats, const std::vector<float>& response)
{
    constexpr std::size_t MostSamples = 100000;
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
            marks.rules[i] |= Noisy;
        }
    }
}

std::vector<DefectGroup> GroupDefects(const Marks& marks, std::vector<DefectivePixel> pixels)
{
    std::vector<DefectGroup> groups;
    std::vector<std::uint8_t> isTaken(marks.rules.size());
    TakeLines(marks, true, pixels, isTaken, groups);
    const std::vector<DefectivePixel> rowByRow = pixels;
    std::ranges::sort(pixels, {},
                      [](const DefectivePixel& pixel) { return std::pair(pixel.x, pixel.y); });
    TakeLines(marks, false, pixels, isTaken, groups);
    for (const DefectivePixel& pixel : rowByRow) {
        if (isTaken[std::size_t{pixel.y} * marks.width + pixel.x] == 0) {
            const DefectGroup cluster = TakeCluster(marks, pixel.x, pixel.y, isTaken);
            if (cluster.pixels > 1) {
                groups.push_back(cluster);
            }
        }
    }
    return groups;
}

// The pixels are sorted so that runs stand together.
void TakeLines(const Marks& marks, bool alongRows, const std::vector<DefectivePixel>& pixels,
               std::vector<std::uint8_t>& isTaken, std::vector<DefectGroup>& groups)
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
            isTaken[std::size_t{pixels[k].y} * marks.width + pixels[k].x] = 1;
        }
    }
}

// All pixels that hang together with the one at (x, y).
DefectGroup TakeCluster(const Marks& marks, std::uint32_t x, std::uint32_t y,
                        std::vector<std::uint8_t>& isTaken)
{
    std::uint32_t left = x, right = x, top = y, bottom = y, pixels = 0;
    std::vector<std::pair<std::uint32_t, std::uint32_t>> open = {{x, y}};
    isTaken[std::size_t{y} * marks.width + x] = 1;
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
                if (!marks.Has(nx, ny)) {
                    continue;
                }
                const std::size_t i =
                    static_cast<std::size_t>(ny) * marks.width + static_cast<std::size_t>(nx);
                if (isTaken[i] == 0) {
                    isTaken[i] = 1;
                    open.emplace_back(static_cast<std::uint32_t>(nx),
                                      static_cast<std::uint32_t>(ny));
                }
            }
        }
    }
    return {false, {left, top, right - left + 1, bottom - top + 1}, pixels};
}

} // namespace
