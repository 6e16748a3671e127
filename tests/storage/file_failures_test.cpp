// Files that cannot be opened or written, made so by the operating system itself.
#include "storage/file_access.h"
#include "storage/image_saving.h"
#include "storage/paths.h"
#include "support/system_calls.h"
#include "test_files.h"

#include <csignal>
#include <grp.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>

namespace {

constexpr char Denied[] = "Access to file %1% is denied.";
constexpr char Shared[] = "Sharing violation. File %1% is used by an other program.";
constexpr char DataFailed[] = "Failed to write image data. File %1% write failed";

std::string ReadFailure(const std::string& path)
{
    return FailureOf([&] { ReadQ32File(path.c_str()); });
}

// 44 bytes of header, 20000 of pixels, 8 + 100 of texts.
std::string WriteFailure(const std::string& path)
{
    CImage image(100, 100, 16, 0, 1);
    image.Fill(1);
    image.m_headerText = std::string(100, 't');
    return FailureOf([&] { WriteQ32File(path.c_str(), image); });
}

TEST(FileFailures, PathsThatCannotBeOpened)
{
    const TestFolder folder;
    WriteBytes(folder / "file", "");
    std::filesystem::create_directory(folder / "folder");
    mkfifo((folder / "pipe").c_str(), 0666);
    const struct
    {
        std::string path;
        const char *onRead, *onWrite;
    } cases[] = {
        {folder / "none", "File %1% not found.", ""},
        {folder / "none/a", InvalidPathText, InvalidPathText}, // a program name with a slash
        {folder / "file/a", InvalidPathText, InvalidPathText}, // a file in place of the folder
        {folder / std::string(300, 'a'), InvalidPathText, InvalidPathText},
        {"", InvalidPathText, InvalidPathText},
        {folder / "folder", Denied, Denied},
        {folder / "pipe", Denied, Denied}, // nobody is at its other end
        {"/dev/full", Denied, Denied},
    };
    for (const auto& row : cases) {
        EXPECT_EQ(ReadFailure(row.path), Message(row.onRead, row.path));
        EXPECT_EQ(WriteFailure(row.path), Message(row.onWrite, row.path));
    }
}

TEST(FileFailures, PermissionsAreNamed)
{
    const TestFolder folder;
    WriteBytes(folder / "old", "old");
    WriteBytes(folder / "secret", "");
    chmod((folder / "old").c_str(), 0444);
    chmod((folder / "secret").c_str(), 0);
    chmod((folder / "").c_str(), 0555);
    // Permissions stop nobody who is root, so the child becomes an ordinary user first.
    const auto asUser = [&](const char* name, std::string (*attempt)(const std::string&)) {
        return InChild([&] {
            const bool isUser = geteuid() != 0 || (setgroups(0, nullptr) == 0 &&
                                                   setgid(65534) == 0 && setuid(65534) == 0);
            return isUser ? attempt(folder / name) : "still root";
        });
    };
    EXPECT_EQ(asUser("new", WriteFailure), Message(Denied, folder / "new"));
    EXPECT_EQ(asUser("secret", ReadFailure), Message(Denied, folder / "secret"));
    EXPECT_EQ(asUser("old", WriteFailure),
              Message("File %1% exist but can no be opened for writing.", folder / "old"));
    EXPECT_EQ(asUser("made/", [](auto& path) { return std::to_string(CreateFolderPath(path)); }),
              "0");
    EXPECT_EQ(ReadBytes(folder / "old"), "old");
}

TEST(FileFailures, AFileInUseByAnotherProcessIsLeftAlone)
{
    const TestFolder folder;
    const std::string path = folder / "a.Q32";
    ASSERT_EQ(WriteFailure(path), "");
    const std::string bytes = ReadBytes(path);
    CFileHolder file;
    ASSERT_TRUE(file.Open(path.c_str(), "rb"));
    EXPECT_EQ(InChild([&] { return ReadFailure(path); }), "") << "readers share";
    EXPECT_EQ(InChild([&] { return WriteFailure(path); }), Message(Shared, path));
    EXPECT_EQ(ReadBytes(path), bytes);
    ASSERT_TRUE(file.Open(path.c_str(), "wb"));
    EXPECT_EQ(InChild([&] { return ReadFailure(path); }), Message(Shared, path));
    EXPECT_EQ(file.Open(nullptr, "rb"), nullptr);
    EXPECT_EQ(InChild([&] { return WriteFailure(path); }), "");
}

TEST(FileFailures, LimitsOfTheProcess)
{
    const TestFolder folder;
    const std::string path = folder / "a.Q32";
    const auto limited = [&](auto resource, rlim_t limit, auto attempt) {
        return InChild([&] {
            rlimit values;
            getrlimit(resource, &values);
            values.rlim_cur = limit; // valgrind keeps the other one for its own files
            std::signal(SIGXFSZ, SIG_IGN);
            return setrlimit(resource, &values) == 0 ? attempt(path) : "not limited";
        });
    };
    for (const rlim_t size : {10u, 5000u, 20100u, 20151u}) {
        EXPECT_EQ(limited(RLIMIT_FSIZE, size, WriteFailure), Message(DataFailed, path));
        EXPECT_EQ(std::filesystem::file_size(path), size) << "the partial file stays";
    }
    EXPECT_EQ(limited(RLIMIT_FSIZE, 20152, WriteFailure), "");
    EXPECT_EQ(limited(RLIMIT_NOFILE, 0, ReadFailure), Message(Shared, path));
    EXPECT_EQ(limited(RLIMIT_NOFILE, 0, WriteFailure), Message(Shared, path));
    EXPECT_EQ(ReadFailure(path), "") << "nothing was emptied";
}

TEST(FileFailures, WhatHasNoMessageOfItsOwnIsToldInTheSystemsWords)
{
    const TestFolder folder;
    const std::string path = folder / "a.Q32";
    ASSERT_EQ(WriteFailure(path), "");
    const WatchedSystemCalls watch(
        [](std::string_view call, auto) { return call == "open" ? EIO : 0; });
    const std::string text = Message(UnknownAccessText, path) + ": Input/output error";
    EXPECT_EQ(ReadFailure(path), text);
    EXPECT_EQ(WriteFailure(path), text);
}

TEST(FileFailures, AnEntryThatTheDiskMayNotHaveIsNoFile)
{
    const TestFolder folder;
    const std::string path = folder / "a.Q32";
    int syncs = 0;
    const WatchedSystemCalls watch([&](std::string_view call, auto) {
        return call == "fsync" && ++syncs == 2 ? EIO : 0; // the file's own sync is the first
    });
    EXPECT_EQ(WriteFailure(path), Message(DataFailed, path));
}

TEST(FileFailures, AFullFileSystemRaises)
{
    const TestFolder folder;
    const std::string text = InChild([&] {
        // A mount that only this child sees, and that goes with it.
        const bool isMounted = unshare(CLONE_NEWNS) == 0 &&
                               mount("none", "/", "none", MS_REC | MS_PRIVATE, nullptr) == 0 &&
                               mount("none", (folder / "").c_str(), "tmpfs", 0, "size=16k") == 0;
        return isMounted ? WriteFailure(folder / "a.Q32") : "not allowed";
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
        EXPECT_TRUE(error.GetCode() == 0x20FFFE && error.GetModuleDesc().id == 0x2B580EC7);
    }
    EXPECT_FALSE(std::filesystem::exists(folder / "a.Q32"));
    EXPECT_FALSE(SaveImage(folder / "a.Q32", CLinkedPtr<CImage>()));
}

} // namespace
