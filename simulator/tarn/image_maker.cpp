// Exposes the phantom, the test pattern or a picture, and packs it as the store takes it.
#include "simulator/tarn/image_maker.h"

#include "simulator/tarn/hash.h"
#include "simulator/tarn/header_text.h"
#include "simulator/tarn/result_codes.h"
#include "simulator/tarn/scene.h"
#include "simulator/tarn/sensor.h"
#include "simulator/tarn/system.h"
#include "simulator/tarn/trace.h"
#include "simulator/tarn/truth.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <utility>

namespace tarn {
namespace {

constexpr double TargetIntegration = 300; // ms, gives exposure level 1
constexpr std::uint32_t SensorWidth = 1300, SensorHeight = 1700;
constexpr double PixelSize = 0.1; // mm

void AppendLine(const std::string& path, const std::string& line);
void SaveRaw(Capture& capture, const Frame& frame);
std::string HeaderText(const Capture& capture, const Settings& settings);
std::string FormatTime(const char* format, std::uint64_t seed, std::uint32_t imageId);

} // namespace

void ImageMaker::Make(Capture& capture, const Settings& settings)
{
    const Frame frame = MakeFrame(capture, settings);
    if (!capture.rawFolder.empty()) {
        SaveRaw(capture, frame);
    }
    const bool eightBit = !capture.filterChain.empty();
    const Frame& delivered = eightBit ? ScaleToEightBits(frame) : frame;
    StoredImage& image = capture.image;
    image.width = delivered.width;
    image.height = delivered.height;
    image.bitsPerSample = delivered.bitsPerSample;
    image.pixelBytes = delivered.bitsPerSample > 8 ? 2 : 1;
    image.pixels = PackSamples(delivered, RowOrder::BottomFirst);
    image.imageId = capture.imageId;
    image.tag = capture.device.number << 16 | capture.device.SensorCode();
    image.headerText = HeaderText(capture, settings);
    image.userId = capture.userId;
}

Frame ImageMaker::MakeFrame(Capture& capture, const Settings& settings)
{
    const std::uint32_t binning = std::max(capture.device.binning, 1u);
    const std::uint32_t width =
        settings.imageWidth != 0 ? settings.imageWidth : SensorWidth / binning;
    const std::uint32_t height =
        settings.imageHeight != 0 ? settings.imageHeight : SensorHeight / binning;
    if (capture.testImage) {
        return TestPattern(width, height);
    }
    if (!settings.imageFolder.empty()) {
        if (std::optional<Frame> frame = NextPicture(capture, ResolvePath(settings.imageFolder))) {
            return std::move(*frame);
        }
    }
    return ExposeScene(capture, settings, width, height);
}

Frame ImageMaker::ExposeScene(const Capture& capture, const Settings& settings, std::uint32_t width,
                              std::uint32_t height)
{
    const DeviceState& device = capture.device;
    const std::uint32_t binning = std::max(device.binning, 1u);
    Exposure exposure;
    exposure.width = width;
    exposure.height = height;
    exposure.level = device.integrationTime / TargetIntegration;
    exposure.photons *= binning * binning;
    exposure.shading = settings.shading / 100;
    exposure.lag = settings.lag / 100;
    exposure.noiseSeed = m_seed << 32 ^ capture.imageId;
    exposure.patternSeed = device.number;
    exposure.fixedPattern = !capture.gainCheck;

    std::vector<float>& previous = m_previous[device.number];
    std::vector<float> signal =
        settings.scene == Scene::Phantom
            ? CollectSignal(exposure,
                            m_phantom.Transmission(width, height, device.SensorCode() == 12),
                            previous)
            : CollectSignal(exposure,
                            SceneTransmission(settings.scene, width, height, settings.edgeBlur),
                            previous);
    previous = settings.lag > 0 ? signal : std::vector<float>();

    const DefectCounts counts = {settings.deadPixels, settings.hotPixels, settings.noisyPixels,
                                 settings.deadLines};
    const PlantedDefects defects =
        PlantDefects(width, height, counts, Hash(m_seed) ^ device.number);
    if (!settings.truthFile.empty()) {
        AppendLine(ResolvePath(settings.truthFile),
                   TruthOf(capture.imageId, device.number, settings.scene, settings.edgeBlur,
                           exposure, defects));
    }
    return ReadSensor(exposure, std::move(signal), defects);
}

std::optional<Frame> ImageMaker::NextPicture(Capture& capture, const std::string& folder)
{
    try {
        const std::vector<std::string> paths = GrayMaps(folder);
        if (paths.empty()) {
            throw std::runtime_error("the folder " + folder + " holds no .pgm pictures");
        }
        return ReadGrayMap(paths[static_cast<std::size_t>(m_pictures++ % paths.size())]);
    } catch (const std::runtime_error& failure) {
        Warn(failure.what());
        capture.warnings.push_back(PictureUnusable);
        return std::nullopt;
    }
}

namespace {

void AppendLine(const std::string& path, const std::string& line)
{
    std::ofstream file(PathOf(path), std::ios::app);
    file << line << '\n';
    if (!file.flush()) {
        Warn("cannot write the truth file " + path);
    }
}

void SaveRaw(Capture& capture, const Frame& frame)
{
    const std::string folder = ResolvePath(capture.rawFolder);
    char name[64];
    std::snprintf(name, sizeof name, "/raw%010u_%ux%u.raw", static_cast<unsigned>(capture.imageId),
                  static_cast<unsigned>(frame.width), static_cast<unsigned>(frame.height));
    std::error_code error;
    std::filesystem::create_directories(PathOf(folder), error);
    std::ofstream file(PathOf(folder + name), std::ios::binary);
    const std::vector<std::uint8_t> bytes = PackSamples(frame, RowOrder::TopFirst);
    file.write(reinterpret_cast<const char*>(bytes.data()), std::streamsize(bytes.size()));
    if (!file.flush()) {
        Warn("cannot write the raw file " + folder + name);
        capture.warnings.push_back(RawFileNotWritten);
    }
}

std::string HeaderText(const Capture& capture, const Settings& settings)
{
    ExposureFacts facts;
    facts.programName = settings.texts.empty() ? capture.program : HostileText(settings.texts);
    facts.programCode = capture.programCode;
    facts.imageId = capture.imageId;
    facts.date = FormatTime("%Y-%m-%d", settings.seed, capture.imageId);
    facts.time = FormatTime("%H:%M:%S", settings.seed, capture.imageId);
    facts.exposureTime = static_cast<std::uint32_t>(std::lround(settings.exposureTime * 1000));
    facts.integrationTime = capture.device.integrationTime;
    facts.sensorCode = capture.device.SensorCode();
    facts.hardwareId = capture.device.HardwareId();
    facts.binning = capture.device.binning;
    facts.pixelSize = PixelSize * capture.device.binning;
    facts.testImage = capture.testImage;
    facts.eightBit = !capture.filterChain.empty();
    facts.level = capture.device.integrationTime / TargetIntegration;
    return BuildHeaderText(facts);
}

// With a seed the calendar is simulated as well, so that the run is the same every time.
std::string FormatTime(const char* format, std::uint64_t seed, std::uint32_t imageId)
{
    constexpr std::time_t FirstMorning = 1709280000; // 2024-03-01 08:00:00 UTC
    const std::time_t now =
        seed != 0 ? FirstMorning + std::time_t{90} * imageId : std::time(nullptr);
    const std::tm parts = seed != 0 ? UtcTime(now) : LocalTime(now);
    char text[32];
    std::strftime(text, sizeof text, format, &parts);
    return text;
}

} // namespace
} // namespace tarn
