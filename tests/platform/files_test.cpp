// Opening files: what the reasons of failure are, and who may have a file open together.
#include "platform/files.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
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
