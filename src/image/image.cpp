// CImage: construction, copies, and operations on all samples.
#include "image/image.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>

namespace {
std::uint8_t* AllocateBlock(std::uint64_t rows, std::uint64_t width, std::uint64_t pixelBytes,
                            std::uint32_t& size);
template <typename Sample>
void FillSamples(std::uint8_t* block, std::size_t count, Sample value);
template <typename Sample>
void InvertSamples(std::uint8_t* block, std::size_t count, std::uint32_t bits);
} // namespace

CImage::CImage(std::uint32_t width, std::uint32_t height, std::uint32_t bitsPerSample,
               std::uint32_t pixelBytes, std::uint32_t colorType)
    : CImage(width, height, bitsPerSample, pixelBytes, 1, colorType)
{
}

CImage::CImage(std::uint32_t width, std::uint32_t height, std::uint32_t bitsPerSample,
               std::uint32_t pixelBytes, std::uint32_t widthDivisor, std::uint32_t colorType)
    : m_width(width),
      m_height(height),
      m_widthDivisor(widthDivisor),
      m_bitsPerSample(bitsPerSample),
      m_colorType(colorType),
      m_samples(colorType == 2 ? 3 : 1)
{
    const std::uint32_t sampleBytes = bitsPerSample / 8 + (bitsPerSample % 8 != 0 ? 1 : 0);
    m_pixelBytes = std::max(pixelBytes, sampleBytes * m_samples);
    m_data = AllocateBlock(m_height, m_width, m_pixelBytes, m_dataSize);
}

CImage::~CImage()
{
    delete[] m_data;
}

void CImage::Fill(std::uint32_t value)
{
    if (m_data == nullptr) {
        return;
    }
    const std::size_t count = std::size_t{m_height} * m_width * m_samples;
    const std::uint32_t sampleBytes = m_pixelBytes / m_samples;
    if (value == 0 || sampleBytes == 1) {
        std::memset(m_data, static_cast<std::uint8_t>(value), m_dataSize);
    } else if (sampleBytes == 2) {
        FillSamples(m_data, count, static_cast<std::uint16_t>(value));
    } else if (sampleBytes == 4) {
        FillSamples(m_data, count, value);
    }
}

CLinkedPtr<CImage> CImage::Clone() const
{
    CLinkedPtr copy(
        new CImage(m_width, m_height, m_bitsPerSample, m_pixelBytes, m_widthDivisor, m_colorType));
    if (m_data != nullptr && copy->m_data != nullptr) {
        std::memcpy(copy->m_data, m_data, m_dataSize);
    }
    copy->m_imageId = m_imageId;
    copy->m_imageTag = m_imageTag;
    copy->m_headerText = m_headerText;
    copy->m_userId = m_userId;
    copy->m_orientation = m_orientation;
    return copy;
}

// sample ^= 2^bits - 1
void CImage::Invert()
{
    if (m_data == nullptr || (m_colorType != 1 && m_colorType != 2)) {
        return;
    }
    const std::size_t count = std::size_t{m_height} * m_width * m_samples;
    const std::uint32_t sampleBytes = m_pixelBytes / m_samples;
    if (sampleBytes == 1) {
        InvertSamples<std::uint8_t>(m_data, count, m_bitsPerSample);
    } else if (sampleBytes == 2) {
        InvertSamples<std::uint16_t>(m_data, count, m_bitsPerSample);
    } else if (sampleBytes == 4) {
        InvertSamples<std::uint32_t>(m_data, count, m_bitsPerSample);
    }
}

CLinkedPtr<CImage> CImage::InvertedCopy() const
{
    CLinkedPtr<CImage> copy = Clone();
    copy->Invert();
    return copy;
}

std::uint32_t CImage::PutPixels(const void* source, std::uint32_t count, std::uint32_t first)
{
    const std::uint64_t offset = std::uint64_t{m_pixelBytes} * first;
    if (m_data == nullptr || offset > m_dataSize) {
        return 0;
    }
    const std::uint64_t bytes = std::min(m_dataSize - offset, std::uint64_t{m_pixelBytes} * count);
    if (bytes != 0) {
        std::memcpy(m_data + offset, source, static_cast<std::size_t>(bytes));
    }
    return static_cast<std::uint32_t>(bytes / m_pixelBytes);
}

namespace {

// Null, and a size of 0, when there is nothing to hold, the size needs more than 32 bits, or the
// memory cannot be had. The contents are undefined.
std::uint8_t* AllocateBlock(std::uint64_t rows, std::uint64_t width, std::uint64_t pixelBytes,
                            std::uint32_t& size)
{
    constexpr std::uint64_t Most = std::numeric_limits<std::uint32_t>::max();
    const std::uint64_t pixels = rows * width;
    if (pixels == 0 || pixelBytes == 0 || pixels > Most / pixelBytes) {
        return nullptr;
    }
    std::uint8_t* block = new (std::nothrow) std::uint8_t[pixels * pixelBytes];
    if (block != nullptr) {
        size = static_cast<std::uint32_t>(pixels * pixelBytes);
    }
    return block;
}

template <typename Sample>
void FillSamples(std::uint8_t* block, std::size_t count, Sample value)
{
    for (std::size_t i = 0; i < count; ++i) {
        std::memcpy(block + i * sizeof(Sample), &value, sizeof(Sample));
    }
}

template <typename Sample>
void InvertSamples(std::uint8_t* block, std::size_t count, std::uint32_t bits)
{
    constexpr std::uint32_t SampleBits = std::numeric_limits<Sample>::digits;
    const Sample mask = bits < SampleBits ? static_cast<Sample>((1u << bits) - 1)
                                          : std::numeric_limits<Sample>::max();
    for (std::size_t i = 0; i < count; ++i) {
        Sample sample;
        std::memcpy(&sample, block + i * sizeof(Sample), sizeof(Sample));
        sample = static_cast<Sample>(sample ^ mask);
        std::memcpy(block + i * sizeof(Sample), &sample, sizeof(Sample));
    }
}

} // namespace
