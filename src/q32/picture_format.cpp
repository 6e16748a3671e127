// The table of formats, and what readers and writers share.
#include "q32/picture_format.h"

#include "measure/histogram.h"
#include "q32/bad_file.h"
#include "q32/q32_findings.h"
#include "q32/system.h"
#include "storage/file_stream.h"
#include "storage/q32_file.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <filesystem>

namespace {

CLinkedPtr<CImage> ReadWholeQ32(const char* path)
{
    CLinkedPtr<CImage> image = ReadQ32File(path);
    const Q32Findings findings = ExamineQ32File(path);
    if (findings.missingPixelBytes > 0) {
        throw BadFile(findings.texts.back());
    }
    return image;
}

void WriteQ32(const char* path, const CImage& picture)
{
    WriteQ32File(path, picture);
}

constexpr PictureFormat Formats[] = {
    {"q32", ".q32", nullptr, "Wq\0\1", nullptr, 4, ReadWholeQ32, WriteQ32},
    {"pgm", ".pgm", nullptr, "P5", nullptr, 2, ReadPgm, WritePgm},
    {"png", ".png", nullptr, "\x89PNG\r\n\x1A\n", nullptr, 8, ReadPng, WritePng},
    {"tiff", ".tif", ".tiff", "II*\0", "MM\0*", 4, ReadTiff, WriteTiff},
    {"dicom", ".dcm", ".dicom", nullptr, nullptr, 0, nullptr, WriteDicom},
};

std::string LowerCase(std::string text)
{
    std::ranges::transform(text, text.begin(), [](char c) {
        return 'A' <= c && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    });
    return text;
}

} // namespace

const PictureFormat* FormatNamed(const std::string& name)
{
    const auto found =
        std::ranges::find_if(Formats, [&](const auto& format) { return name == format.name; });
    return found == std::end(Formats) ? nullptr : found;
}

const PictureFormat* FormatOfExtension(const std::string& path)
{
    const std::string extension = LowerCase(std::filesystem::path(path).extension().string());
    const auto found = std::ranges::find_if(Formats, [&](const auto& format) {
        return extension == format.extension ||
               (format.otherExtension != nullptr && extension == format.otherExtension);
    });
    return found == std::end(Formats) ? nullptr : found;
}

std::string FormatNames()
{
    std::string names;
    for (const PictureFormat& format : Formats) {
        names += (names.empty() ? "" : ", ") + std::string(format.name);
    }
    return names;
}

CLinkedPtr<CImage> LoadPicture(const std::string& name)
{
    const InputPath path(name);
    std::array<char, 8> begin = {};
    {
        CFileHolder file;
        std::FILE* const stream = file.Open(path.Get(), "rb");
        if (stream == nullptr) {
            return ReadQ32File(path.Get()); // says why it cannot be opened
        }
        const std::size_t size = std::fread(begin.data(), 1, begin.size(), stream);
        if (size == 0) {
            throw BadFile("is empty");
        }
    }
    for (const PictureFormat& format : Formats) {
        for (const char* magic : {format.magic, format.otherMagic}) {
            if (magic != nullptr && std::memcmp(begin.data(), magic, format.magicLength) == 0) {
                return format.read(path.Get());
            }
        }
    }
    throw BadFile("is none of the formats q32, pgm, png and tiff");
}

CLinkedPtr<CImage> NewPicture(std::uint64_t width, std::uint64_t height, std::uint32_t bits)
{
    const std::uint64_t bytes = bits > 8 ? 2 : 1;
    if (width == 0 || height == 0 || width > UINT32_MAX || height > UINT32_MAX ||
        width > Q32MaxPixelBytes / height / bytes) {
        throw BadFile("has an impossible size");
    }
    CLinkedPtr<CImage> picture(new CImage(static_cast<std::uint32_t>(width),
                                          static_cast<std::uint32_t>(height), std::max(bits, 8u), 0,
                                          1));
    if (picture->m_data == nullptr) {
        throw BadFile("needs more memory than there is");
    }
    return picture;
}

std::uint8_t* RowFromTop(const CImage& picture, std::uint32_t y)
{
    return picture.m_data +
           std::size_t{picture.m_height - 1 - y} * picture.m_width * picture.m_pixelBytes;
}

std::uint32_t BitsInUse(const CImage& picture)
{
    const Statistics statistics = StatisticsOf(CountSamples(*ViewOf(picture)));
    return std::max(picture.m_bitsPerSample,
                    static_cast<std::uint32_t>(std::bit_width(statistics.maximum)));
}
