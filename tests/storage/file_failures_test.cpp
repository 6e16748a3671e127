// Files that cannot be opened or written, made so by the operating system itself.
#include "platform/files.h"
#include "storage/file_access.h"
#include "storage/paths.h"
#include "storage/q32_file.h"
#include "test_files.h"

#include <csignal>
#include <grp.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>

namespace {

constexpr char DataFailed[] = "Failed to write image data. File %1% write failed";

std::string Message(const std::string& text, const std::string& path)
{
    return MsgWithArgs(text, path).Format();
}

std::string ReadFailure(const std::string& path)
{
    return FailureOf([&] { ReadQ32File(path.c_str()); });
}

std::string WriteFailure(const std::string& path, std::size_t textSize = 0)
{
    CImage image(100, 100, 16, 0, 1);
    image.Fill(1);
    image.m_headerText = std::string(textSize, 't');
    return FailureOf([&] { WriteQ32File(path.c_str(), image); });
}

void Limit(int resource, rlim_t limit)
{
    const rlimit values = {limit, limit};
    std::signal(SIGXFSZ, SIG_IGN);
    setrlimit(static_cast<__rlimit_resource>(resource), &values);
}

// Permissions stop nobody who is root.
void BecomeOrdinaryUser()
{
    constexpr uid_t nobody = 65534;
    if (geteuid() == 0 && (setgroups(0, nullptr) != 0 || setgid(nobody) != 0 || setuid(nobody))) {
        _exit(1);
    }
}

TEST(FileFailures, PathsThatCannotBeOpened)
{
    const TestFolder folder;
    WriteBytes(folder / "file", "");
    std::filesystem::create_directory(folder / "folder");
    mkfifo((folder / "pipe").c_str(), 0666);
    struct Case
    {
        std::string path;
        const char *onRead, *onWrite;
    };
    constexpr char denied[] = "Access to file %1% is denied.";
    const Case cases[] = {
        {folder / "none", "File %1% not found.", ""},
        {folder / "none/a", InvalidPathText, InvalidPathText}, // a program name with a slash
        {folder / "file/a", InvalidPathText, InvalidPathText}, // a file in place of the folder
        {folder / std::string(300, 'a'), InvalidPathText, InvalidPathText},
        {"", InvalidPathText, InvalidPathText},
        {folder / "folder", denied, denied},
        {folder / "pipe", denied, denied}, // nobody is at its other end
        {"/dev/full", denied, denied},
    };
    for (const Case& row : cases) {
        EXPECT_EQ(ReadFailure(row.path), Message(row.onRead, row.path));
        EXPECT_EQ(WriteFailure(row.path), Message(row.onWrite, row.path));
    }
}

TEST(FileFailures, PermissionsAreNamed)
{
    const TestFolder folder;
    WriteBytes(folder / "old.Q32", "old");
    WriteBytes(folder / "secret.Q32", "");
    std::filesystem::permissions(folder / "old.Q32", std::filesystem::perms{0444});
    std::filesystem::permissions(folder / "secret.Q32", std::filesystem::perms{0});
    std::filesystem::permissions(folder / "", std::filesystem::perms{0555});
    const auto asUser = [](const std::function<std::string()>& action) {
        return InChild([&] { return BecomeOrdinaryUser(), action(); });
    };
    EXPECT_EQ(asUser([&] { return WriteFailure(folder / "new.Q32"); }),
              Message("Access to file %1% is denied.", folder / "new.Q32"));
    EXPECT_EQ(asUser([&] { return WriteFailure(folder / "old.Q32"); }),
              Message("File %1% exist but can no be opened for writing.", folder / "old.Q32"));
    EXPECT_EQ(asUser([&] { return ReadFailure(folder / "secret.Q32"); }),
              Message("Access to file %1% is denied.", folder / "secret.Q32"));
    EXPECT_EQ(asUser([&] { return CreateFolderPath(folder / "TmpImages/") ? "made" : "not made"; }),
              "not made");
    EXPECT_EQ(ReadBytes(folder / "old.Q32"), "old");
    std::filesystem::permissions(folder / "", std::filesystem::perms{0755});
}

TEST(FileFailures, AFileInUseByAnotherProcessIsLeftAlone)
{
    constexpr char shared[] = "Sharing violation. File %1% is used by an other program.";
    const TestFolder folder;
    const std::string path = folder / "a.Q32";
    ASSERT_EQ(WriteFailure(path), "");
    const std::string bytes = ReadBytes(path);
    CFileHolder file;
    ASSERT_TRUE(file.Open(path.c_str(), "rb"));
    EXPECT_EQ(InChild([&] { return ReadFailure(path); }), "") << "readers share";
    EXPECT_EQ(InChild([&] { return WriteFailure(path); }), Message(shared, path));
    EXPECT_EQ(ReadBytes(path), bytes);
    ASSERT_TRUE(file.Open(path.c_str(), "wb"));
    EXPECT_EQ(InChild([&] { return ReadFailure(path); }), Message(shared, path));
    EXPECT_TRUE(file.Close());
    EXPECT_EQ(file.Open(nullptr, "rb"), nullptr);
    EXPECT_EQ(InChild([&] { return WriteFailure(path); }), "");
}

TEST(FileFailures, NoDescriptorsLeft)
{
    const TestFolder folder;
    ASSERT_EQ(WriteFailure(folder / "a"), "");
    for (const auto attempt :
         {&ReadFailure, +[](const std::string& p) { return WriteFailure(p); }}) {
        EXPECT_EQ(
            InChild([&] { return Limit(RLIMIT_NOFILE, 0), attempt(folder / "a"); }),
            Message("Sharing violation. File %1% is used by an other program.", folder / "a"));
    }
    EXPECT_EQ(ReadFailure(folder / "a"), "");
}

TEST(FileFailures, AShortWriteRaisesAndLeavesThePartialFile)
{
    constexpr std::size_t pixels = 44 + 20000, whole = pixels + 8 + 100;
    const TestFolder folder;
    const std::string path = folder / "a.Q32";
    for (const std::size_t limit : {std::size_t{10}, std::size_t{5000}, pixels + 50, whole - 1}) {
        EXPECT_EQ(InChild([&] { return Limit(RLIMIT_FSIZE, limit), WriteFailure(path, 100); }),
                  Message(DataFailed, path));
        EXPECT_EQ(std::filesystem::file_size(path), limit);
    }
    EXPECT_EQ(InChild([&] { return Limit(RLIMIT_FSIZE, whole), WriteFailure(path, 100); }), "");
}

TEST(FileFailures, AFullFileSystemRaises)
{
    const TestFolder folder;
    const std::string text = InChild([&] {
        // A mount that only this child sees, and that goes with it.
        const std::string place = folder / "";
        if (unshare(CLONE_NEWNS) != 0 ||
            mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) ||
            mount("none", place.c_str(), "tmpfs", 0, "size=16k") != 0) {
            return std::string("not allowed");
        }
        return WriteFailure(folder / "a.Q32");
    });
    if (text == "not allowed") {
        GTEST_SKIP() << "this user may not mount; the limited file size stands in for it";
    }
    EXPECT_EQ(text, Message(DataFailed, folder / "a.Q32"));
}

TEST(FileFailures, MissingMemoryIsNoEmptyFile)
{
    const TestFolder folder;
    const CImage tooLarge(65536, 65536, 16, 0, 1);
    try {
        WriteQ32File((folder / "a.Q32").c_str(), tooLarge);
        FAIL();
    } catch (const eQ32FileExcpt& error) {
        EXPECT_EQ(error.GetCode(), 0x20FFFE);
        EXPECT_EQ(error.GetModuleDesc().id, 0x2B580EC7u);
    }
    EXPECT_FALSE(std::filesystem::exists(folder / "a.Q32"));
    EXPECT_FALSE(SaveImage(folder / "a.Q32", CLinkedPtr<CImage>()));
}

} // namespace
