// Collects the signal of an exposure and reads it out with noise.
#include "simulator/tarn/sensor.h"

#include "simulator/tarn/hash.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

namespace tarn {
namespace {

constexpr double FullWell = 1.08; // the signal that saturates

void ApplyShading(const Exposure& exposure, std::vector<float>& signal);
const std::array<float, 65536>& GaussTable();

} // namespace

std::vector<float> CollectSignal(const Exposure& exposure,
                                 const std::vector<std::uint16_t>& transmission,
                                 const std::vector<float>& previous)
{
    const auto level = static_cast<float>(exposure.level / 65535);
    std::vector<float> signal(transmission.size());
    for (std::size_t i = 0; i < signal.size(); ++i) {
        signal[i] = static_cast<float>(transmission[i]) * level;
    }
    if (exposure.shading > 0) {
        ApplyShading(exposure, signal);
    }
    if (exposure.lag > 0 && previous.size() == signal.size()) {
        const auto lag = static_cast<float>(exposure.lag);
        for (std::size_t i = 0; i < signal.size(); ++i) {
            signal[i] += lag * previous[i];
        }
    }
    return signal;
}

Frame ReadSensor(const Exposure& exposure, std::vector<float> signals,
                 const PlantedDefects& defects)
{
    for (const std::size_t i : defects.dead) {
        signals[i] = 0;
    }
    for (const std::size_t i : defects.hot) {
        signals[i] *= static_cast<float>(HotResponse);
    }
    for (const DeadLine& line : defects.lines) {
        for (std::size_t y = line.top; y < exposure.height; ++y) {
            signals[y * exposure.width + line.column] = 0;
        }
    }
    const std::array<float, 65536>& gauss = GaussTable();
    std::vector<float> values(signals.size());
    const auto quantum = static_cast<float>(1 / exposure.photons);
    constexpr auto Well = static_cast<float>(FullWell);
    std::uint64_t state = Hash(exposure.noiseSeed);
    for (std::size_t i = 0; i < signals.size(); ++i) {
        state = state * 6364136223846793005u + 1442695040888963407u;
        const float shot = gauss[static_cast<std::size_t>(state >> 48)];
        const float electronic = gauss[static_cast<std::size_t>(state >> 32 & 0xFFFF)];
        float signal = signals[i];
        float offset = 0;
        if (exposure.fixedPattern) {
            const std::uint64_t pixel = Hash(exposure.patternSeed ^ i);
            const std::uint64_t column = Hash(exposure.patternSeed + i % exposure.width);
            signal *= 1 + 0.03f * gauss[pixel & 0xFFFF] + 0.015f * gauss[column & 0xFFFF];
            offset = 12 * gauss[pixel >> 16 & 0xFFFF];
            if ((pixel >> 32) % 8000 == 0) {
                signal = pixel >> 63 ? 2.f : 0.f;
            }
        }
        signal += std::sqrt(std::max(signal, 0.f) * quantum) * shot;
        values[i] = static_cast<float>(DarkValue) -
                    static_cast<float>(TargetStep) * std::clamp(signal, -Well, Well) +
                    static_cast<float>(ReadNoise) * electronic + offset;
    }
    for (const std::size_t i : defects.noisy) {
        const std::uint64_t noise = Hash(Hash(exposure.noiseSeed) ^ i);
        values[i] += static_cast<float>(NoisyPixelNoise) * gauss[noise & 0xFFFF];
    }
    Frame frame{exposure.width, exposure.height, 12, {}};
    frame.samples.reserve(values.size());
    for (const float value : values) {
        frame.samples.push_back(static_cast<std::uint16_t>(std::clamp(value + 0.5f, 0.f, 4095.f)));
    }
    return frame;
}

double NoiseAt(const Exposure& exposure, double signal)
{
    return std::sqrt(TargetStep * TargetStep * signal / exposure.photons + ReadNoise * ReadNoise);
}

namespace {

// The loss grows with the square of the distance to the center.
void ApplyShading(const Exposure& exposure, std::vector<float>& signal)
{
    const double centerX = exposure.width * 0.5, centerY = exposure.height * 0.5;
    const double loss = exposure.shading / (centerX * centerX + centerY * centerY);
    for (std::size_t y = 0; y < exposure.height; ++y) {
        const double down = static_cast<double>(y) + 0.5 - centerY;
        float* const row = &signal[y * exposure.width];
        for (std::size_t x = 0; x < exposure.width; ++x) {
            const double across = static_cast<double>(x) + 0.5 - centerX;
            row[x] *= static_cast<float>(1 - loss * (across * across + down * down));
        }
    }
}

// Normally distributed numbers (Box and Muller 1958), scaled so that mean and deviation of the
// table are 0 and 1.
const std::array<float, 65536>& GaussTable()
{
    static const std::array<float, 65536> Table = [] {
        std::array<double, 65536> values{};
        double sum = 0, squares = 0;
        for (std::size_t i = 0; i < values.size(); ++i) {
            const double u = (static_cast<double>(Hash(2 * i) >> 11) + 1) / 9007199254740993.0;
            const double v = static_cast<double>(Hash(2 * i + 1) >> 11) / 9007199254740992.0;
            values[i] = std::sqrt(-2 * std::log(u)) * std::cos(2 * std::numbers::pi * v);
            sum += values[i];
            squares += values[i] * values[i];
        }
        const double mean = sum / values.size();
        const double deviation = std::sqrt(squares / values.size() - mean * mean);
        std::array<float, 65536> table{};
        std::ranges::transform(values, table.begin(), [&](double value) {
            return static_cast<float>((value - mean) / deviation);
        });
        return table;
    }();
    return Table;
}

} // namespace
} // namespace tarn
