// PGM files: "P5", width, height and largest value as text, then the rows from the top, two-byte
// samples big-endian.
#include "measure/gray_view.h"
#include "q32/bad_file.h"
#include "q32/picture_format.h"
#include "storage/file_stream.h"

#include <bit>
#include <cctype>
#include <vector>

namespace {

// The next number of the header; comments run from "#" to the end of their line.
std::uint64_t ReadNumber(std::FILE* stream)
{
    int c = std::fgetc(stream);
    while (std::isspace(c) != 0 || c == '#') {
        if (c == '#') {
            while (c != '\n' && c != EOF) {
                c = std::fgetc(stream);
            }
        } else {
            c = std::fgetc(stream);
        }
    }
    std::uint64_t number = 0;
    int digits = 0;
    for (; std::isdigit(c) != 0 && digits < 10; ++digits) {
        number = number * 10 + static_cast<std::uint64_t>(c - '0');
        c = std::fgetc(stream);
    }
    if (digits == 0 || std::isspace(c) == 0) {
        throw BadFile("has a damaged PGM header");
    }
    return number;
}

} // namespace

CLinkedPtr<CImage> ReadPgm(const char* path)
{
    CFileHolder file;
    std::FILE* const stream = file.Open(path, "rb");
    if (stream == nullptr || std::fgetc(stream) != 'P' || std::fgetc(stream) != '5') {
        throw BadFile("cannot be read");
    }
    const std::uint64_t width = ReadNumber(stream);
    const std::uint64_t height = ReadNumber(stream);
    const std::uint64_t largest = ReadNumber(stream);
    if (largest == 0 || largest > 65535) {
        throw BadFile("has a damaged PGM header");
    }
    CLinkedPtr<CImage> picture =
        NewPicture(width, height, static_cast<std::uint32_t>(std::bit_width(largest)));
    const std::size_t rowBytes = std::size_t{picture->m_width} * picture->m_pixelBytes;
    for (std::uint32_t y = 0; y < picture->m_height; ++y) {
        std::uint8_t* const row = RowFromTop(*picture, y);
        if (std::fread(row, 1, rowBytes, stream) != rowBytes) {
            throw BadFile("is cut short");
        }
        for (std::size_t i = 0; picture->m_pixelBytes == 2 && i < rowBytes; i += 2) {
            reinterpret_cast<std::uint16_t*>(row)[i / 2] =
                static_cast<std::uint16_t>(row[i] << 8 | row[i + 1]);
        }
    }
    return picture;
}

void WritePgm(const char* path, const CImage& picture)
{
    CFileHolder file;
    std::FILE* const stream = file.Open(path, "wb");
    if (stream == nullptr) {
        throw BadFile("cannot be written");
    }
    const std::uint32_t bits = BitsInUse(picture);
    std::fprintf(stream, "P5\n%u %u\n%u\n", picture.m_width, picture.m_height, (1u << bits) - 1);
    const GrayView view = *ViewOf(picture);
    std::vector<std::uint8_t> row(std::size_t{view.width} * view.sampleBytes);
    for (std::uint32_t y = 0; y < view.height; ++y) {
        std::size_t i = 0;
        for (std::uint32_t x = 0; x < view.width; ++x) {
            const std::uint32_t value = view.At(x, y);
            if (view.sampleBytes == 2) {
                row[i++] = static_cast<std::uint8_t>(value >> 8);
            }
            row[i++] = static_cast<std::uint8_t>(value);
        }
        std::fwrite(row.data(), 1, row.size(), stream);
    }
    const bool isWritten = std::ferror(stream) == 0;
    if (!file.Close() || !isWritten) {
        throw BadFile("cannot be written");
    }
}
