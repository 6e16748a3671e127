// Display mapping: from sample values to the gray levels of the display image.
//
//   current image --FitScaleRange--> center, width --BuildDisplayLut--> table
//         \------------------------ RenderToDisplay ---------------------/--> display image
//
// The display image has one byte a pixel; its row 0 is the bottom line on screen.
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
inline constexpr std::uint32_t DisplayBackground = 128; // gray where there is no picture
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

// Draws the source over the display image, as large as fits at zoom 1, around the view center
// (cx, cy in source pixels) above it; the picture starts at the left edge and is centered
// vertically. Pixels outside the picture stay as they are. lut: DisplayLutSize entries, of which
// the lowest 4,096 are used. Does nothing when an image is missing or has no pixels, when the
// source's pixels are not of 1 or 2 bytes, or when the zoom is not above 0.
void RenderToDisplay(const CImage* source, const std::uint8_t* lut, double zoom, std::uint32_t cx,
                     std::uint32_t cy, CImage* display);

// The average of every step-th row and column of each block of scaleX x scaleY source pixels
// becomes, through the table, one display pixel. Return the number of display pixels visited.
std::uint32_t Resample8(const std::uint8_t* samples, std::uint32_t width, std::uint32_t height,
                        const std::uint8_t* lut, std::uint32_t cx, std::uint32_t cy, double scaleX,
                        double scaleY, std::uint32_t step, CImage& display);
std::uint32_t Resample16(const std::uint16_t* samples, std::uint32_t width, std::uint32_t height,
                         const std::uint8_t* lut, std::uint32_t cx, std::uint32_t cy, double scaleX,
                         double scaleY, std::uint32_t step, CImage& display);
