// The file formats that pictures are read from and written to.
#pragma once

#include "image/image.h"

#include <string>

// Pictures in memory are gray, of 8 to 16 bits in samples of 1 or 2 bytes, in the default
// orientation. Failures are raised as BadFile, or as the exceptions of image files.
struct PictureFormat
{
    const char* name;           // as in --to
    const char* extension;      // with its dot; what a file without --to is recognized by
    const char* otherExtension; // or null
    const char* magic;          // how such a file begins, or null when none is read
    const char* otherMagic;     // or null
    std::size_t magicLength;
    CLinkedPtr<CImage> (*read)(const char* path); // or null
    void (*write)(const char* path, const CImage& picture);
};

// Null when there is none.
const PictureFormat* FormatNamed(const std::string& name);
const PictureFormat* FormatOfExtension(const std::string& path);
// The names of the formats, with commas.
std::string FormatNames();

// Reads a file of any readable format, told by how it begins. Raises BadFile also for a Q32 file
// whose pixels are cut short. "-" is the standard input.
CLinkedPtr<CImage> LoadPicture(const std::string& name);

CLinkedPtr<CImage> ReadPgm(const char* path);
void WritePgm(const char* path, const CImage& picture);
CLinkedPtr<CImage> ReadPng(const char* path);
void WritePng(const char* path, const CImage& picture);
CLinkedPtr<CImage> ReadTiff(const char* path);
void WriteTiff(const char* path, const CImage& picture);
void WriteDicom(const char* path, const CImage& picture);

// For readers: a picture of the size and depth, whose pixels are still to be filled in. Raises
// BadFile for a size that no picture may have.
CLinkedPtr<CImage> NewPicture(std::uint64_t width, std::uint64_t height, std::uint32_t bits);
// Row y of a picture, counted from the top.
std::uint8_t* RowFromTop(const CImage& picture, std::uint32_t y);
// For writers: the bits that hold every sample of the picture, at least those it states.
std::uint32_t BitsInUse(const CImage& picture);
