// Pictures and rows as bytes that tests compare.
#pragma once

#include "benchmarks/reference_image.h"

#include <gtest/gtest.h>

using Bytes = std::vector<std::uint8_t>;

inline Bytes Block(const CImage& image)
{
    return {image.m_data, image.m_data + image.m_dataSize};
}

inline Bytes ViewRow(const CImage& image, std::uint32_t r)
{
    Bytes row(std::size_t{image.ViewRowLength()} * image.m_pixelBytes);
    EXPECT_EQ(image.GetRow(r, row.data(), row.size()), image.ViewRowLength());
    return row;
}

// The picture as a viewer reads it.
inline std::vector<Bytes> ViewRows(const CImage& image)
{
    std::vector<Bytes> rows;
    for (std::uint32_t r = 0; r < image.ViewRowCount(); ++r) {
        rows.push_back(ViewRow(image, r));
    }
    return rows;
}
