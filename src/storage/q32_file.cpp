// Writes and reads Q32 files.
#include "storage/q32_file.h"

#include "platform/files.h"
#include "storage/file_access.h"
#include "storage/row_bands.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <iterator>
#include <new>
#include <utility>
#include <vector>

namespace {

constexpr char NotQ32Text[] = "File %1% is not q32 format";
constexpr char SeekFailedText[] = "Image data seek failed. File %1% is corrupted";
constexpr char HeaderFailedText[] = "Failed to write Q32 header. File %1% write failed";
constexpr char DataFailedText[] = "Failed to write image data. File %1% write failed";

// What failures of no known kind are called on the way in and on the way out.
struct BoundaryTexts
{
    const char* outOfMemory;
    const char* unexpected;
};
constexpr BoundaryTexts ReadTexts = {"Fatal memory allocation error on error reading q32 file %1%",
                                     "Unexpected error reading q32 file %1%"};
constexpr BoundaryTexts WriteTexts = {"Fatal memory allocation error on error writing q32 file %1%",
                                      "Unexpected error on writing q32 file %1%"};

constexpr std::uint32_t MinBits = 8;
constexpr std::uint32_t MaxBits = 32;
constexpr std::uint32_t AssumedBits = 12;
constexpr std::size_t BandBytes = std::size_t{1} << 20; // rows are gathered and written in bands

using HeaderBytes = std::array<std::uint8_t, sizeof(Q32FileHeader)>;
using HeaderWords = std::array<std::uint32_t, sizeof(Q32FileHeader) / sizeof(std::uint32_t)>;

template <typename Work>
auto WithinBoundary(const char* path, const BoundaryTexts& texts, Work work) -> decltype(work());
std::FILE* OpenOrExplain(CFileHolder& file, const char* path, const char* mode,
                         std::uint32_t access);
Q32FileHeader ReadHeader(std::FILE* stream, const char* path);
CLinkedPtr<CImage> ReadPixels(const Q32FileHeader& header, std::FILE* stream);
void RequirePixels(const CImage& image);
void WriteImage(CFileHolder& file, const char* path, const CImage& image);
Q32FileHeader DescribeImage(const CImage& image);
void WritePixels(const CImage& image, const Q32FileHeader& header, std::FILE* stream,
                 const char* path);
void WriteRows(const CImage& image, const Q32FileHeader& header, std::FILE* stream,
               const char* path);
void RequireDone(bool isDone, const char* text, const char* path);
void SwapToLittleEndian(std::uint8_t* data, std::size_t size, std::size_t sampleBytes);

} // namespace

CLinkedPtr<CImage> ReadQ32File(const char* path)
{
    return WithinBoundary(path, ReadTexts, [path] {
        CFileHolder file;
        std::FILE* stream = OpenOrExplain(file, path, "rb", AccessRead);
        const Q32FileHeader header = ReadHeader(stream, path);
        CLinkedPtr<CImage> image = ReadPixels(header, stream);
        image->m_imageId = header.imageId;
        for (std::string* const text : {&image->m_headerText, &image->m_userId}) {
            RequireDone(ReadLengthPrefixedText(*text, Q32MaxTextBytes, stream), NotQ32Text, path);
        }
        return image;
    });
}

bool WriteQ32File(const char* path, const CImage& image)
{
    return WithinBoundary(path, WriteTexts, [path, &image] {
        RequirePixels(image);
        CFileHolder file;
        OpenOrExplain(file, path, "wb", AccessWrite | AccessCreate);
        WriteImage(file, path, image);
        RequireDone(SyncFolderOf(path), DataFailedText, path);
        return true;
    });
}

void WriteQ32Stream(CFileHolder& file, const char* path, const CImage& image)
{
    WithinBoundary(path, WriteTexts, [&] { WriteImage(file, path, image); });
}

