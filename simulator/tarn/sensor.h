// A simulated sensor: how the beam at its pixels becomes the samples of an image.
#pragma once

#include "simulator/tarn/picture.h"
#include "simulator/tarn/scene.h"

#include <cstdint>
#include <vector>

namespace tarn {

// Gray values: without exposure, and how far a signal of 1 takes them down.
inline constexpr double DarkValue = 3700, TargetStep = 3400;
// Gray levels of noise, as standard deviations, without exposure.
inline constexpr double ReadNoise = 3, NoisyPixelNoise = 45;
inline constexpr double HotResponse = 1.6; // of a hot pixel; a dead one has none

// One exposure. A signal of 1 is the unattenuated beam at the sensor's target.
struct Exposure
{
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    double level = 1;              // of the unattenuated beam
    double photons = 20000;        // a pixel at a signal of 1
    double shading = 0;            // share of the signal that is lost from the center to a corner
    double lag = 0;                // share of the previous signal that is left
    std::uint64_t noiseSeed = 0;   // the same seed gives the same noise
    std::uint64_t patternSeed = 0; // the sensor's fixed pattern
    bool fixedPattern = false;     // uncorrected gain, offsets and dead pixels
};

// What the pixels collect, row by row from the top left. transmission: see SceneTransmission;
// previous: what they collected before, ignored when it has another size.
std::vector<float> CollectSignal(const Exposure& exposure,
                                 const std::vector<std::uint16_t>& transmission,
                                 const std::vector<float>& previous);

// The image of the signal, with noise and defects.
Frame ReadSensor(const Exposure& exposure, std::vector<float> signal,
                 const PlantedDefects& defects);

// The standard deviation of a sound pixel at that signal, in gray levels, before rounding.
double NoiseAt(const Exposure& exposure, double signal);

} // namespace tarn
