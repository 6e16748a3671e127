// Scenes whose truth is known, and the defects that are planted into a sensor.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace tarn {

enum class Scene
{
    Phantom,
    Flat, // evenly exposed
    Dark, // not exposed
    Edge  // a slanted edge, more exposed on the right
};

struct SceneName
{
    Scene scene;
    std::string_view name;
};
inline constexpr SceneName SceneNames[] = {{Scene::Phantom, "phantom"},
                                           {Scene::Flat, "flat"},
                                           {Scene::Dark, "dark"},
                                           {Scene::Edge, "edge"}};

inline constexpr double FlatTransmission = 0.5;        // leaves room for hot pixels
inline constexpr double EdgeShadowTransmission = 0.05; // behind the edge; beside it as a flat
inline constexpr double EdgeAngle = 3;                 // degrees from the columns

// The share of the beam that passes, 0 to 65535, row by row from the top left, of any scene but the
// phantom. The edge runs through the middle; the normal distribution of deviation edgeBlur, in
// pixels, leads from one side to the other. The samples stand at points: the MTF is that of the
// blur, exp(-2 (pi edgeBlur f)^2) at f cycles a pixel.
std::vector<std::uint16_t> SceneTransmission(Scene scene, std::uint32_t width, std::uint32_t height,
                                             double edgeBlur);

// From a row to the bottom of a column.
struct DeadLine
{
    std::uint32_t column, top;
};

// Pixels are numbered row by row from the top left. None is in two lists or on a line.
struct PlantedDefects
{
    std::vector<std::size_t> dead, hot, noisy;
    std::vector<DeadLine> lines;
};

struct DefectCounts
{
    std::uint32_t dead, hot, noisy, lines;
};

// The same seed, size and counts give the same defects. At most a sixteenth of the pixels becomes
// defective in each way, and of the columns a line.
PlantedDefects PlantDefects(std::uint32_t width, std::uint32_t height, const DefectCounts& counts,
                            std::uint64_t seed);

} // namespace tarn
