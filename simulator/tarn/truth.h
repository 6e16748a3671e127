// The truth about an image: what its scene is and what was planted.
#pragma once

#include "simulator/tarn/scene.h"
#include "simulator/tarn/sensor.h"

#include <cstdint>
#include <string>

namespace tarn {

// One line of JSON without a line end, for readers that compare measures with it.
std::string TruthOf(std::uint32_t imageId, std::uint32_t device, Scene scene, double edgeBlur,
                    const Exposure& exposure, const PlantedDefects& defects);

} // namespace tarn
