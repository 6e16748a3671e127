// Questions to a POSIX system.
#include "simulator/tarn/system.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <stdexcept>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tarn {

std::filesystem::path PathOf(const std::string& text)
{
    return text;
}

std::string TextOf(const std::filesystem::path& path)
{
    return path.string();
}

std::string EnvironmentText(const char* name)
{
    const char* const text = std::getenv(name);
    return text != nullptr ? text : "";
}

std::tm UtcTime(std::time_t time)
{
    std::tm parts{};
    gmtime_r(&time, &parts);
    return parts;
}

std::tm LocalTime(std::time_t time)
{
    std::tm parts{};
    localtime_r(&time, &parts);
    return parts;
}

void* FindInProgram(const char*)
{
    return nullptr;
}

std::string OwnFolder()
{
    Dl_info info{};
    static const char Anchor = 0;
    if (dladdr(&Anchor, &info) == 0 || info.dli_fname == nullptr) {
        return ".";
    }
    return std::filesystem::absolute(info.dli_fname).parent_path().string();
}

FileStamp StampOf(const std::string& path)
{
    constexpr std::int64_t NanosecondsInSecond = 1'000'000'000;
    struct stat status
    {
    };
    if (stat(path.c_str(), &status) != 0) {
        return {};
    }
    return {true, status.st_mtim.tv_sec * NanosecondsInSecond + status.st_mtim.tv_nsec,
            status.st_size, status.st_ino};
}

std::FILE* OpenToWrite(const std::string& path)
{
    return std::fopen(path.c_str(), "wb");
}

bool SyncToDisk(std::FILE* file)
{
    return fsync(fileno(file)) == 0;
}

bool SyncFolder(const std::string& folder)
{
    const int file = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (file < 0) {
        return false;
    }
    // Some file systems do not write folders on demand.
    const bool synced = fsync(file) == 0 || errno == EINVAL || errno == ENOTSUP;
    const int failure = errno;
    close(file);
    errno = failure;
    return synced;
}

FileLock::FileLock(const std::string& path)
    : m_file(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666))
{
    // Of another user; the lock needs no right to write.
    if (static_cast<int>(m_file) < 0 && errno == EACCES) {
        m_file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    }
    const int file = static_cast<int>(m_file);
    if (file >= 0 && flock(file, LOCK_EX | LOCK_NB) == 0) {
        return;
    }
    const std::string reason =
        errno == EWOULDBLOCK ? "another program holds it" : std::strerror(errno);
    if (file >= 0) {
        close(file);
    }
    throw std::runtime_error("cannot lock " + path + ": " + reason);
}

FileLock::~FileLock()
{
    close(static_cast<int>(m_file));
}

} // namespace tarn
