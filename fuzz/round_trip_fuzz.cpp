// An image of any shape written and read again. Input: width, height, format and orientation, the
// length of the header text, then texts and pixels.
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

// A text survives up to its first zero byte, as long as it is shorter than a piece of the file.
std::string PlainText(const char* data, std::size_t size)
{
    const std::string text(data, std::min<std::size_t>(size, 255));
    return text.substr(0, text.find('\0'));
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    constexpr std::uint32_t Depths[] = {8, 12, 16, 24, 32, 9, 10, 14};
    if (size < 4) {
        return 0;
    }
    CImage image(data[0], data[1], Depths[data[2] >> 3 & 7], 0, 1);
    image.m_orientation = data[2] & 7;
    image.m_imageId = data[2] * 0x01030507u;
    const char* text = reinterpret_cast<const char*>(data) + 4;
    const std::size_t split = std::min<std::size_t>(data[3], size - 4);
    image.m_headerText = PlainText(text, split);
    image.m_userId = PlainText(text + split, size - 4 - split);
    image.Fill(0);
    image.PutPixels(data, static_cast<std::uint32_t>(size / image.m_pixelBytes), 0);

    const std::string& path = FuzzFile("", 0);
    Require(WriteQ32File(path.c_str(), image));
    const CLinkedPtr<CImage> read = ReadQ32File(path.c_str());
    Require(read->m_headerText == image.m_headerText && read->m_userId == image.m_userId &&
            read->m_imageId == image.m_imageId && read->m_bitsPerSample == image.m_bitsPerSample &&
            read->ViewRowCount() == image.ViewRowCount());
    for (std::uint32_t r = 0; r < image.ViewRowCount(); ++r) {
        Require(ViewRow(*read, r) == ViewRow(image, r));
    }
    return 0;
}
