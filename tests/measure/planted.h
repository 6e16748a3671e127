// Pictures whose truth is known, because the test planted it.
#pragma once

#include "measure/gray_view.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <memory>
#include <random>

inline GrayView ViewOfAll(const CImage& image)
{
    return *ViewOf(image);
}

// The sample of a 2-byte picture at x, y from the top left.
inline std::uint16_t& SampleOf(CImage& image, std::uint32_t x, std::uint32_t y)
{
    auto* const samples = reinterpret_cast<std::uint16_t*>(image.m_data);
    return samples[std::size_t{image.m_height - 1 - y} * image.m_width + x];
}

// valueAt(x, y) rounded to the nearest, with normal noise.
template <typename ValueAt>
std::unique_ptr<CImage> Paint(std::uint32_t width, std::uint32_t height, std::uint32_t bits,
                              double noise, std::uint32_t seed, ValueAt valueAt)
{
    auto image = std::make_unique<CImage>(width, height, bits, 2, 1);
    std::mt19937 random(seed);
    std::normal_distribution<double> normal;
    for (std::uint32_t y = 0; y < height; ++y) {
        for (std::uint32_t x = 0; x < width; ++x) {
            const double value = valueAt(x, y) + noise * normal(random);
            SampleOf(*image, x, y) = static_cast<std::uint16_t>(std::clamp(
                std::floor(value + 0.5), 0.0, std::ldexp(1.0, static_cast<int>(bits)) - 1));
        }
    }
    return image;
}
