// Files that Windows refuses or has in use.
#include "image_folder.h"
#include "storage/paths.h"

namespace {

TEST(WindowsFiles, PathsThatCannotBeOpened)
{
    const TestFolder folder;
    ExpectRefused(folder / "a<b", InvalidPathText);
    ExpectRefused(folder / std::string(1 << 20, 'a'), InvalidPathText);
    for (const std::string path : {"NUL", "con", "COM1", "\\\\.\\pipe\\none"}) {
        ExpectRefused(path, DeniedText);
    }
}

TEST(WindowsFiles, FoldersAreMadeBehindThePrefixOfLongPaths)
{
    const TestFolder folder;
    const std::string prefixed =
        "\\\\?\\" + std::filesystem::absolute(folder / "").make_preferred().string();
    EXPECT_TRUE(CreateFolderPath(prefixed + "a\\b\\"));
    EXPECT_TRUE(CreateFolderPath(prefixed + "a\\b\\"));
    EXPECT_TRUE(std::filesystem::is_directory(folder / "a\\b"));
    for (const char* pattern : {"?\\", "*\\"}) {
        EXPECT_FALSE(CreateFolderPath(prefixed + pattern)) << pattern;
    }
}

TEST_F(ImageSaving, AFileInUseIsNotMovedAside)
{
    EXPECT_EQ(Save("a.Q32", 1), "");
    CFileHolder reader;
    ASSERT_TRUE(reader.Open(Path("a.Q32").c_str(), "rb"));
    EXPECT_EQ(Save("a.Q32", 2), Message(CannotMoveText + SharedText, Path("a.Q32")));
    EXPECT_EQ(SavedIds(), (Ids{{"a.Q32", 1}}));
}

// A name of another place, and of a folder under another name.
TEST_F(ImageSaving, NothingOutsideIsWritten)
{
    std::filesystem::create_directories(Path("folder"));
    for (const std::string& name :
         {std::string("sub\\..\\..\\a"), std::string("folder./a"), std::string(1 << 20, 'a')}) {
        EXPECT_EQ(Save(name, 1), Message(InvalidPathText, Path(name)));
    }
}

} // namespace
