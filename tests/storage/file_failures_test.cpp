// Files that cannot be opened or written, made so by the operating system itself.
#include "storage/file_access.h"
#include "storage/image_saving.h"
#include "storage/paths.h"
#include "support/system_calls.h"
#include "test_files.h"

#include <csignal>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr char DataFailedText[] = "Failed to write image data. File %1% write failed";

// For its life the process is an ordinary user's: permissions stop nobody who is root.
class OrdinaryUser
{
public:
    OrdinaryUser() { EXPECT_TRUE(geteuid() != 0 || seteuid(65534) == 0); }
    ~OrdinaryUser() { EXPECT_EQ(seteuid(getuid()), 0); }
    OrdinaryUser(const OrdinaryUser&) = delete;
    OrdinaryUser& operator=(const OrdinaryUser&) = delete;
};

TEST(FileFailures, PermissionsAreNamed)
{
    const TestFolder folder;
    WriteBytes(folder / "old", "old");
    WriteBytes(folder / "secret", "");
    chmod((folder / "old").c_str(), 0444);
    chmod((folder / "secret").c_str(), 0);
    chmod((folder / "").c_str(), 0555);
    {
        const OrdinaryUser user;
        EXPECT_EQ(WriteFailure(folder / "new"), Message(DeniedText, folder / "new"));
        EXPECT_EQ(ReadFailure(folder / "secret"), Message(DeniedText, folder / "secret"));
        EXPECT_EQ(WriteFailure(folder / "old"),
                  Message("File %1% exist but can no be opened for writing.", folder / "old"));
        EXPECT_EQ(ReadFailure(folder / "old"),
                  Message("File %1% is not q32 format", folder / "old"));
        EXPECT_FALSE(CreateFolderPath(folder / "made/"));
    }
    EXPECT_EQ(ReadBytes(folder / "old"), "old");
    chmod((folder / "").c_str(), 0333);
    const OrdinaryUser user;
    EXPECT_EQ(WriteFailure(folder / "new"), "") << "the folder may be written, not read";
}

TEST(FileFailures, ANewFolderIsOnTheDiskOrIsNotMade)
{
    const TestFolder folder;
    const std::string top = std::filesystem::path(folder / "").parent_path().string();
    std::vector<std::string> calls;
    int error = 0;
    const WatchedSystemCalls watch([&](std::string_view call, std::string_view path) {
        calls.push_back(std::string(call) + ' ' + std::string(path));
        return call == "fsync" ? error : 0;
    });
    EXPECT_TRUE(CreateFolderPath(folder / "a/b/"));
    EXPECT_EQ(calls,
              (std::vector<std::string>{"open " + top, "fsync ", "open " + top + "/a", "fsync "}));
    calls.clear();
    EXPECT_TRUE(CreateFolderPath(folder / "a/b/") && calls.empty());
    error = EIO;
    EXPECT_FALSE(CreateFolderPath(folder / "a/c/d/"));
    EXPECT_FALSE(std::filesystem::exists(folder / "a/c/d"));
}

TEST(FileFailures, APartialFileIsAFailure)
{
    const TestFolder folder;
    const std::string path = folder / "a.Q32";
    rlimit former;
    getrlimit(RLIMIT_FSIZE, &former);
    std::signal(SIGXFSZ, SIG_IGN);
    for (const rlim_t size : {10u, 5000u, 20100u, 20151u, 20152u}) {
        // Only the limit that can be raised again.
        const rlimit limit{size, former.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
        const std::string failure = WriteFailure(path);
        setrlimit(RLIMIT_FSIZE, &former);
        EXPECT_EQ(failure, size < 20152 ? Message(DataFailedText, path) : "");
        EXPECT_EQ(std::filesystem::file_size(path), size) << "the partial file stays";
    }
}

TEST(FileFailures, NoErrorOfTheSystemIsTakenForAnother)
{
    const TestFolder folder;
    const std::string path = folder / "a.Q32", unknown = UnknownAccessText;
    mkfifo((folder / "pipe").c_str(), 0666);
    ExpectRefused(folder / "pipe", DeniedText); // nobody is at its other end
    ExpectRefused("/dev/full", DeniedText);
    ASSERT_EQ(WriteFailure(path), "");
    const std::pair<int, std::string> cases[] = {
        {ELOOP, InvalidPathText},
        {ENAMETOOLONG, InvalidPathText},
        {ENXIO, InvalidPathText},
        {EILSEQ, InvalidPathText},
        {EMFILE, SharedText},
        {ENFILE, SharedText},
        {ETXTBSY, SharedText},
        {EROFS, DeniedText},
        {EIO, unknown + ": Input/output error"},
        {ENOSPC, unknown + ": No space left on device"},
    };
    for (const auto& [error, reason] : cases) {
        const WatchedSystemCalls watch(
            [error = error](std::string_view call, auto) { return call == "open" ? error : 0; });
        ExpectRefused(path, reason);
    }
    EXPECT_EQ(ReadFailure(path), "") << "nothing was emptied";
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

} // namespace
