// Makes the stored image of an exposure.
#pragma once

#include "simulator/tarn/parameters.h"
#include "simulator/tarn/picture.h"
#include "simulator/tarn/settings.h"
#include "simulator/tarn/store.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace tarn {

// One exposure: a copy of the parameters, which may change during its read-out, and the image.
struct Capture
{
    std::uint32_t imageId = 0;
    DeviceState device;
    std::string userId;
    std::string program;
    std::uint32_t programCode = 0;
    std::string filterChain, rawFolder;
    bool testImage = false, gainCheck = true;

    bool isMade = false;
    StoredImage image;
    std::vector<std::uint32_t> warnings; // results
};

// For one thread.
class ImageMaker
{
public:
    // The same seed, captures and settings give the same images.
    explicit ImageMaker(std::uint64_t seed) : m_seed(seed) {}

    // Sets the capture's image and adds warnings; writes the raw file when the capture has a
    // folder.
    void Make(Capture& capture, const Settings& settings);

private:
    Frame MakeFrame(Capture& capture, const Settings& settings);
    Frame ExposeScene(const Capture& capture, const Settings& settings, std::uint32_t width,
                      std::uint32_t height);
    // Nothing, and a warning, when the picture cannot be used.
    std::optional<Frame> NextPicture(Capture& capture, const std::string& folder);

    const std::uint64_t m_seed;
    Phantom m_phantom;
    std::map<std::uint32_t, std::vector<float>> m_previous; // signals of sensors with lag
    std::uint64_t m_pictures = 0;                           // files of the image folder shown
};

} // namespace tarn
