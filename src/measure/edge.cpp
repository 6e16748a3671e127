// Finds the edge, samples its response finely and transforms it.
#include "measure/edge.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <fftw3.h>
#include <memory>
#include <numbers>
#include <numeric>

namespace {

constexpr double LeastDistance = 8; // pixels of the response on both sides of the edge
constexpr double MostDistance = 45; // the transform's length is 100 pixels
constexpr double MostAngle = 20;    // degrees
constexpr std::uint32_t LeastRows = 8;
constexpr double LeastStepToNoise = 5;
constexpr double MostEndRise = 0.005; // of the step
constexpr double SureDeviations = 5;

// A picture with the edge from top to bottom and the bright side on the right.
struct UprightEdge
{
    std::uint32_t rows, columns;
    bool isVertical;
    std::vector<double> values;

    double At(std::uint32_t row, std::uint32_t column) const
    {
        return values[std::size_t{row} * columns + column];
    }
};

// The edge's column in row y is position + slope y.
struct EdgeLine
{
    double position, slope;
    double At(double y) const { return position + slope * y; }
};

UprightEdge MakeUpright(const GrayView& view);
std::optional<EdgeLine> FindEdge(const UprightEdge& picture);
EdgeLine FitEdge(const UprightEdge& picture, const std::vector<double>& centers, double reach);
double HalfWidth(const UprightEdge& picture, const EdgeLine& line);
bool SampleEdge(const UprightEdge& picture, const EdgeLine& line, double reach,
                EdgeResponse& response);
double FlatNoise(const UprightEdge& picture, const EdgeLine& line, double reach);
bool HasFlatEnds(const EdgeResponse& response, std::uint32_t rows);
double MeanOf(const std::vector<double>& values, std::size_t first, std::size_t count);
void Transform(EdgeResponse& response);
double Sinc(double x);

} // namespace

std::optional<EdgeResponse> EdgeResponseOf(const GrayView& view, std::string& reason)
{
    const UprightEdge picture = MakeUpright(view);
    const auto fail = [&reason](const char* text) {
        reason = text;
        return std::nullopt;
    };
    if (picture.rows < LeastRows || picture.columns < 2 * LeastDistance + 2) {
        return fail("the region is too small for an edge");
    }
    const auto line = FindEdge(picture);
    if (!line) {
        return fail("there is no edge");
    }
    EdgeResponse response;
    response.isVertical = picture.isVertical;
    response.angle = std::atan(line->slope) * 180 / std::numbers::pi;
    if (std::abs(response.angle) > MostAngle) {
        return fail("the edge is slanted too much");
    }
    const double reach = std::floor(std::min(HalfWidth(picture, *line), MostDistance));
    if (reach < LeastDistance) {
        return fail("the edge is too near to the border of the region");
    }
    if (!SampleEdge(picture, *line, reach, response)) {
        return fail("the edge is not slanted enough, or too short");
    }
    const std::size_t flat = response.edge.size() / 8;
    response.step =
        MeanOf(response.edge, response.edge.size() - flat, flat) - MeanOf(response.edge, 0, flat);
    response.noise = FlatNoise(picture, *line, reach);
    if (!(response.step > LeastStepToNoise * response.noise)) {
        return fail("the edge does not rise above the noise");
    }
    if (!HasFlatEnds(response, picture.rows)) {
        return fail("the edge is too blurred: its response is not flat at both ends");
    }
    Transform(response);
    return response;
}

std::optional<double> FrequencyAt(const std::vector<MtfPoint>& mtf, double value)
{
    for (std::size_t i = 1; i < mtf.size(); ++i) {
        const MtfPoint &a = mtf[i - 1], &b = mtf[i];
        if (a.value >= value && b.value < value) {
            return a.frequency +
                   (b.frequency - a.frequency) * (a.value - value) / (a.value - b.value);
        }
    }
    return std::nullopt;
}

