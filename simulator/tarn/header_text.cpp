// Builds the header text from the data of the exposure.
#include "simulator/tarn/header_text.h"

#include <cmath>
#include <cstdio>
#include <utility>

namespace tarn {
namespace {

std::string Decimal(double value, int digits);
// Escapes separators, quotes, backslashes and line ends.
std::string EscapeHeaderValue(const std::string& value);

} // namespace

std::string BuildHeaderText(const ExposureFacts& facts)
{
    constexpr double TargetLevel = 1000;
    const std::string pixelSize = Decimal(facts.pixelSize, 3);
    const std::pair<const char*, std::string> fields[] = {
        {"Date", facts.date},
        {"Time", facts.time},
        {"ProgramMsg", facts.testImage ? "Test image; no exposure" : "Exposure complete"},
        {"ProgramCode", std::to_string(facts.programCode)},
        {"ProgramCPPos", std::to_string(facts.programCode * 10)},
        {"ProgramName", facts.programName},
        {"ExposureTime", std::to_string(facts.exposureTime)},
        {"SelectedExposureTime", std::to_string(facts.exposureTime)},
        {"mA", Decimal(6.3, 1)},
        {"kV", std::to_string(55 + 3 * (facts.programCode % 5))},
        {"SourceID", "SIM-SOURCE-1"},
        {"DevINro", std::to_string(facts.imageId)},
        {"CameraHwID", facts.hardwareId},
        {"CameraMode", facts.testImage ? "Test" : "Normal"},
        {"AecBaseDensity", Decimal(1.0, 1)},
        {"AecDensityOffset", "0"},
        {"ImagingMode", facts.eightBit ? "8 bit" : "12 bit"},
        {"NasioPos", "0"},
        {"PixelWidth", pixelSize},
        {"PixelHeight", pixelSize},
        {"IntegrationTime", std::to_string(facts.integrationTime)},
        {"TolvaSensorCode", std::to_string(facts.sensorCode)},
        {"Binning", std::to_string(facts.binning)},
        {"BlackLevel", "28"},
        {"TargetLevel", Decimal(TargetLevel, 0)},
        {"ExpLevel", Decimal(TargetLevel * facts.level, 0)},
        {"ExpLevelPercentage", Decimal(100 * facts.level, 0)},
        {"AEC", "0"},
    };
    std::string text;
    for (const auto& [key, value] : fields) {
        text += std::string(key) + "=" + EscapeHeaderValue(value) + ";";
    }
    return text;
}

namespace {

std::string Decimal(double value, int digits)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.*f", digits, value);
    return text;
}

std::string EscapeHeaderValue(const std::string& value)
{
    std::string escaped;
    for (const char character : value) {
        switch (character) {
        case '\n':
            escaped += "\\n";
            break;
        case '\r':
            escaped += "\\r";
            break;
        case '\t':
            escaped += "\\t";
            break;
        case ';':
        case '"':
        case '\\':
            escaped += '\\';
            [[fallthrough]];
        default:
            escaped += character;
        }
    }
    return escaped;
}

} // namespace
} // namespace tarn
