// Reference implementations of reading and turning a picture: pixel by pixel, slow, plainly right.
#pragma once

#include "image/image.h"

#include <cstring>
#include <random>
#include <utility>
#include <vector>

namespace reference {

inline constexpr std::uint32_t PixelSizes[] = {1, 2, 3, 4, 6};

inline void FillWithNoise(CImage& image)
{
    std::minstd_rand noise(image.m_dataSize + 1);
    for (std::uint32_t i = 0; i < image.m_dataSize; ++i) {
        image.m_data[i] = static_cast<std::uint8_t>(noise() >> 8);
    }
}

// A picture without the handles, texts and allocation of CImage.
struct Picture
{
    std::uint32_t width, height, pixelBytes, orientation;
    std::vector<std::uint8_t> block;
};

// Where pixel k of view row r stands, as the table of orientation codes tells it.
inline std::size_t ViewPixel(const CImage& image, std::uint32_t r, std::uint32_t k)
{
    const bool b2 = (image.m_orientation & 4) != 0u;
    const bool b1 = (image.m_orientation & 2) != 0u;
    const bool b0 = (image.m_orientation & 1) != 0u;
    std::size_t row, column;
    if (b2) {
        row = b1 ? r : image.m_height - 1 - r;
        column = b0 ? k : image.m_width - 1 - k;
    } else {
        row = b1 ? k : image.m_height - 1 - k;
        column = b0 ? r : image.m_width - 1 - r;
    }
    return (row * image.m_width + column) * image.m_pixelBytes;
}

// View row r in viewing order.
inline std::vector<std::uint8_t> ViewRow(const CImage& image, std::uint32_t r)
{
    std::vector<std::uint8_t> row;
    for (std::uint32_t k = 0; k < (image.m_orientation & 4 ? image.m_width : image.m_height); ++k) {
        const std::uint8_t* pixel = image.m_data + ViewPixel(image, r, k);
        row.insert(row.end(), pixel, pixel + image.m_pixelBytes);
    }
    return row;
}

enum class Turn
{
    MirrorRows,
    FlipRows,
    Rotate180,
    Transpose,
    TransposeAnti,
    RotateCw,
    RotateCcw
};

struct NamedTurn
{
    Turn turn;
    const char* name;
    void (CImage::*run)();
};

inline constexpr NamedTurn Turns[] = {
    {Turn::MirrorRows, "MirrorRows", &CImage::MirrorRows},
    {Turn::FlipRows, "FlipRows", &CImage::FlipRows},
    {Turn::Rotate180, "Rotate180", &CImage::Rotate180},
    {Turn::Transpose, "Transpose", &CImage::Transpose},
    {Turn::TransposeAnti, "TransposeAnti", &CImage::TransposeAnti},
    {Turn::RotateCw, "RotateCw", &CImage::RotateCw},
    {Turn::RotateCcw, "RotateCcw", &CImage::RotateCcw},
};

// What the turn does to the storage, old row y and column x, and to the code bits.
inline Picture Turned(const Picture& old, Turn turn)
{
    const bool transposes = turn >= Turn::Transpose;
    const std::uint32_t b2 = old.orientation >> 2 & 1;
    const std::uint32_t b1 = old.orientation >> 1 & 1;
    const std::uint32_t b0 = old.orientation & 1;
    const auto code = [](std::uint32_t n2, std::uint32_t n1, std::uint32_t n0) {
        return (n2 & 1) << 2 | (n1 & 1) << 1 | (n0 & 1);
    };
    Picture now{old.width, old.height, old.pixelBytes, 0, {}};
    now.block.resize(old.block.size());
    if (transposes) {
        std::swap(now.width, now.height);
    }
    for (std::size_t y = 0; y < old.height; ++y) {
        for (std::size_t x = 0; x < old.width; ++x) {
            const std::size_t w = old.width, h = old.height;
            std::size_t row = 0, column = 0;
            switch (turn) {
                // clang-format off
            case Turn::MirrorRows:    row = y;         column = w - 1 - x; break;
            case Turn::FlipRows:      row = h - 1 - y; column = x;         break;
            case Turn::Rotate180:     row = h - 1 - y; column = w - 1 - x; break;
            case Turn::Transpose:     row = x;         column = y;         break;
            case Turn::TransposeAnti: row = w - 1 - x; column = h - 1 - y; break;
            case Turn::RotateCw:      row = x;         column = h - 1 - y; break;
            case Turn::RotateCcw:     row = w - 1 - x; column = y;         break;
                // clang-format on
            }
            std::memcpy(&now.block[(row * now.width + column) * old.pixelBytes],
                        &old.block[(y * w + x) * old.pixelBytes], old.pixelBytes);
        }
    }
    switch (turn) {
        // clang-format off
    case Turn::MirrorRows:    now.orientation = code(b2, b1, ~b0);   break;
    case Turn::FlipRows:      now.orientation = code(b2, ~b1, b0);   break;
    case Turn::Rotate180:     now.orientation = code(b2, ~b1, ~b0);  break;
    case Turn::Transpose:     now.orientation = code(~b2, b0, b1);   break;
    case Turn::TransposeAnti: now.orientation = code(~b2, ~b0, ~b1); break;
    case Turn::RotateCw:      now.orientation = code(~b2, b0, ~b1);  break;
    case Turn::RotateCcw:     now.orientation = code(~b2, ~b0, b1);  break;
        // clang-format on
    }
    return now;
}

} // namespace reference
