// TIFF files by libtiff: gray, uncompressed, the depth in SMaxSampleValue, the header text as
// description.
#include "image/pixels.h"
#include "q32/bad_file.h"
#include "q32/picture_format.h"

#include <bit>
#include <memory>
#include <tiffio.h>

namespace {

using TiffFile = std::unique_ptr<TIFF, decltype(&TIFFClose)>;

TiffFile Open(const char* path, const char* mode)
{
    TIFFSetWarningHandler(nullptr);
    TIFFSetErrorHandler(nullptr);
    TiffFile file(TIFFOpen(path, mode), TIFFClose);
    if (file == nullptr) {
        throw BadFile(mode[0] == 'r' ? "is not a readable TIFF file" : "cannot be written");
    }
    return file;
}

template <typename T>
T FieldOf(TIFF* file, std::uint32_t tag, T absent)
{
    T value = absent;
    return TIFFGetFieldDefaulted(file, tag, &value) == 1 ? value : absent;
}

// Of a 16-bit file: what its largest possible value says, or 16.
std::uint32_t DepthOf(TIFF* file)
{
    double largest = 0;
    if (TIFFGetField(file, TIFFTAG_SMAXSAMPLEVALUE, &largest) != 1 || !(largest >= 256) ||
        largest > 65535) {
        return 16;
    }
    return static_cast<std::uint32_t>(std::bit_width(static_cast<std::uint32_t>(largest)));
}

} // namespace

CLinkedPtr<CImage> ReadTiff(const char* path)
{
    const TiffFile file = Open(path, "r");
    const auto bits = FieldOf<std::uint16_t>(file.get(), TIFFTAG_BITSPERSAMPLE, 1);
    if (FieldOf<std::uint16_t>(file.get(), TIFFTAG_PHOTOMETRIC, 0) != PHOTOMETRIC_MINISBLACK ||
        FieldOf<std::uint16_t>(file.get(), TIFFTAG_SAMPLESPERPIXEL, 1) != 1 ||
        FieldOf<std::uint16_t>(file.get(), TIFFTAG_SAMPLEFORMAT, 1) != SAMPLEFORMAT_UINT ||
        (bits != 8 && bits != 16)) {
        throw BadFile("is not a gray picture of 8 or 16 bits with black at 0");
    }
    if (TIFFIsTiled(file.get()) != 0) {
        throw BadFile("is made of tiles");
    }
    CLinkedPtr<CImage> picture =
        NewPicture(FieldOf<std::uint32_t>(file.get(), TIFFTAG_IMAGEWIDTH, 0),
                   FieldOf<std::uint32_t>(file.get(), TIFFTAG_IMAGELENGTH, 0),
                   bits == 8 ? 8 : DepthOf(file.get()));
    if (static_cast<std::uint64_t>(TIFFScanlineSize64(file.get())) !=
        std::uint64_t{picture->m_width} * picture->m_pixelBytes) {
        throw BadFile("has rows of another length than its width");
    }
    const auto orientation = FieldOf<std::uint16_t>(file.get(), TIFFTAG_ORIENTATION, 1);
    if (orientation > ORIENTATION_BOTLEFT) {
        throw BadFile("lies on its side, orientation " + std::to_string(orientation));
    }
    const bool isUpsideDown =
        orientation == ORIENTATION_BOTLEFT || orientation == ORIENTATION_BOTRIGHT;
    const bool isMirrored =
        orientation == ORIENTATION_TOPRIGHT || orientation == ORIENTATION_BOTRIGHT;
    for (std::uint32_t y = 0; y < picture->m_height; ++y) {
        std::uint8_t* const row =
            RowFromTop(*picture, isUpsideDown ? picture->m_height - 1 - y : y);
        if (TIFFReadScanline(file.get(), row, y) != 1) {
            throw BadFile("is cut short");
        }
        if (isMirrored && bits == 8) {
            ReversePixels<1>(row, picture->m_width);
        } else if (isMirrored) {
            ReversePixels<2>(row, picture->m_width);
        }
    }
    char* description = nullptr;
    if (TIFFGetField(file.get(), TIFFTAG_IMAGEDESCRIPTION, &description) == 1) {
        picture->m_headerText = description;
    }
    return picture;
}

void WriteTiff(const char* path, const CImage& picture)
{
    TiffFile file = Open(path, "w");
    TIFF* const tiff = file.get();
    const double largest = (1u << BitsInUse(picture)) - 1;
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, picture.m_width);
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, picture.m_height);
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 8 * picture.m_pixelBytes);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, 1);
    TIFFSetField(tiff, TIFFTAG_SAMPLEFORMAT, SAMPLEFORMAT_UINT);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_NONE);
    TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, TIFFDefaultStripSize(tiff, 0));
    TIFFSetField(tiff, TIFFTAG_SMINSAMPLEVALUE, 0.0);
    TIFFSetField(tiff, TIFFTAG_SMAXSAMPLEVALUE, largest);
    if (!picture.m_headerText.empty()) {
        TIFFSetField(tiff, TIFFTAG_IMAGEDESCRIPTION, picture.m_headerText.c_str());
    }
    for (std::uint32_t y = 0; y < picture.m_height; ++y) {
        if (TIFFWriteScanline(tiff, RowFromTop(picture, y), y) != 1) {
            throw BadFile("cannot be written");
        }
    }
    if (TIFFFlush(tiff) != 1) {
        throw BadFile("cannot be written");
    }
}
