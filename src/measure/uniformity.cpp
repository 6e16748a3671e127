// Divides a flat image into squares and compares them.
#include "measure/uniformity.h"

#include "measure/moments.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr double SquareSide = 10, Border = 10; // mm

struct Deviations
{
    NonUniformity nonUniformity;
    std::vector<double> local; // of each square
};

Deviations Compare(const Uniformity& grid, double UniformitySquare::*quantity);
double NeighborMean(const Uniformity& grid, std::uint32_t column, std::uint32_t row,
                    double UniformitySquare::*quantity);

} // namespace

Uniformity UniformityOf(const GrayView& view, double pixelPitch)
{
    const auto side = static_cast<std::uint32_t>(std::lround(SquareSide / pixelPitch));
    const auto border = static_cast<std::uint32_t>(std::lround(Border / pixelPitch));
    const auto fitting = [&](std::uint32_t extent) {
        return extent > 2 * border ? (extent - 2 * border) / side : 0;
    };
    Uniformity grid;
    grid.columns = fitting(view.width);
    grid.rows = fitting(view.height);
    if (grid.columns == 0 || grid.rows == 0) {
        return {};
    }
    for (std::uint32_t row = 0; row < grid.rows; ++row) {
        for (std::uint32_t column = 0; column < grid.columns; ++column) {
            const PixelRect rect = {border + column * side, border + row * side, side, side};
            const Moments moments = MomentsOf(Crop(view, rect));
            const double signal = moments.Mean(), noise = moments.StandardDeviation();
            grid.squares.push_back({rect, signal, noise, noise > 0 ? signal / noise : 0, 0});
        }
    }
    const Deviations signal = Compare(grid, &UniformitySquare::signal);
    for (std::size_t i = 0; i < grid.squares.size(); ++i) {
        grid.squares[i].localSignal = signal.local[i];
    }
    grid.signal = signal.nonUniformity;
    grid.noise = Compare(grid, &UniformitySquare::noise).nonUniformity;
    grid.signalToNoise = Compare(grid, &UniformitySquare::signalToNoise).nonUniformity;
    return grid;
}

namespace {

Deviations Compare(const Uniformity& grid, double UniformitySquare::*quantity)
{
    Deviations result;
    double smallest = grid.squares[0].*quantity, largest = smallest, sum = 0;
    for (std::uint32_t row = 0; row < grid.rows; ++row) {
        for (std::uint32_t column = 0; column < grid.columns; ++column) {
            const double value = grid.squares[row * grid.columns + column].*quantity;
            const double neighbors = NeighborMean(grid, column, row, quantity);
            result.local.push_back(neighbors > 0 ? std::abs(value - neighbors) / neighbors : 0);
            smallest = std::min(smallest, value);
            largest = std::max(largest, value);
            sum += value;
        }
    }
    const double mean = sum / static_cast<double>(grid.squares.size());
    result.nonUniformity = {*std::ranges::max_element(result.local),
                            mean > 0 ? (largest - smallest) / mean : 0};
    return result;
}

// 0 for a square without neighbors.
double NeighborMean(const Uniformity& grid, std::uint32_t column, std::uint32_t row,
                    double UniformitySquare::*quantity)
{
    double sum = 0;
    std::uint32_t count = 0;
    for (std::uint32_t y = row - (row > 0 ? 1 : 0); y < std::min(row + 2, grid.rows); ++y) {
        for (std::uint32_t x = column - (column > 0 ? 1 : 0);
             x < std::min(column + 2, grid.columns); ++x) {
            if (x != column || y != row) {
                sum += grid.squares[y * grid.columns + x].*quantity;
                ++count;
            }
        }
    }
    return count > 0 ? sum / count : 0;
}

} // namespace
