// Q32 image files: one image with its header text and user id.
//
//   0           header, 44 bytes
//   dataOffset  pixels: the view rows from the last to the first, without padding
//   then        header text, user id: each a 32-bit length and its bytes
//
// All numbers are little-endian.
#pragma once

#include "errors/exceptions.h"
#include "image/image.h"
#include "storage/file_stream.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

struct Q32FileHeader
{
    std::uint32_t magic;         // the bytes "Wq", 0x00, 0x01
    std::uint32_t dataOffset;    // of the pixels in the file; up to 44: right after the header
    std::uint32_t reserved[4];   // 0
    std::uint32_t imageId;       // the capture library's number of the image
    std::uint32_t widthDivisor;  // 0 is read as 1
    std::uint32_t rows;          // view rows
    std::uint32_t rowLength;     // pixels of a view row
    std::uint32_t bitsPerSample; // below 8 is read as 12; a pixel takes bits / 8 bytes, rounded up
};
static_assert(sizeof(Q32FileHeader) == 44 && offsetof(Q32FileHeader, dataOffset) == 4 &&
              offsetof(Q32FileHeader, imageId) == 24 &&
              offsetof(Q32FileHeader, widthDivisor) == 28 && offsetof(Q32FileHeader, rows) == 32 &&
              offsetof(Q32FileHeader, rowLength) == 36 &&
              offsetof(Q32FileHeader, bitsPerSample) == 40);

inline constexpr std::uint32_t Q32Magic = 0x01007157; // "Wq" 00 01 as a little-endian number
// A pixel block larger than this is taken for a damaged header.
inline constexpr std::uint64_t Q32MaxPixelBytes = std::uint64_t{512} << 20;
inline constexpr std::uint32_t Q32MaxTextBytes = 16 << 20; // each of the two; a longer one likewise

inline constexpr ModuleDesc Q32FileModule = {0x2B580EC7, "CImage Q32 import/export"};

// Reads an image in the default orientation. Raises eFileAccessExcpt or eQ32FileExcpt and nothing
// else. Pixels that the file lacks are 0, texts that it lacks are empty; sizes in the header are
// never believed before the file has shown its bytes.
CLinkedPtr<CImage> ReadQ32File(const char* path);

// Creates or replaces the file and returns true when it is safely on disk: written, synced and
// closed. Every failure raises, as above, and leaves what was written so far. An image that has a
// size but no pixels (their memory could not be had) is a memory failure, not an empty file.
bool WriteQ32File(const char* path, const CImage& image);

// The same into the open stream that the holder owns, and closes it; the path is for messages.
void WriteQ32Stream(CFileHolder& file, const char* path, const CImage& image);

// Why a file of the image would not read back as the same image (pixels in viewing order, bits,
// texts and id), as the end of a sentence; empty when it would.
std::string WhyNotQ32(const CImage& image);

// The two ends of the header, by offset and little-endian on any host.
std::array<std::uint8_t, sizeof(Q32FileHeader)> EncodeQ32Header(const Q32FileHeader& header);
Q32FileHeader DecodeQ32Header(const std::array<std::uint8_t, sizeof(Q32FileHeader)>& bytes);