namespace {

double HalfDifference(const GrayView& view, bool alongX)
{
    double first = 0, second = 0;
    for (std::uint32_t y = 0; y < view.height; ++y) {
        for (std::uint32_t x = 0; x < view.width; ++x) {
            const bool isFirst = alongX ? 2 * x < view.width : 2 * y < view.height;
            (isFirst ? first : second) += view.At(x, y);
        }
    }
    return (second - first) / static_cast<double>(view.Count());
}

UprightEdge MakeUpright(const GrayView& view)
{
    const double alongX = HalfDifference(view, true), alongY = HalfDifference(view, false);
    UprightEdge picture;
    picture.isVertical = std::abs(alongX) >= std::abs(alongY);
    const bool isMirrored = (picture.isVertical ? alongX : alongY) < 0;
    picture.rows = picture.isVertical ? view.height : view.width;
    picture.columns = picture.isVertical ? view.width : view.height;
    picture.values.reserve(view.Count());
    for (std::uint32_t row = 0; row < picture.rows; ++row) {
        for (std::uint32_t k = 0; k < picture.columns; ++k) {
            const std::uint32_t column = isMirrored ? picture.columns - 1 - k : k;
            picture.values.push_back(picture.isVertical ? view.At(column, row)
                                                        : view.At(row, column));
        }
    }
    return picture;
}

// First from the whole rows, then twice from the surroundings of the line found before, where there
// is less noise that is no edge.
std::optional<EdgeLine> FindEdge(const UprightEdge& picture)
{
    std::vector<double> centers(picture.rows, picture.columns * 0.5);
    double reach = picture.columns * 0.5;
    EdgeLine line = {};
    for (int round = 0; round < 4; ++round) {
        line = FitEdge(picture, centers, reach);
        if (!std::isfinite(line.position) || !std::isfinite(line.slope)) {
            return std::nullopt;
        }
        for (std::uint32_t y = 0; y < picture.rows; ++y) {
            centers[y] = line.At(y);
        }
        reach = std::max(LeastDistance, reach / 2);
    }
    return line;
}

// The line through the rows' edges, by least squares. A row's edge is the mean column of its rise,
// the differences of neighbors within the reach of its center.
EdgeLine FitEdge(const UprightEdge& picture, const std::vector<double>& centers, double reach)
{
    double n = 0, sumY = 0, sumYY = 0, sumX = 0, sumXY = 0;
    for (std::uint32_t y = 0; y < picture.rows; ++y) {
        double rise = 0, moment = 0;
        for (std::uint32_t x = 0; x + 1 < picture.columns; ++x) {
            if (std::abs(x + 0.5 - centers[y]) <= reach) {
                const double difference = picture.At(y, x + 1) - picture.At(y, x);
                rise += difference;
                moment += difference * (x + 0.5);
            }
        }
        if (rise > 0) {
            const double column = std::clamp(moment / rise, 0.0, picture.columns - 1.0);
            n += 1;
            sumY += y;
            sumYY += static_cast<double>(y) * y;
            sumX += column;
            sumXY += column * y;
        }
    }
    const double slope = (n * sumXY - sumY * sumX) / (n * sumYY - sumY * sumY);
    return {(sumX - slope * sumY) / n, slope};
}

// How far the response reaches in all rows, in pixels along the normal.
double HalfWidth(const UprightEdge& picture, const EdgeLine& line)
{
    const double top = line.At(0), bottom = line.At(picture.rows - 1.0);
    const double across =
        std::min(std::min(top, bottom), picture.columns - 1.0 - std::max(top, bottom));
    return across / std::hypot(1.0, line.slope);
}

// Pixels whose distance falls into a bin are averaged, their distances too, which need not lie in
// the bin's middle: there the response is interpolated. False when a bin stays empty.
bool SampleEdge(const UprightEdge& picture, const EdgeLine& line, double reach,
                EdgeResponse& response)
{
    struct Bin
    {
        double count = 0, distance = 0, value = 0;
    };
    const auto half = static_cast<std::size_t>(reach * EdgeOversampling);
    std::vector<Bin> bins(2 * half);
    const double normal = 1 / std::hypot(1.0, line.slope);
    for (std::uint32_t y = 0; y < picture.rows; ++y) {
        for (std::uint32_t x = 0; x < picture.columns; ++x) {
            const double distance = (x - line.At(y)) * normal * EdgeOversampling;
            const double index = std::floor(distance) + static_cast<double>(half);
            if (index >= 0 && index < static_cast<double>(bins.size())) {
                Bin& bin = bins[static_cast<std::size_t>(index)];
                bin.count += 1;
                bin.distance += distance;
                bin.value += picture.At(y, x);
            }
        }
    }
    for (Bin& bin : bins) {
        if (bin.count == 0) {
            return false;
        }
        bin.distance /= bin.count;
        bin.value /= bin.count;
    }
    for (std::size_t i = 0; i < bins.size(); ++i) {
        const double middle = static_cast<double>(i) + 0.5 - static_cast<double>(half);
        const bool isBehind = bins[i].distance < middle;
        const std::size_t other = isBehind ? std::min(i + 1, bins.size() - 1) : i - (i > 0 ? 1 : 0);
        const double span = bins[other].distance - bins[i].distance;
        const double share = other == i ? 0 : (middle - bins[i].distance) / span;
        response.distances.push_back(middle / EdgeOversampling);
        response.edge.push_back(bins[i].value + share * (bins[other].value - bins[i].value));
    }
    return true;
}

// Of neighbors along the edge in the outer half of the response's reach, which blur does not touch.
double FlatNoise(const UprightEdge& picture, const EdgeLine& line, double reach)
{
    double squares = 0, count = 0;
    for (std::uint32_t y = 0; y + 1 < picture.rows; ++y) {
        for (std::uint32_t x = 0; x < picture.columns; ++x) {
            const double distance = std::abs(x - line.At(y));
            if (distance > reach / 2 && distance <= reach) {
                const double difference = picture.At(y + 1, x) - picture.At(y, x);
                squares += difference * difference;
                count += 1;
            }
        }
    }
    return count > 0 ? std::sqrt(squares / count / 2) : 0;
}

// Whether the outermost eighth of the response is as high as the next one, on both sides.
bool HasFlatEnds(const EdgeResponse& response, std::uint32_t rows)
{
    const std::size_t size = response.edge.size(), flat = size / 8;
    const double pixels = static_cast<double>(flat) / EdgeOversampling * rows;
    const double noise = response.noise * std::sqrt(2 / pixels); // of the difference of two eighths
    const double most = std::max(MostEndRise * response.step, SureDeviations * noise);
    const auto mean = [&](std::size_t first) { return MeanOf(response.edge, first, flat); };
    return std::abs(mean(0) - mean(flat)) <= most &&
           std::abs(mean(size - flat) - mean(size - 2 * flat)) <= most;
}

double MeanOf(const std::vector<double>& values, std::size_t first, std::size_t count)
{
    const auto begin = values.begin() + static_cast<std::ptrdiff_t>(first);
    return std::accumulate(begin, begin + static_cast<std::ptrdiff_t>(count), 0.0) /
           static_cast<double>(count);
}

// The LSF, zeros behind it up to 100 pixels, gives the MTF in steps of 0.01 cycles a pixel.
void Transform(EdgeResponse& response)
{
    constexpr int Length = static_cast<int>(EdgeOversampling / MtfFrequencyStep);
    constexpr int Last = static_cast<int>(1 / MtfFrequencyStep);
    struct Free
    {
        void operator()(double* block) const { fftw_free(block); }
    };
    const std::unique_ptr<double, Free> input(fftw_alloc_real(Length));
    std::vector<std::complex<double>> output(Length / 2 + 1);
    if (input == nullptr) {
        throw std::bad_alloc();
    }
    fftw_plan const plan = fftw_plan_dft_r2c_1d(
        Length, input.get(), reinterpret_cast<fftw_complex*>(output.data()), FFTW_ESTIMATE);
    std::fill_n(input.get(), Length, 0.0);
    response.line.assign(response.edge.size(), 0.0);
    for (std::size_t i = 0; i + 1 < response.edge.size(); ++i) {
        response.line[i] = (response.edge[i + 1] - response.edge[i]) * EdgeOversampling;
        input.get()[i] = response.line[i];
    }
    fftw_execute(plan);
    fftw_destroy_plan(plan);
    for (int k = 0; k <= Last; ++k) {
        const double frequency = k * MtfFrequencyStep;
        const double weakened = Sinc(frequency / EdgeOversampling);
        response.mtf.push_back({frequency, std::abs(output[static_cast<std::size_t>(k)]) /
                                               std::abs(output[0]) / (weakened * weakened)});
    }
}

double Sinc(double x)
{
    const double angle = std::numbers::pi * x;
    return angle == 0 ? 1 : std::sin(angle) / angle;
}

} // namespace
