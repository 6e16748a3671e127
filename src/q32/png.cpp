// PNG files by libpng: gray, the depth in the chunk sBIT, the header text as comment.
#include "q32/bad_file.h"
#include "q32/picture_format.h"
#include "storage/file_stream.h"

#include <array>
#include <bit>
#include <csetjmp>
#include <cstdio>
#include <png.h>
#include <string>

namespace {

constexpr char CommentKey[] = "Comment";

// A file that is read or written, and libpng's records of it. No exception passes through libpng: a
// call that fails jumps back to where it was made from.
class PngFile
{
public:
    PngFile(const char* path, bool isWriter)
        : m_stream(m_file.Open(path, isWriter ? "wb" : "rb")), m_isWriter(isWriter)
    {
        if (m_stream == nullptr) {
            throw BadFile(isWriter ? "cannot be written" : "cannot be read");
        }
        png = isWriter ? png_create_write_struct(PNG_LIBPNG_VER_STRING, this, Fail, Ignore)
                       : png_create_read_struct(PNG_LIBPNG_VER_STRING, this, Fail, Ignore);
        info = png == nullptr ? nullptr : png_create_info_struct(png);
        if (info == nullptr) {
            throw std::bad_alloc();
        }
        Call([this] { png_init_io(png, m_stream); });
    }
    ~PngFile()
    {
        if (m_isWriter) {
            png_destroy_write_struct(&png, &info);
        } else {
            png_destroy_read_struct(&png, &info, nullptr);
        }
    }
    PngFile(const PngFile&) = delete;
    PngFile& operator=(const PngFile&) = delete;

    // Every call that may fail is made by calls, which is left without cleaning up then: it holds
    // nothing that would have to be.
    template <typename Calls>
    void Call(Calls calls)
    {
        if (setjmp(png_jmpbuf(png)) != 0) {
            throw BadFile(m_reason.data());
        }
        calls();
    }

    // False when something could not be written.
    bool Close() { return std::ferror(m_stream) == 0 && m_file.Close(); }

    png_structp png = nullptr;
    png_infop info = nullptr;

private:
    [[noreturn]] static void Fail(png_structp png, const char* reason)
    {
        auto& file = *static_cast<PngFile*>(png_get_error_ptr(png));
        std::snprintf(file.m_reason.data(), file.m_reason.size(), "%s", reason);
        png_longjmp(png, 1);
    }
    static void Ignore(png_structp, const char*) {}

    CFileHolder m_file;
    std::FILE* m_stream;
    bool m_isWriter;
    std::array<char, 200> m_reason = {};
};

void ReadComment(const PngFile& file, CImage& picture)
{
    png_textp texts = nullptr;
    const int count = png_get_text(file.png, file.info, &texts, nullptr);
    for (int i = 0; i < count; ++i) {
        if (std::string(texts[i].key) == CommentKey) {
            picture.m_headerText = texts[i].text;
        }
    }
}

} // namespace

CLinkedPtr<CImage> ReadPng(const char* path)
{
    PngFile file(path, false);
    png_structp const png = file.png;
    file.Call([&] { png_read_info(png, file.info); });
    if (png_get_color_type(png, file.info) != PNG_COLOR_TYPE_GRAY) {
        throw BadFile("is not a gray picture");
    }
    std::uint32_t bits = png_get_bit_depth(png, file.info);
    png_color_8p significant = nullptr;
    if (png_get_sBIT(png, file.info, &significant) != 0 && bits == 16 && significant->gray > 8) {
        bits = significant->gray;
    }
    CLinkedPtr<CImage> picture =
        NewPicture(png_get_image_width(png, file.info), png_get_image_height(png, file.info), bits);
    file.Call([&] {
        png_set_packing(png);
        if constexpr (std::endian::native == std::endian::little) {
            png_set_swap(png);
        }
        const int passes = png_set_interlace_handling(png);
        png_read_update_info(png, file.info);
        for (int pass = 0; pass < passes; ++pass) {
            for (std::uint32_t y = 0; y < picture->m_height; ++y) {
                png_read_row(png, RowFromTop(*picture, y), nullptr);
            }
        }
        png_read_end(png, file.info);
    });
    // Samples of fewer significant bits may be scaled to the full depth, as PNG asks for.
    if (BitsInUse(*picture) > picture->m_bitsPerSample) {
        picture->m_bitsPerSample = 16;
    }
    ReadComment(file, *picture);
    return picture;
}

void WritePng(const char* path, const CImage& picture)
{
    PngFile file(path, true);
    png_structp const png = file.png;
    png_color_8 significant = {};
    significant.gray = static_cast<png_byte>(BitsInUse(picture));
    std::string key = CommentKey, value = picture.m_headerText.c_str();
    file.Call([&] {
        png_set_IHDR(png, file.info, picture.m_width, picture.m_height,
                     static_cast<int>(8 * picture.m_pixelBytes), PNG_COLOR_TYPE_GRAY,
                     PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
        png_set_sBIT(png, file.info, &significant);
        if (!picture.m_headerText.empty()) {
            png_text text = {};
            text.compression = PNG_TEXT_COMPRESSION_NONE;
            text.key = key.data();
            text.text = value.data();
            png_set_text(png, file.info, &text, 1);
        }
        png_write_info(png, file.info);
        if constexpr (std::endian::native == std::endian::little) {
            png_set_swap(png);
        }
        for (std::uint32_t y = 0; y < picture.m_height; ++y) {
            png_write_row(png, RowFromTop(picture, y));
        }
        png_write_end(png, file.info);
    });
    if (!file.Close()) {
        throw BadFile("cannot be written");
    }
}
