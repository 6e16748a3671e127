// From sample values to gray levels: the range of an image that is worth showing, and the table.
//
//   current image --FitScaleRange--> center, width --BuildDisplayLut--> table
//         \------------------------ RenderToDisplay ---------------------/--> display image
#pragma once

#include "image/image.h"

#include <cstdint>
#include <optional>

// The band of sample values spread over the gray levels, in sample units.
struct ScaleRange
{
    std::uint32_t center, width;
};

inline constexpr std::uint32_t DisplayLutSize = 65536;
inline constexpr std::uint32_t InitialMaxSampleValue = 4095;

// 2^bits - 1; 2^32 - 1 from 32 bits up.
constexpr std::uint32_t MaxSampleValue(std::uint32_t bitsPerSample)
{
    return bitsPerSample < 32 ? (std::uint32_t{1} << bitsPerSample) - 1 : 0xFFFFFFFFu;
}

// The band of lutWindowWidth percent of the occupied range that holds the most samples. Nothing for
// an image without pixels or of another pixel size than 1 or 2 bytes.
std::optional<ScaleRange> FitScaleRange(const CImage& image, double lutWindowWidth);

// Fills size entries. Samples from center - width/2 up to center + width/2 rise from 0 to 255, bent
// by pow(gray / 255, 1 / gamma); a gamma of 0 or below (or NaN) bends nothing. Negative mirrors
// the samples at maxValue. A width of 0 is a step: 0 up to the center, 255 above it.
void BuildDisplayLut(std::uint8_t* lut, std::uint32_t size, std::uint32_t center,
                     std::uint32_t width, double gamma, bool negative, std::uint32_t maxValue);