std::string WhyNotQ32(const CImage& image)
{
    const std::uint32_t bits = image.m_bitsPerSample;
    const struct
    {
        bool broken;
        const char* reason;
    } rules[] = {
        {image.m_data == nullptr, "it has no pixels"},
        {image.m_colorType != 1, "a pixel has more than one sample"},
        {bits < MinBits || bits > MaxBits, "a sample has fewer than 8 bits or more than 32"},
        {image.m_pixelBytes != (bits + 7) / 8, "a pixel takes more bytes than its bits need"},
        {image.m_dataSize > Q32MaxPixelBytes, "its pixels take more than 512 MiB"},
        {image.m_widthDivisor == 0 || (image.m_widthDivisor != 1 && !image.RowsAreRows()),
         "its rows are divided"},
        {image.m_headerText.size() > Q32MaxTextBytes, "its header text takes more than 16 MiB"},
        {image.m_userId.size() > Q32MaxTextBytes, "its user id takes more than 16 MiB"},
        {image.m_headerText.find('\0') != std::string::npos, "its header text has a zero byte"},
        {image.m_userId.find('\0') != std::string::npos, "its user id has a zero byte"},
    };
    const auto broken = std::find_if(std::begin(rules), std::end(rules),
                                     [](const auto& rule) { return rule.broken; });
    return broken != std::end(rules) ? broken->reason : "";
}

HeaderBytes EncodeQ32Header(const Q32FileHeader& header)
{
    const auto words = std::bit_cast<HeaderWords>(header);
    HeaderBytes bytes;
    for (std::size_t i = 0; i < words.size(); ++i) {
        StoreWord(words[i], &bytes[4 * i]);
    }
    return bytes;
}

Q32FileHeader DecodeQ32Header(const HeaderBytes& bytes)
{
    HeaderWords words;
    for (std::size_t i = 0; i < words.size(); ++i) {
        words[i] = LoadWord(&bytes[4 * i]);
    }
    return std::bit_cast<Q32FileHeader>(words);
}

