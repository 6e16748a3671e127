// Makes the beam of each scene and chooses the pixels that are defective.
#include "simulator/tarn/scene.h"

#include "simulator/tarn/hash.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace tarn {
namespace {

std::uint16_t ShareOf(double transmission)
{
    return static_cast<std::uint16_t>(std::lround(transmission * 65535));
}

} // namespace

std::vector<std::uint16_t> SceneTransmission(Scene scene, std::uint32_t width, std::uint32_t height,
                                             double edgeBlur)
{
    std::vector<std::uint16_t> transmission(std::size_t{width} * height,
                                            scene == Scene::Dark ? 0 : ShareOf(FlatTransmission));
    if (scene != Scene::Edge) {
        return transmission;
    }
    constexpr double Angle = EdgeAngle * std::numbers::pi / 180;
    constexpr double LeastBlur = 1e-6; // of a step
    const double scale = 1 / (std::max(edgeBlur, LeastBlur) * std::numbers::sqrt2);
    for (std::size_t y = 0; y < height; ++y) {
        for (std::size_t x = 0; x < width; ++x) {
            const double distance = (static_cast<double>(x) + 0.5 - width * 0.5) * std::cos(Angle) -
                                    (static_cast<double>(y) + 0.5 - height * 0.5) * std::sin(Angle);
            const double share = 0.5 * (1 + std::erf(distance * scale));
            transmission[y * width + x] = ShareOf(
                EdgeShadowTransmission + (FlatTransmission - EdgeShadowTransmission) * share);
        }
    }
    return transmission;
}

PlantedDefects PlantDefects(std::uint32_t width, std::uint32_t height, const DefectCounts& counts,
                            std::uint64_t seed)
{
    constexpr std::uint32_t MostShare = 16;
    PlantedDefects defects;
    const std::size_t pixels = std::size_t{width} * height;
    std::vector<bool> taken(pixels);
    std::uint64_t state = seed;
    const auto draw = [&state](std::size_t limit) {
        state = Hash(state);
        return static_cast<std::size_t>(state % limit);
    };
    while (defects.lines.size() < std::min(counts.lines, width / MostShare)) {
        const auto column = static_cast<std::uint32_t>(draw(width));
        const auto top = static_cast<std::uint32_t>(draw(height / 2 + 1));
        if (!taken[std::size_t{height - 1} * width + column]) {
            defects.lines.push_back({column, top});
            for (std::size_t y = top; y < height; ++y) {
                taken[y * width + column] = true;
            }
        }
    }
    const auto plant = [&](std::uint32_t count, std::vector<std::size_t>& list) {
        while (list.size() < std::min<std::size_t>(count, pixels / MostShare)) {
            const std::size_t i = draw(pixels);
            if (!taken[i]) {
                taken[i] = true;
                list.push_back(i);
            }
        }
        std::ranges::sort(list);
    };
    plant(counts.dead, defects.dead);
    plant(counts.hot, defects.hot);
    plant(counts.noisy, defects.noisy);
    return defects;
}

} // namespace tarn
