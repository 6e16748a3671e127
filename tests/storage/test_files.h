// A folder of its own for a test, images and files in it, and actions that fail.
#pragma once

#include "errors/exceptions.h"
#include "image/test_image.h"
#include "storage/q32_file.h"

#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
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
    std::ostringstream bytes;
    bytes << std::ifstream(path, std::ios::binary).rdbuf();
    return bytes.str();
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

inline std::string ReadFailure(const std::string& path)
{
    return FailureOf([&] { ReadQ32File(path.c_str()); });
}

// 44 bytes of header, 20000 of pixels, 8 + 100 of texts.
inline std::string WriteFailure(const std::string& path)
{
    CImage image(100, 100, 16, 0, 1);
    image.Fill(1);
    image.m_headerText = std::string(100, 't');
    return FailureOf([&] { WriteQ32File(path.c_str(), image); });
}

// The path can neither be read nor written, for this reason.
inline void ExpectRefused(const std::string& path, const std::string& reason)
{
    EXPECT_EQ(ReadFailure(path), Message(reason, path));
    EXPECT_EQ(WriteFailure(path), Message(reason, path));
}

// Whether the file holds this image.
inline bool ReadsBack(const std::string& path, const CImage& image)
{
    CLinkedPtr<CImage> read;
    return FailureOf([&] { read = ReadQ32File(path.c_str()); }).empty() &&
           ViewRows(*read) == ViewRows(image) &&
           read->m_orientation == CImage::DefaultOrientation &&
           read->m_bitsPerSample == image.m_bitsPerSample &&
           read->m_colorType == image.m_colorType && read->m_widthDivisor == image.m_widthDivisor &&
           read->m_imageId == image.m_imageId && read->m_headerText == image.m_headerText &&
           read->m_userId == image.m_userId;
}
