// The header text that goes with an image.
#pragma once

#include <cstdint>
#include <string>

namespace tarn {

// The data of one exposure.
struct ExposureFacts
{
    std::string programName;
    std::uint32_t programCode = 1; // position of the program in the list, from 1
    std::uint32_t imageId = 0;
    std::string date;                  // 2024-03-01
    std::string time;                  // 08:00:00
    std::uint32_t exposureTime = 0;    // ms
    std::uint32_t integrationTime = 0; // ms
    std::uint32_t sensorCode = 12;
    std::string hardwareId;
    std::uint32_t binning = 1;
    double pixelSize = 0.1; // mm
    bool testImage = false;
    bool eightBit = false;
    double level = 1; // exposure against the target
};

// key=value fields, each ended by ";". Every key that is the end of another one comes before it,
// because readers find a key by its first occurrence.
std::string BuildHeaderText(const ExposureFacts& facts);

} // namespace tarn