namespace {

// Runs the work and lets nothing out but the two exceptions of image files.
template <typename Work>
auto WithinBoundary(const char* path, const BoundaryTexts& texts, Work work) -> decltype(work())
{
    try {
        return work();
    } catch (const eFileAccessExcpt&) {
        throw;
    } catch (const eQ32FileExcpt&) {
        throw;
    } catch (const std::bad_alloc&) {
        throw eQ32FileExcpt(OutOfMemoryFailure, Q32FileModule, texts.outOfMemory, path);
    } catch (...) {
        throw eQ32FileExcpt(UnexpectedFailure, Q32FileModule, texts.unexpected, path);
    }
}

std::FILE* OpenOrExplain(CFileHolder& file, const char* path, const char* mode,
                         std::uint32_t access)
{
    std::FILE* stream = file.Open(path, mode);
    if (stream == nullptr) {
        CheckFileAccess(path, access);
        throw eQ32FileExcpt(OrdinaryFailure, Q32FileModule, UnknownAccessText, path);
    }
    return stream;
}

// Leaves the stream at the pixels and the values as they are meant.
Q32FileHeader ReadHeader(std::FILE* stream, const char* path)
{
    HeaderBytes bytes = {};
    const bool isWhole = std::fread(bytes.data(), 1, bytes.size(), stream) == bytes.size();
    Q32FileHeader header = DecodeQ32Header(bytes);
    RequireDone(isWhole && header.magic == Q32Magic, NotQ32Text, path);
    header.widthDivisor = std::max(header.widthDivisor, 1u);
    header.bitsPerSample = header.bitsPerSample < MinBits ? AssumedBits : header.bitsPerSample;

    // In 64 bits: rows * rowLength cannot overflow, and pixels of a plausible size cannot either.
    const std::uint64_t pixels = std::uint64_t{header.rows} * header.rowLength;
    const std::uint32_t pixelBytes = (std::min(header.bitsPerSample, MaxBits) + 7) / 8;
    RequireDone(header.bitsPerSample <= MaxBits && pixels <= Q32MaxPixelBytes / pixelBytes,
                NotQ32Text, path);

    if (header.dataOffset > sizeof header) {
        const auto gap = static_cast<std::uint32_t>(header.dataOffset - sizeof header);
        RequireDone(SkipInStream(stream, gap), SeekFailedText, path);
    }
    return header;
}

CLinkedPtr<CImage> ReadPixels(const Q32FileHeader& header, std::FILE* stream)
{
    CLinkedPtr<CImage> image(
        new CImage(header.rowLength, header.rows, header.bitsPerSample, 0, header.widthDivisor, 1));
    if (image->m_data == nullptr) {
        if (header.rows != 0 && header.rowLength != 0) {
            throw std::bad_alloc();
        }
        return image;
    }
    const std::size_t got = std::fread(image->m_data, 1, image->m_dataSize, stream);
    std::memset(image->m_data + got, 0, image->m_dataSize - got);
    SwapToLittleEndian(image->m_data, got, image->m_pixelBytes);
    return image;
}

void RequirePixels(const CImage& image)
{
    if (image.m_data == nullptr && image.m_width != 0 && image.m_height != 0) {
        throw std::bad_alloc();
    }
}

// The caller may remove its only other copy once this returns, so a file is not done before the
// disk has it. A text that was cut short shows here as well.
void WriteImage(CFileHolder& file, const char* path, const CImage& image)
{
    RequirePixels(image);
    std::FILE* const stream = file.Get();
    const Q32FileHeader header = DescribeImage(image);
    const HeaderBytes bytes = EncodeQ32Header(header);
    RequireDone(std::fwrite(bytes.data(), 1, bytes.size(), stream) == bytes.size(),
                HeaderFailedText, path);
    WritePixels(image, header, stream, path);
    WriteLengthPrefixedText(image.m_headerText, stream);
    WriteLengthPrefixedText(image.m_userId, stream);
    RequireDone(SyncStream(stream), DataFailedText, path);
    RequireDone(file.Close(), DataFailedText, path);
}

Q32FileHeader DescribeImage(const CImage& image)
{
    const bool rowsAreRows = image.RowsAreRows();
    return {.magic = Q32Magic,
            .dataOffset = sizeof(Q32FileHeader),
            .reserved = {},
            .imageId = image.m_imageId,
            .widthDivisor = image.m_widthDivisor,
            .rows = rowsAreRows ? image.m_height : image.m_width,
            .rowLength = rowsAreRows ? image.m_width : image.m_height,
            .bitsPerSample = image.m_bitsPerSample};
}

void WritePixels(const CImage& image, const Q32FileHeader& header, std::FILE* stream,
                 const char* path)
{
    const bool isFileOrder = image.m_orientation == CImage::DefaultOrientation &&
                             std::endian::native == std::endian::little;
    if (image.m_data == nullptr) {
        return;
    }
    if (isFileOrder) {
        RequireDone(std::fwrite(image.m_data, 1, image.m_dataSize, stream) == image.m_dataSize,
                    DataFailedText, path);
    } else {
        WriteRows(image, header, stream, path);
    }
}

void WriteRows(const CImage& image, const Q32FileHeader& header, std::FILE* stream,
               const char* path)
{
    const std::size_t rowBytes = std::size_t{header.rowLength} * image.m_pixelBytes;
    const auto bandRows =
        static_cast<std::uint32_t>(std::clamp<std::size_t>(BandBytes / rowBytes, 1, header.rows));
    std::vector<std::uint8_t> band(bandRows * rowBytes);
    for (std::uint32_t first = 0; first < header.rows;) {
        const std::uint32_t count = std::min(bandRows, header.rows - first);
        const std::size_t size = count * rowBytes;
        GatherFileRows(image, first, count, band.data());
        SwapToLittleEndian(band.data(), size, image.m_pixelBytes / image.m_samples);
        RequireDone(std::fwrite(band.data(), 1, size, stream) == size, DataFailedText, path);
        first += count;
    }
}

void RequireDone(bool isDone, const char* text, const char* path)
{
    if (!isDone) {
        throw eQ32FileExcpt(OrdinaryFailure, Q32FileModule, text, path);
    }
}

// Between the host's order and the file's; nothing to do on most hosts.
void SwapToLittleEndian(std::uint8_t* data, std::size_t size, std::size_t sampleBytes)
{
    if constexpr (std::endian::native != std::endian::little) {
        for (std::size_t i = 0; i + sampleBytes <= size; i += sampleBytes) {
            std::reverse(data + i, data + i + sampleBytes);
        }
    }
}

} // namespace
