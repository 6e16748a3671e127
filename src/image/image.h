// CImage, the picture in memory: a block of pixels, its format and its orientation.
#pragma once

#include "image/linked_ptr.h"

#include <cstddef>
#include <cstdint>
#include <string>

// Pixel formats: m_pixelBytes 1 (8-bit gray), 2 (9..16-bit gray), 3 (three 8-bit samples), 4 (one
// 32-bit sample), 6 (three 16-bit samples). Pixels stand row after row without padding, multi-byte
// samples little-endian in files and in the host's order here.
//
// The orientation code says how the stored block is read as a picture (b2 b1 b0):
//
//   b2 set: a stored row is a view row            b2 clear: a stored column is a view row
//     b1 set    view row r is stored row r          b1 set    pixels run from stored row 0 upward
//     b1 clear  view row r is row H-1-r             b1 clear  pixels run from the last row downward
//     b0 set    left to right                       b0 set    view row r is stored column r
//     b0 clear  mirrored                            b0 clear  view row r is column W-1-r
//
// Code 5, the default, is the memory layout of a bottom-up bitmap.
class CImage
{
public:
    static constexpr std::uint32_t DefaultOrientation = 5;
    static constexpr std::uint32_t OrientationCount = 8;

    // pixelBytes: 0 for the minimum that the bits need; colorType: 1 gray, 2 three samples a pixel.
    // When the block cannot be had (or its size does not fit 32 bits) the image is empty: m_data is
    // null, m_dataSize 0, and every operation does nothing.
    CImage(std::uint32_t width, std::uint32_t height, std::uint32_t bitsPerSample,
           std::uint32_t pixelBytes, std::uint32_t colorType);
    CImage(std::uint32_t width, std::uint32_t height, std::uint32_t bitsPerSample,
           std::uint32_t pixelBytes, std::uint32_t widthDivisor, std::uint32_t colorType);
    CImage(const CImage&) = delete;
    CImage& operator=(const CImage&) = delete;
    virtual ~CImage();

    // Sets every sample: the low bytes of value as wide as a sample.
    virtual void Fill(std::uint32_t value);
    virtual CLinkedPtr<CImage> Clone() const;
    // Complements every sample within its bit depth.
    virtual void Invert();
    virtual CLinkedPtr<CImage> InvertedCopy() const;

    // Rearranges the storage so that the picture stays the same under the new code (0..7; others
    // are ignored). Each of the seven transforms does so for one change of the code's bits. Nothing
    // changes for pixels of other than 1, 2, 3, 4 or 6 bytes, or when a transposing transform gets
    // no scratch block, which it needs unless width and height are equal. Beside each stand the
    // new bits (b2 b1 b0) and where the pixel of stored row y and column x goes.
    virtual void SetOrientation(std::uint32_t code);
    virtual void MirrorRows();    // b2, b1, not b0          row y, column W-1-x
    virtual void FlipRows();      // b2, not b1, b0          row H-1-y, column x
    virtual void RotateCw();      // not b2, b0, not b1      row x, column H-1-y
    virtual void Transpose();     // not b2, b0, b1          row x, column y
    virtual void TransposeAnti(); // not b2, not b0, not b1  row W-1-x, column H-1-y
    virtual void RotateCcw();     // not b2, not b0, b1      row W-1-x, column y
    virtual void Rotate180();     // b2, not b1, not b0      row H-1-y, column W-1-x

    // Copies whole pixels into storage from pixel index first on; returns how many fitted.
    std::uint32_t PutPixels(const void* source, std::uint32_t count, std::uint32_t first);

    // The bits of the orientation code, by what they mean when set.
    bool RowsAreRows() const { return (m_orientation & 4) != 0; }
    bool RowsRunForward() const { return (m_orientation & 2) != 0; }
    bool ColumnsRunForward() const { return (m_orientation & 1) != 0; }

    // Rows of the picture in viewing order.
    std::uint32_t ViewRowCount() const;
    std::uint32_t ViewRowLength() const; // pixels
    // First stored pixel that belongs to view row r (clamped to the last row); null when empty.
    const std::uint8_t* RowAddress(std::uint32_t r) const;
    // Copies view row r in viewing order into a buffer of size bytes; returns the pixels delivered.
    // A mirrored or upward-running row that does not fit is delivered from its stored start.
    std::uint32_t GetRow(std::uint32_t r, void* destination, std::size_t size) const;

    std::uint32_t m_width;        // pixels of a stored row
    std::uint32_t m_height;       // stored rows
    std::uint32_t m_pixelBytes;   // bytes of a pixel
    std::uint32_t m_widthDivisor; // divides the view rows of the transposed layout
    std::uint32_t m_bitsPerSample;
    std::uint32_t m_colorType;
    std::uint32_t m_samples;        // of a pixel: 3 for color type 2, else 1
    std::uint8_t* m_data = nullptr; // the block, owned
    std::uint32_t m_dataSize = 0;   // bytes of the block
    std::uint32_t m_orientation = DefaultOrientation;
    std::uint32_t m_imageId = 0;  // the capture library's number of the stored image
    std::uint32_t m_imageTag = 0; // second number of the capture record
    std::string m_headerText;     // key=value fields
    std::string m_userId;
};
