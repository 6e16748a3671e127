// An image of any shape written and read again. Input: width, height, depth and orientation, the
// length of the header text, pixel bytes, divisor and color type, then texts and pixels.
#include "fuzz_file.h"
#include "storage/q32_file.h"

#include <vector>

namespace {
std::vector<std::uint8_t> ViewRow(const CImage& image, std::uint32_t r)
{
    std::vector<std::uint8_t> row(std::size_t{image.ViewRowLength()} * image.m_pixelBytes);
    image.GetRow(r, row.data(), row.size());
    return row;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    constexpr std::uint32_t Depths[] = {8, 12, 16, 24, 32, 9, 10, 7, 14, 31, 33, 40, 1, 17, 20, 48};
    if (size < 5) {
        return 0;
    }
    CImage image(data[0], data[1], Depths[data[2] >> 4], data[4] & 7, data[4] >> 3 & 3,
                 (data[4] >> 5 & 3) + 1);
    image.m_orientation = data[2] & 15;
    image.m_imageId = data[2] * 0x01030507u;
    const char* text = reinterpret_cast<const char*>(data) + 5;
    const std::size_t split = std::min<std::size_t>(data[3] * 8u, size - 5);
    image.m_headerText.assign(text, split);
    image.m_userId.assign(text + split, size - 5 - split);
    image.Fill(0);
    image.PutPixels(data, static_cast<std::uint32_t>(size / image.m_pixelBytes), 0);

    // What fits reads back as it is; what does not is written and read without harm.
    const bool fits = WhyNotQ32(image).empty();
    const std::string& path = FuzzFile("", 0);
    CLinkedPtr<CImage> read;
    try {
        Require(WriteQ32File(path.c_str(), image));
        read = ReadQ32File(path.c_str());
    } catch (const eQ32FileExcpt&) {
        Require(!fits);
        return 0;
    }
    if (!fits) {
        return 0;
    }
    Require(read->m_headerText == image.m_headerText && read->m_userId == image.m_userId &&
            read->m_imageId == image.m_imageId && read->m_bitsPerSample == image.m_bitsPerSample &&
            read->m_colorType == image.m_colorType &&
            read->m_widthDivisor == image.m_widthDivisor &&
            read->ViewRowCount() == image.ViewRowCount());
    for (std::uint32_t r = 0; r < image.ViewRowCount(); ++r) {
        Require(ViewRow(*read, r) == ViewRow(image, r));
    }
    return 0;
}
