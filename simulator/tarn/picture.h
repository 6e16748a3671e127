// What the simulated sensors see: a radiograph of a hand, a test pattern, or files of a folder.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace tarn {

// Samples row after row, top row first, each of bitsPerSample bits; more exposure gives a lower
// value, as on film.
struct Frame
{
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint32_t bitsPerSample = 12;
    std::vector<std::uint16_t> samples;
};

class Phantom
{
public:
    // The share of the beam that passes, 0 to 65535, row by row from the top left; valid until the
    // next call. The right hand is the mirror image with its own letter.
    const std::vector<std::uint16_t>& Transmission(std::uint32_t width, std::uint32_t height,
                                                   bool leftHand);

private:
    std::uint32_t m_width = 0, m_height = 0;
    bool m_leftHand = false;
    std::vector<std::uint16_t> m_transmission;
};

// Ramps from 0 to 4095, a grid, a checkerboard of single pixels and corner marks of different
// values, without noise: 4095 top left, 3000 top right, 2000 bottom left, 1000 bottom right.
Frame TestPattern(std::uint32_t width, std::uint32_t height);

// Reads a binary gray map (P5) of 8 or 16 bits. Throws std::runtime_error with the file and what is
// wrong with it.
Frame ReadGrayMap(const std::string& path);

// The gray maps of a folder, by name. Empty when the folder cannot be read.
std::vector<std::string> GrayMaps(const std::string& folder);

// The frame with its sample range spread over 8 bits.
Frame ScaleToEightBits(const Frame& frame);

enum class RowOrder
{
    TopFirst,
    BottomFirst
};

// The samples as bytes: 1 per sample up to 8 bits, else 2, little-endian.
std::vector<std::uint8_t> PackSamples(const Frame& frame, RowOrder order);

} // namespace tarn
