// Files that Windows refuses or has in use, and new images beside files of the same name.
#include "storage/file_access.h"
#include "storage/image_saving.h"
#include "test_files.h"

#include <gtest/gtest.h>
#include <map>

namespace {

namespace fs = std::filesystem;

std::string ReadFailure(const std::string& path)
{
    return FailureOf([&] { ReadQ32File(path.c_str()); });
}

std::string WriteFailure(const std::string& path)
{
    const CImage image(2, 2, 12, 0, 1);
    return FailureOf([&] { WriteQ32File(path.c_str(), image); });
}

TEST(WindowsFiles, PathsThatCannotBeOpened)
{
    const TestFolder folder;
    WriteBytes(folder / "file", "");
    fs::create_directory(folder / "folder");
    const struct
    {
        std::string path;
        const char *onRead, *onWrite;
    } cases[] = {
        {folder / "none", "File %1% not found.", ""},
        {folder / "none/a", InvalidPathText, InvalidPathText}, // a program name with a slash
        {folder / "file/a", InvalidPathText, InvalidPathText}, // a file in place of the folder
        {folder / "a<b", InvalidPathText, InvalidPathText},
        {"", InvalidPathText, InvalidPathText},
        {folder / "folder", DeniedText, DeniedText},
        {"NUL", DeniedText, DeniedText},
        {"con", DeniedText, DeniedText},
        {"COM1", DeniedText, DeniedText},
        {"\\\\.\\pipe\\none", DeniedText, DeniedText},
    };
    for (const auto& row : cases) {
        EXPECT_EQ(ReadFailure(row.path), Message(row.onRead, row.path));
        EXPECT_EQ(WriteFailure(row.path), Message(row.onWrite, row.path));
    }
}

TEST(WindowsFiles, AFileInUseIsLeftAlone)
{
    const TestFolder folder;
    const std::string path = folder / "a.Q32";
    ASSERT_EQ(WriteFailure(path), "");
    const std::string bytes = ReadBytes(path);
    CFileHolder file;
    ASSERT_TRUE(file.Open(path.c_str(), "rb"));
    EXPECT_EQ(ReadFailure(path), "") << "readers share";
    EXPECT_EQ(WriteFailure(path), Message(SharedText, path));
    EXPECT_EQ(ReadBytes(path), bytes);
    ASSERT_TRUE(file.Open(path.c_str(), "wb"));
    EXPECT_EQ(ReadFailure(path), Message(SharedText, path));
    EXPECT_EQ(file.Open(nullptr, "rb"), nullptr);
    EXPECT_EQ(WriteFailure(path), "");
}

TEST(WindowsFiles, EveryFileOfTheSameNameIsKept)
{
    const TestFolder test;
    const std::string folder = test / "TmpImages/", path = folder + "a_1_1.Q32";
    fs::create_directories(folder + "a_1_1 (3).Q32");
    const auto save = [&](const std::string& name, std::uint32_t id) {
        CImage image(2, 2, 12, 0, 1);
        image.m_imageId = id;
        return FailureOf([&] { SaveNewImage(folder, folder + name, image); });
    };
    const auto ids = [&] {
        std::map<std::string, std::uint32_t> all;
        for (const auto& entry : fs::directory_iterator(folder)) {
            if (entry.is_regular_file()) {
                const std::string name = entry.path().filename().string();
                all[name] = ReadQ32File((folder + name).c_str())->m_imageId;
            }
        }
        return all;
    };
    for (const std::uint32_t id : {1u, 2u, 3u}) {
        EXPECT_EQ(save("a_1_1.Q32", id), "");
    }
    const std::map<std::string, std::uint32_t> three = {
        {"a_1_1.Q32", 3}, {"a_1_1 (2).Q32", 1}, {"a_1_1 (4).Q32", 2}};
    EXPECT_EQ(ids(), three);
    {
        CFileHolder reader;
        ASSERT_TRUE(reader.Open(path.c_str(), "rb"));
        EXPECT_EQ(
            save("a_1_1.Q32", 4),
            Message(std::string("File %1% exists and cannot be moved aside. ") + SharedText, path));
    }
    EXPECT_EQ(ids(), three);
    // A name of another place, of a folder under another name, or of a device.
    for (const std::string name : {"../a", "sub\\..\\..\\a", "none/a", "a_1_1 (3).Q32./a"}) {
        EXPECT_EQ(save(name, 5), Message(InvalidPathText, folder + name));
    }
    EXPECT_EQ(ids(), three);
}

} // namespace
