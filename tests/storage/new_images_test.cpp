// New images in a folder that holds others.
#include "image_folder.h"

namespace {

namespace fs = std::filesystem;

TEST_F(ImageSaving, KeepsEveryFileOfTheSameName)
{
    fs::create_directories(Path("a_1_1 (3).Q32"));
    for (const std::uint32_t id : {1u, 2u, 3u}) {
        EXPECT_EQ(Save("a_1_1.Q32", id), "");
    }
    EXPECT_EQ(SavedIds(), (Ids{{"a_1_1.Q32", 3}, {"a_1_1 (2).Q32", 1}, {"a_1_1 (4).Q32", 2}}));
}

TEST_F(ImageSaving, FailuresAreNamedAndLeaveWhatThereIs)
{
    fs::create_directories(Path("folder.Q32"));
    WriteBytes(Path("file"), "");
    EXPECT_EQ(Save("folder.Q32", 1), Message(CannotMoveText + DeniedText, Path("folder.Q32")));
    for (const char* name : {"/etc/a", "file/a", "../a", "folder.Q32/../a", "none/a"}) {
        EXPECT_EQ(Save(name, 1), Message(InvalidPathText, Path(name)));
    }
    EXPECT_EQ(Save("a", 1, "none/"), Message(InvalidPathText, Outside("none/a")));
    EXPECT_FALSE(fs::exists(Outside("a")));
}

} // namespace
