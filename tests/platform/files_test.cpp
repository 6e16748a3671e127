// Opening files: what the reasons of failure are, and who may have a file open together.
#include "platform/files.h"
#include "platform/module.h"
#include "support/system_calls.h"

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <string_view>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

constexpr DWORD None = 0;

// Opens as the file check does, and gives the reason of the failure.
DWORD ReasonOf(const std::string& path, DWORD access, DWORD creation)
{
    const HANDLE file =
        CreateFileA(path.c_str(), access, 0, nullptr, creation, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        return GetLastError();
    }
    CloseHandle(file);
    return None;
}

// The same in a child process that permission bits do stop.
DWORD ReasonOfNobody(const std::string& path, DWORD access, DWORD creation)
{
    const pid_t child = fork();
    if (child == 0) {
        _exit(setuid(65534) == 0 ? static_cast<int>(ReasonOf(path, access, creation)) : 255);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return static_cast<DWORD>(WEXITSTATUS(status));
}

class Files : public testing::Test
{
protected:
    void SetUp() override
    {
        char name[] = "/tmp/files_test_XXXXXX";
        m_folder = mkdtemp(name);
        chmod(name, 0755);
        std::ofstream(Path("file")) << "content";
    }
    void TearDown() override { fs::remove_all(m_folder); }
    std::string Path(const std::string& name) const { return m_folder + "/" + name; }

    std::string m_folder;
};

TEST_F(Files, FailuresHaveTheirReasons)
{
    fs::create_symlink("loop", Path("loop"));
    mkfifo(Path("fifo").c_str(), 0666);
    const struct
    {
        std::string path;
        DWORD access, creation, reason;
    } cases[] = {
        {Path("file"), GENERIC_READ, OPEN_EXISTING, None},
        {Path("new"), GENERIC_WRITE, CREATE_ALWAYS, None},
        {Path("new too"), GENERIC_READ, CREATE_ALWAYS, None},
        {Path("none"), GENERIC_READ, OPEN_EXISTING, ERROR_FILE_NOT_FOUND},
        {Path("none/file"), GENERIC_READ, OPEN_EXISTING, ERROR_PATH_NOT_FOUND},
        {Path("none/file"), GENERIC_WRITE, CREATE_ALWAYS, ERROR_PATH_NOT_FOUND},
        {"", GENERIC_READ, OPEN_EXISTING, ERROR_PATH_NOT_FOUND},
        {Path("file/file"), GENERIC_READ, OPEN_EXISTING, ERROR_PATH_NOT_FOUND},
        {Path("loop"), GENERIC_READ, OPEN_EXISTING, ERROR_PATH_NOT_FOUND},
        {Path(std::string(300, 'x')), GENERIC_WRITE, CREATE_ALWAYS, ERROR_INVALID_NAME},
        {m_folder, GENERIC_READ, OPEN_EXISTING, ERROR_ACCESS_DENIED},
        {m_folder, GENERIC_WRITE, CREATE_ALWAYS, ERROR_ACCESS_DENIED},
        {Path("fifo"), GENERIC_READ, OPEN_EXISTING, ERROR_ACCESS_DENIED},
        {Path("fifo"), GENERIC_WRITE, CREATE_ALWAYS, ERROR_ACCESS_DENIED},
        {"/dev/full", GENERIC_WRITE, CREATE_ALWAYS, ERROR_ACCESS_DENIED},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(ReasonOf(c.path, c.access, c.creation), c.reason) << c.path;
    }
    EXPECT_EQ(fs::file_size(Path("file")), 7u);
}

TEST_F(Files, PermissionsAreDenials)
{
    if (geteuid() != 0) {
        GTEST_SKIP() << "needs to become another user";
    }
    chmod(Path("file").c_str(), 0444);
    EXPECT_EQ(ReasonOfNobody(Path("file"), GENERIC_READ, OPEN_EXISTING), None);
    EXPECT_EQ(ReasonOfNobody(Path("file"), GENERIC_WRITE, CREATE_ALWAYS), ERROR_ACCESS_DENIED);
    EXPECT_EQ(ReasonOfNobody(Path("new"), GENERIC_WRITE, CREATE_ALWAYS), ERROR_ACCESS_DENIED);
    chmod(Path("file").c_str(), 0);
    EXPECT_EQ(ReasonOfNobody(Path("file"), GENERIC_READ, OPEN_EXISTING), ERROR_ACCESS_DENIED);
}

TEST_F(Files, DescriptorsRunOut)
{
    rlimit former{};
    getrlimit(RLIMIT_NOFILE, &former);
    const rlimit few{0, former.rlim_max};
    setrlimit(RLIMIT_NOFILE, &few);
    const DWORD reason = ReasonOf(Path("file"), GENERIC_READ, OPEN_EXISTING);
    setrlimit(RLIMIT_NOFILE, &former);
    EXPECT_EQ(reason, ERROR_TOO_MANY_OPEN_FILES);
}

TEST_F(Files, NoErrorOfTheSystemIsTakenForAnother)
{
    const std::map<int, DWORD> known = {
        {ENOENT, ERROR_FILE_NOT_FOUND},
        {ENOTDIR, ERROR_PATH_NOT_FOUND},
        {ELOOP, ERROR_PATH_NOT_FOUND},
        {ENAMETOOLONG, ERROR_INVALID_NAME},
        {EINVAL, ERROR_INVALID_NAME},
        {EILSEQ, ERROR_INVALID_NAME},
        {ENXIO, ERROR_NOT_READY},
        {ENODEV, ERROR_NOT_READY},
        {ENOMEDIUM, ERROR_NOT_READY},
        {EMFILE, ERROR_TOO_MANY_OPEN_FILES},
        {ENFILE, ERROR_TOO_MANY_OPEN_FILES},
        {EACCES, ERROR_ACCESS_DENIED},
        {EPERM, ERROR_ACCESS_DENIED},
        {EROFS, ERROR_ACCESS_DENIED},
        {EISDIR, ERROR_ACCESS_DENIED},
        {EBUSY, ERROR_SHARING_VIOLATION},
        {ETXTBSY, ERROR_SHARING_VIOLATION},
        {EAGAIN, ERROR_SHARING_VIOLATION},
        {EEXIST, ERROR_FILE_EXISTS},
    };
    for (int error = 1; error <= EHWPOISON; ++error) {
        const auto isOpen = [](auto call) { return call == "open" || call == "openat"; };
        int failures = error == EINTR ? 1 : 1000; // an interrupted call is made again
        const WatchedSystemCalls watch([&](std::string_view call, std::string_view) {
            return isOpen(call) && failures-- > 0 ? error : 0;
        });
        const auto row = known.find(error);
        const DWORD expected = error == EINTR       ? None
                               : row != known.end() ? row->second
                                                    : ERROR_OF_SYSTEM | static_cast<DWORD>(error);
        EXPECT_EQ(ReasonOf(Path("file"), GENERIC_READ, OPEN_EXISTING), expected) << error;
        const bool isKnown = error == EINTR || row != known.end();
        EXPECT_EQ(SystemErrorText(expected), isKnown ? "" : std::generic_category().message(error));
    }
}

TEST_F(Files, AnInterruptedCallIsMadeAgain)
{
    for (const char* interrupted : {"open", "flock", "ftruncate", "fsync"}) {
        bool isFirst = true;
        const WatchedSystemCalls watch([&](std::string_view call, std::string_view) {
            return call == interrupted && std::exchange(isFirst, false) ? EINTR : 0;
        });
        std::FILE* const stream = OpenStream(Path("file").c_str(), "wb");
        ASSERT_TRUE(stream) << interrupted;
        EXPECT_TRUE(SyncStream(stream)) << interrupted;
        EXPECT_FALSE(isFirst) << interrupted;
        std::fclose(stream);
    }
}

// A network file system gives the lock of one opener only to descriptors that may write.
TEST_F(Files, ALockThatTheFileSystemRefusesIsDoneWithout)
{
    const auto reason = [&](int refusals) {
        const WatchedSystemCalls watch([&](std::string_view call, std::string_view) {
            return call == "flock" && refusals-- > 0 ? EBADF : 0;
        });
        return ReasonOf(Path("file"), GENERIC_READ, OPEN_EXISTING);
    };
    EXPECT_EQ(reason(1), None);
    EXPECT_EQ(reason(2), None);
    std::FILE* const writer = OpenStream(Path("file").c_str(), "wb");
    ASSERT_TRUE(writer);
    EXPECT_EQ(reason(1), ERROR_SHARING_VIOLATION) << "a writer is still seen";
    std::fclose(writer);
}

TEST_F(Files, StreamsKeepOthersOutWithoutHarm)
{
    std::FILE* const reader = OpenStream(Path("file").c_str(), "rb");
    std::FILE* const second = OpenStream(Path("file").c_str(), "rb");
    ASSERT_TRUE(reader && second) << "readers share";
    EXPECT_EQ(OpenStream(Path("file").c_str(), "wb"), nullptr);
    EXPECT_EQ(GetLastError(), ERROR_SHARING_VIOLATION);
    EXPECT_EQ(fs::file_size(Path("file")), 7u) << "a file in use is not emptied";
    EXPECT_EQ(ReasonOf(Path("file"), GENERIC_READ, OPEN_EXISTING), ERROR_SHARING_VIOLATION);
    std::fclose(reader);
    std::fclose(second);

    std::FILE* const writer = OpenStream(Path("file").c_str(), "wb");
    ASSERT_TRUE(writer);
    EXPECT_EQ(fs::file_size(Path("file")), 0u);
    EXPECT_EQ(OpenStream(Path("file").c_str(), "rb"), nullptr);
    std::fputs("new", writer);
    EXPECT_TRUE(SyncStream(writer));
    EXPECT_EQ(fs::file_size(Path("file")), 3u);
    std::fclose(writer);
    EXPECT_EQ(ReasonOf(Path("file"), GENERIC_WRITE, OPEN_EXISTING), None);
}

TEST_F(Files, AnOpenFolderIsWorkedInWhateverItsPathStandsFor)
{
    fs::create_directories(Path("sub"));
    fs::create_symlink("sub", Path("link"));
    fs::create_symlink("elsewhere", Path("dangling"));
    for (const char* name : {"none", "file"}) {
        EXPECT_FALSE(OpenFolder(Path(name).c_str()).IsOpen());
        EXPECT_EQ(GetLastError(), ERROR_PATH_NOT_FOUND) << name;
    }
    const OpenFolder folder((m_folder + "/link/..").c_str());
    const auto failure = [&](const char* name) {
        return folder.CreateStream(name) != nullptr ? None : GetLastError();
    };
    for (const char* name : {"none/a", "file/a", "link/a", "sub/../a"}) {
        EXPECT_EQ(failure(name), ERROR_PATH_NOT_FOUND) << name;
    }
    for (const char* name : {"file", "sub", "link", "dangling"}) {
        EXPECT_EQ(failure(name), ERROR_FILE_EXISTS) << name;
    }
    EXPECT_FALSE(fs::exists(Path("elsewhere")));

    const OpenFolder inner(Path("sub").c_str());
    fs::rename(Path("sub"), Path("moved"));
    fs::create_directory_symlink("/", Path("sub"));
    std::FILE* const stream = inner.CreateStream("new");
    ASSERT_TRUE(stream);
    EXPECT_EQ(ReasonOf(Path("moved/new"), GENERIC_READ, OPEN_EXISTING), ERROR_SHARING_VIOLATION);
    std::fclose(stream);

    const auto isSynced = [&] {
        const bool byPath = SyncFolderOf(Path("moved/new").c_str());
        EXPECT_EQ(folder.SyncFolderOf("moved/new"), byPath);
        return byPath;
    };
    EXPECT_TRUE(isSynced());
    for (const int error : {EIO, EINVAL}) {
        const WatchedSystemCalls watch(
            [=](std::string_view call, auto) { return call == "fsync" ? error : 0; });
        EXPECT_EQ(isSynced(), error == EINVAL)
            << "which a file system says that knows no such thing";
    }
}

TEST_F(Files, MovingReplacesNothing)
{
    fs::create_directories(Path("sub"));
    fs::create_symlink("file", Path("link"));
    mkfifo(Path("fifo").c_str(), 0666);
    std::ofstream(Path("other")) << "other content";
    const OpenFolder folder(m_folder.c_str());
    const auto reason = [&](const char* name, const char* newName) {
        return folder.Rename(name, newName) ? None : GetLastError();
    };
    for (const int error : {0, EINVAL}) { // the file system can rename so, and it cannot
        const WatchedSystemCalls watch(
            [=](std::string_view call, auto) { return call == "renameat2" ? error : 0; });
        EXPECT_EQ(reason("none", "new"), ERROR_FILE_NOT_FOUND);
        EXPECT_EQ(reason("link", "new"), ERROR_PATH_NOT_FOUND);
        EXPECT_EQ(reason("sub", "new"), ERROR_ACCESS_DENIED);
        EXPECT_EQ(reason("fifo", "new"), ERROR_ACCESS_DENIED);
        for (const char* taken : {"other", "link", "sub", "fifo"}) {
            EXPECT_EQ(reason("file", taken), ERROR_FILE_EXISTS) << taken;
        }
        EXPECT_FALSE(fs::exists(Path("new")));
        EXPECT_EQ(fs::file_size(Path("other")), 13u);
        EXPECT_EQ(reason("file", "new"), None);
        EXPECT_TRUE(!fs::exists(Path("file")) && fs::file_size(Path("new")) == 7);
        EXPECT_EQ(reason("new", "file"), None);
    }
    const WatchedSystemCalls watch(
        [](std::string_view call, auto) { return call == "renameat2" ? EIO : 0; });
    EXPECT_EQ(reason("file", "new"), ERROR_OF_SYSTEM + EIO);
}

TEST_F(Files, EntriesAreFoundByName)
{
    WIN32_FIND_DATAA found{};
    const HANDLE search = FindFirstFileA(Path("file").c_str(), &found);
    EXPECT_STREQ(found.cFileName, "file");
    FindClose(search);
    EXPECT_EQ(FindFirstFileA(Path("none").c_str(), &found), INVALID_HANDLE_VALUE);
    EXPECT_TRUE(CreateDirectoryA(Path("sub").c_str(), nullptr));
    EXPECT_FALSE(CreateDirectoryA(Path("sub").c_str(), nullptr));
    EXPECT_FALSE(CreateDirectoryA(Path("none/sub").c_str(), nullptr));

    char path[256] = "";
    const DWORD length = GetModuleFileNameA(nullptr, path, sizeof path);
    EXPECT_EQ(path, fs::read_symlink("/proc/self/exe").string());
    EXPECT_EQ(GetModuleFileNameA(nullptr, path, length), 0u);
}

} // namespace
