// A folder of its own for a test, images and files in it, and actions that fail.
#pragma once

#include "errors/exceptions.h"
#include "storage/q32_file.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

inline constexpr char DeniedText[] = "Access to file %1% is denied.";
inline constexpr char SharedText[] = "Sharing violation. File %1% is used by an other program.";

// Gone, with all that is in it, at the end of the test. Open to every user.
class TestFolder
{
public:
    explicit TestFolder(const std::filesystem::path& place = std::filesystem::temp_directory_path())
    {
        std::filesystem::path path;
        do {
            path = place / ("storage_test_" + std::to_string(std::random_device()()));
        } while (!std::filesystem::create_directory(path));
        std::filesystem::permissions(path, std::filesystem::perms{0755});
        m_path = path.string() + '/';
    }
    ~TestFolder()
    {
        std::error_code inUse; // by a loaded library, on Windows
        std::filesystem::remove_all(m_path, inUse);
    }
    TestFolder(const TestFolder&) = delete;
    TestFolder& operator=(const TestFolder&) = delete;

    std::string operator/(const std::string& name) const { return m_path + name; }

private:
    std::string m_path;
};

inline std::string ReadBytes(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

inline void WriteBytes(const std::string& path, const std::string& bytes)
{
    std::ofstream(path, std::ios::binary) << bytes;
}

inline std::string Message(const std::string& text, const std::string& path)
{
    return MsgWithArgs(text, path).Format();
}

// The message that the action fails with, empty when it does not fail.
template <typename Action>
std::string FailureOf(Action action)
{
    try {
        action();
        return "";
    } catch (const eExcptAny& error) {
        return error.GetDescription();
    }
}

inline void FillWithNoise(CImage& image)
{
    for (std::uint32_t i = 0; i < image.m_dataSize; ++i) {
        image.m_data[i] = static_cast<std::uint8_t>(i * 2654435761u >> 13);
    }
}

inline std::vector<std::uint8_t> ViewRow(const CImage& image, std::uint32_t r)
{
    std::vector<std::uint8_t> row(std::size_t{image.ViewRowLength()} * image.m_pixelBytes);
    image.GetRow(r, row.data(), row.size());
    return row;
}

// Whether the file holds this image.
inline bool ReadsBack(const std::string& path, const CImage& image)
{
    CLinkedPtr<CImage> read;
    if (!FailureOf([&] { read = ReadQ32File(path.c_str()); }).empty() ||
        read->ViewRowCount() != image.ViewRowCount()) {
        return false;
    }
    for (std::uint32_t r = 0; r < image.ViewRowCount(); ++r) {
        if (ViewRow(*read, r) != ViewRow(image, r)) {
            return false;
        }
    }
    return read->m_orientation == CImage::DefaultOrientation &&
           read->m_bitsPerSample == image.m_bitsPerSample &&
           read->m_colorType == image.m_colorType && read->m_widthDivisor == image.m_widthDivisor &&
           read->m_imageId == image.m_imageId && read->m_headerText == image.m_headerText &&
           read->m_userId == image.m_userId;
}
