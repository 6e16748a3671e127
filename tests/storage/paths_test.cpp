// Names and folders in both styles of paths, on every platform.
#include "storage/paths.h"
#include "test_files.h"

#include <gtest/gtest.h>
#include <tuple>

namespace {

constexpr PathStyle B = PathStyle::Backslash;
constexpr PathStyle S = PathStyle::Slash;

TEST(Paths, AreJoinedBelowTheRootOfADriveOrShare)
{
    constexpr std::tuple<PathStyle, const char*, const char*, const char*> Cases[] = {
        {B, "C:\\prog\\", "TmpImages", "C:\\prog\\TmpImages"},
        {B, "C:\\prog", "TmpImages", "C:\\prog\\TmpImages"},
        {B, "C:\\prog\\", "D:\\x", "D:\\x"},
        {B, "C:\\prog\\", "\\\\srv\\x", "\\\\srv\\x"},
        {B, "C:\\prog\\", "\\data", "C:\\data"},
        {B, "C:\\prog", "D:", "C:\\prog\\D:"},
        {B, "\\\\srv\\share\\prog", "\\data", "\\\\srv\\share\\data"},
        {B, "\\\\srv\\share", "\\data", "\\\\srv\\share\\data"},
        {B, "\\\\srv", "\\data", "\\data"},
        {S, "/opt/prog", "TmpImages", "/opt/prog/TmpImages"},
        {S, "/opt/x", "/data", "/data"},
        {S, "/opt/x", "a:b", "/opt/x/a:b"},
        {S, "/opt/x", "\\\\a", "/opt/x/\\\\a"},
    };
    for (const auto& [style, base, relative, joined] : Cases) {
        EXPECT_EQ(JoinPath(base, relative, style), joined);
    }
}

TEST(Paths, FoldersAreCreatedUpToTheLastSeparator)
{
    // The path, the deepest folder made, what is absent: below the test's folder, which is the
    // first component of a backslash path.
    constexpr std::tuple<PathStyle, const char*, const char*, const char*> Cases[] = {
        {S, "a/b/", "a/b", "a/b/c"},
        {S, "e//f//g", "e/f", "e/f/g"},
        {B, "\\x\\y\\z", "\\x\\y", "\\x\\y\\z"},
    };
    const TestFolder folder;
    for (const auto& [style, path, deepest, absent] : Cases) {
        EXPECT_TRUE(CreateFolderPath(folder / path, style)) << path;
        EXPECT_TRUE(std::filesystem::is_directory(folder / deepest)) << path;
        EXPECT_FALSE(std::filesystem::exists(folder / absent)) << path;
    }
    WriteBytes(folder / "file", "");
    EXPECT_TRUE(CreateFolderPath(folder / "file/", S)) << "a file counts as present";
    EXPECT_FALSE(CreateFolderPath(folder / "file/below/", S));
    EXPECT_TRUE(CreateFolderPath("TmpImages\\", B) && CreateFolderPath("TmpImages/", S));
    EXPECT_FALSE(std::filesystem::exists("TmpImages"));
    for (const char* path : {"/", "///"}) {
        EXPECT_TRUE(CreateFolderPath(path, S)) << path;
    }
    for (const char* path : {"\\", "\\\\srv\\share\\", "\\\\srv\\share\\\\", "\\\\?\\C:\\",
                             "\\\\?\\UNC\\srv\\share\\"}) {
        EXPECT_TRUE(CreateFolderPath(path, B)) << path;
    }
    for (const char* path : {"", "name", "a\\b"}) {
        EXPECT_FALSE(CreateFolderPath(path, S)) << path;
    }
    for (const char* path : {"", "\\\\\\", "\\\\srv", "\\\\srv\\", "\\\\srv\\share"}) {
        EXPECT_FALSE(CreateFolderPath(path, B)) << path;
    }
}

TEST(Paths, TheProgramsFolderHoldsTheImages)
{
    const std::string program =
        std::filesystem::canonical(testing::internal::GetArgvs().front()).string();
    EXPECT_EQ(ModuleFileName(nullptr), program);
    std::string cut(program.size(), ' ');
    EXPECT_EQ(GetModuleFileNameA(nullptr, cut.data(), static_cast<DWORD>(cut.size())), 0u);
    EXPECT_EQ(ProgramFolder(nullptr), program.substr(0, program.find_last_of("/\\") + 1));
    EXPECT_EQ(AutoSaveFolder("C:\\prog\\", B), "C:\\prog\\TmpImages\\");
    EXPECT_EQ(AutoSaveFolder("/opt/prog/", S), "/opt/prog/TmpImages/");
    EXPECT_EQ(AutoSaveFolder("", S), "TmpImages/");
    EXPECT_EQ(AutoSavePath("f/", "a/b\\c*d ,;:()=?%&@", 3, 12), "f/a/b\\c*d____________3_12.Q32");
    EXPECT_EQ(AutoSavePath("f/", "", 0x80000000, 0xFFFFFFFF), "f/_-2147483648_-1.Q32");
}

TEST(Paths, NoProgramNameLeadsOutOfTheFolder)
{
    const auto leadsOut = [](const std::string& programName, PathStyle style) {
        const std::string path = AutoSavePath("f/", programName, 1, 1);
        const std::string text = FailureOf([&] { RequireInside("f/", path, style); });
        EXPECT_TRUE(text.empty() || text == "Invalid path on " + path + ".") << text;
        return !text.empty();
    };
    for (const char* name : {"", "..", "a.", "/etc/a", "sub/a", "sub/../a", "..\\x"}) {
        EXPECT_FALSE(leadsOut(name, S)) << name;
    }
    for (const std::string& name :
         {std::string("../../x"), std::string("sub/../../x"), std::string("a\0", 2)}) {
        EXPECT_TRUE(leadsOut(name, S) && leadsOut(name, B)) << name;
    }
    EXPECT_TRUE(leadsOut("..\\x", B) && leadsOut("a\\..\\..\\x", B) && !leadsOut("a\\..\\x", B));
}

} // namespace
