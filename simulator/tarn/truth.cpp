// Writes the truth as JSON.
#include "simulator/tarn/truth.h"

#include <algorithm>
#include <sstream>

namespace tarn {
namespace {

// "[[x,y],...]"
class Places
{
public:
    void Add(std::size_t x, std::size_t y)
    {
        m_text.append(m_text.empty() ? "[" : ",[").append(std::to_string(x));
        m_text.append(",").append(std::to_string(y)).append("]");
    }
    std::string Text() const { return '[' + m_text + ']'; }

private:
    std::string m_text;
};

std::string PlacesOf(const std::vector<std::size_t>& pixels, std::size_t width)
{
    Places places;
    for (const std::size_t i : pixels) {
        places.Add(i % width, i / width);
    }
    return places.Text();
}

std::string PlacesOf(const std::vector<DeadLine>& lines)
{
    Places places;
    for (const DeadLine& line : lines) {
        places.Add(line.column, line.top);
    }
    return places.Text();
}

} // namespace

std::string TruthOf(std::uint32_t imageId, std::uint32_t device, Scene scene, double edgeBlur,
                    const Exposure& exposure, const PlantedDefects& defects)
{
    std::ostringstream text;
    text << R"({"image":)" << imageId << R"(,"device":)" << device << R"(,"scene":")"
         << std::ranges::find(SceneNames, scene, &SceneName::scene)->name << R"(","width":)"
         << exposure.width << R"(,"height":)" << exposure.height << R"(,"dark_value":)"
         << DarkValue;
    if (scene != Scene::Phantom) {
        const double signal = scene == Scene::Dark ? 0 : FlatTransmission * exposure.level;
        text << R"(,"signal":)" << TargetStep * signal << R"(,"noise":)"
             << NoiseAt(exposure, signal);
    }
    text << R"(,"shading":)" << 100 * exposure.shading << R"(,"lag":)" << 100 * exposure.lag;
    if (scene == Scene::Edge) {
        text << R"(,"edge":{"angle":)" << EdgeAngle << R"(,"blur":)" << edgeBlur << R"(,"step":)"
             << TargetStep * (FlatTransmission - EdgeShadowTransmission) * exposure.level << '}';
    }
    text << R"(,"dead":)" << PlacesOf(defects.dead, exposure.width) << R"(,"hot":)"
         << PlacesOf(defects.hot, exposure.width) << R"(,"noisy":)"
         << PlacesOf(defects.noisy, exposure.width) << R"(,"lines":)" << PlacesOf(defects.lines)
         << '}';
    return text.str();
}

} // namespace tarn
