// Files that cannot be opened or written, made so by the operating system itself.
#include "storage/file_access.h"
#include "storage/image_saving.h"
#include "storage/paths.h"
#include "support/system_calls.h"
#include "test_files.h"

#include <csignal>
#include <functional>
#include <grp.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr char DataFailedText[] = "Failed to write image data. File %1% write failed";

// Runs the action in a child process, which may give up what it needs, and returns its text.
std::string InChild(const std::function<std::string()>& action)
{
    int ends[2];
    if (pipe(ends) != 0) {
        return "no pipe";
    }
    const pid_t child = fork();
    if (child == 0) {
        const std::string text = action();
        const bool isSent = write(ends[1], text.data(), text.size()) >= 0;
        _exit(isSent ? 0 : 1);
    }
    close(ends[1]);
    char text[1000] = {};
    const ssize_t size = read(ends[0], text, sizeof text);
    close(ends[0]);
    int status = 0;
    waitpid(child, &status, 0);
    return status == 0 ? std::string(text, static_cast<std::size_t>(size)) : "the child died";
}

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
    std::filesystem::create_symlink("loop", folder / "loop");
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
        {folder / "loop", InvalidPathText, InvalidPathText},
        {folder / "folder", DeniedText, DeniedText},
        {folder / "pipe", DeniedText, DeniedText}, // nobody is at its other end
        {"/dev/full", DeniedText, DeniedText},
    };
    for (const auto& row : cases) {
        EXPECT_EQ(ReadFailure(row.path), Message(row.onRead, row.path));
        EXPECT_EQ(WriteFailure(row.path), Message(row.onWrite, row.path));
    }
    EXPECT_EQ(ReadFailure("none"), Message("File %1% not found.", "none")) << "of this folder";
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
    EXPECT_EQ(asUser("new", WriteFailure), Message(DeniedText, folder / "new"));
    EXPECT_EQ(asUser("secret", ReadFailure), Message(DeniedText, folder / "secret"));
    EXPECT_EQ(asUser("old", [](auto& path) { return WriteFailure(path) + ReadFailure(path); }),
              Message("File %1% exist but can no be opened for writing.", folder / "old") +
                  Message("File %1% is not q32 format", folder / "old"));
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
    EXPECT_EQ(InChild([&] { return WriteFailure(path); }), Message(SharedText, path));
    EXPECT_EQ(ReadBytes(path), bytes);
    ASSERT_TRUE(file.Open(path.c_str(), "wb"));
    EXPECT_EQ(InChild([&] { return ReadFailure(path); }), Message(SharedText, path));
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
        EXPECT_EQ(limited(RLIMIT_FSIZE, size, WriteFailure), Message(DataFailedText, path));
        EXPECT_EQ(std::filesystem::file_size(path), size) << "the partial file stays";
    }
    EXPECT_EQ(limited(RLIMIT_FSIZE, 20152, WriteFailure), "");
    EXPECT_EQ(limited(RLIMIT_NOFILE, 0, ReadFailure), Message(SharedText, path));
    EXPECT_EQ(limited(RLIMIT_NOFILE, 0, WriteFailure), Message(SharedText, path));
    EXPECT_EQ(ReadFailure(path), "") << "nothing was emptied";
}

TEST(FileFailures, NoErrorOfTheSystemIsTakenForAnother)
{
    const TestFolder folder;
    const std::string path = folder / "a.Q32", unknown = UnknownAccessText;
    ASSERT_EQ(WriteFailure(path), "");
    const std::pair<int, std::string> cases[] = {
        {ENXIO, InvalidPathText},
        {EILSEQ, InvalidPathText},
        {ENFILE, SharedText},
        {ETXTBSY, SharedText},
        {EROFS, DeniedText},
        {EIO, unknown + ": Input/output error"},
        {ENOSPC, unknown + ": No space left on device"},
    };
    for (const auto& row : cases) {
        const WatchedSystemCalls watch(
            [&](std::string_view call, auto) { return call == "open" ? row.first : 0; });
        EXPECT_EQ(ReadFailure(path), Message(row.second, path));
        EXPECT_EQ(WriteFailure(path), Message(row.second, path));
    }
}

TEST(FileFailures, AnInterruptedCallIsMadeAgain)
{
    const TestFolder folder;
    for (const char* interrupted : {"open", "flock", "ftruncate", "fsync"}) {
        bool isFirst = true;
        const WatchedSystemCalls watch([&](std::string_view call, auto) {
            return call == interrupted && std::exchange(isFirst, false) ? EINTR : 0;
        });
        EXPECT_EQ(WriteFailure(folder / "a.Q32"), "") << interrupted;
        EXPECT_FALSE(isFirst) << interrupted;
    }
}

// A network file system locks a file for one opener only where that may write, or not at all.
TEST(FileFailures, ALockThatTheFileSystemRefusesIsDoneWithout)
{
    const TestFolder folder;
    const std::string path = folder / "a.Q32";
    for (const int error : {EBADF, ENOLCK}) {
        const WatchedSystemCalls watch(
            [=](std::string_view call, auto) { return call == "flock" ? error : 0; });
        EXPECT_EQ(WriteFailure(path), "");
        EXPECT_EQ(ReadFailure(path), "");
    }
    CFileHolder writer;
    ASSERT_TRUE(writer.Open(path.c_str(), "wb"));
    int locks = 0; // the reader's, then that of the check, which asks for the file alone
    const WatchedSystemCalls watch(
        [&](std::string_view call, auto) { return call == "flock" && ++locks == 2 ? EBADF : 0; });
    EXPECT_EQ(ReadFailure(path), Message(SharedText, path)) << "a writer is still seen";
}

TEST(FileFailures, WhatTheDiskMayNotHaveIsNoFile)
{
    const TestFolder folder;
    const std::string path = folder / "a.Q32";
    for (const int failing : {1, 2}) { // the file, its entry in the folder
        int syncs = 0;
        const WatchedSystemCalls watch([&](std::string_view call, auto) {
            if (call != "fsync" || ++syncs != failing) {
                return 0;
            }
            EXPECT_EQ(std::filesystem::file_size(path), 20152u) << "before all is written";
            return EIO;
        });
        EXPECT_EQ(WriteFailure(path), Message(DataFailedText, path)) << failing;
    }
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
    EXPECT_EQ(text, Message(DataFailedText, folder / "a.Q32"));
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
