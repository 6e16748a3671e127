// Files over POSIX calls, with the operating system's reasons in the numbers of files.h.
#include "platform/files.h"

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <string>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

thread_local DWORD lastError = 0;

// A found entry needs no state: the search is for one name and never goes on.
constexpr std::intptr_t SearchHandle = INTPTR_MAX;

int OpenLocked(const char* path, int flags, int lock, bool emptied);
int OpenFile(const char* path, int flags);
bool Lock(int file, int lock);
bool Fail(int error, const char* path);
DWORD ErrorFrom(int error, const char* path);
bool FolderExists(const char* path);

} // namespace

HANDLE CreateFileA(const char* path, DWORD access, DWORD shareMode, const void*, DWORD creation,
                   DWORD, HANDLE)
{
    // Emptying a file takes the right to write, whatever is asked for afterwards.
    const bool created = creation == CREATE_ALWAYS;
    const bool written = (access & GENERIC_WRITE) != 0;
    const int flags = created ? O_RDWR | O_CREAT : written ? O_WRONLY : O_RDONLY;
    const int file = OpenLocked(path, flags, shareMode == 0 ? LOCK_EX : LOCK_SH, created);
    if (file < 0) {
        return INVALID_HANDLE_VALUE;
    }
    return reinterpret_cast<HANDLE>(static_cast<std::intptr_t>(file) + 1);
}

BOOL CloseHandle(HANDLE handle)
{
    if (close(static_cast<int>(reinterpret_cast<std::intptr_t>(handle)) - 1) == 0) {
        return TRUE;
    }
    return Fail(errno, "") ? TRUE : FALSE;
}

DWORD GetLastError()
{
    return lastError;
}

std::FILE* OpenStream(const char* path, const char* mode)
{
    const bool written = mode[0] == 'w';
    const int file = OpenLocked(path, written ? O_WRONLY | O_CREAT : O_RDONLY,
                                written ? LOCK_EX : LOCK_SH, written);
    if (file < 0) {
        return nullptr;
    }
    std::FILE* stream = fdopen(file, mode);
    if (stream == nullptr) {
        Fail(errno, path);
        close(file);
    }
    return stream;
}

bool SyncStream(std::FILE* stream)
{
    if (std::fflush(stream) == 0 && std::ferror(stream) == 0 && fsync(fileno(stream)) == 0) {
        return true;
    }
    return Fail(errno, "");
}

void SyncFolderOf(const char* path)
{
    const std::filesystem::path folder = std::filesystem::path(path).parent_path();
    const int entry =
        open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (entry < 0) {
        return;
    }
    fsync(entry);
    close(entry);
}

HANDLE FindFirstFileA(const char* path, WIN32_FIND_DATAA* found)
{
    struct stat entry
    {
    };
    if (lstat(path, &entry) != 0) {
        Fail(errno, path);
        return INVALID_HANDLE_VALUE;
    }
    const std::string name = std::filesystem::path(path).filename().string();
    const std::size_t length = std::min(name.size(), sizeof found->cFileName - 1);
    std::memcpy(found->cFileName, name.data(), length);
    found->cFileName[length] = '\0';
    return reinterpret_cast<HANDLE>(SearchHandle);
}

BOOL FindClose(HANDLE search)
{
    return search == reinterpret_cast<HANDLE>(SearchHandle) ? TRUE : FALSE;
}

BOOL CreateDirectoryA(const char* path, const void*)
{
    return mkdir(path, 0777) == 0 || Fail(errno, path) ? TRUE : FALSE;
}

namespace {

// The lock comes before the emptying, so that a file in use elsewhere keeps its content.
int OpenLocked(const char* path, int flags, int lock, bool emptied)
{
    const int file = OpenFile(path, flags);
    if (file < 0) {
        return -1;
    }
    if (Lock(file, lock) && (!emptied || ftruncate(file, 0) == 0)) {
        return file;
    }
    Fail(errno, path);
    close(file);
    return -1;
}

// Asks for the kind before and after opening: opening a device may act on it, and the name may
// stand for something else by then.
int OpenFile(const char* path, int flags)
{
    struct stat entry
    {
    };
    if (stat(path, &entry) == 0 && !S_ISREG(entry.st_mode)) {
        Fail(EACCES, path);
        return -1;
    }
    const int file = open(path, flags | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, 0666);
    if (file < 0) {
        Fail(errno, path);
        return -1;
    }
    if (fstat(file, &entry) == 0 && S_ISREG(entry.st_mode)) {
        return file;
    }
    close(file);
    Fail(EACCES, path);
    return -1;
}

// A file system that knows no locks lets everybody in.
bool Lock(int file, int lock)
{
    return flock(file, lock | LOCK_NB) == 0 || errno == ENOLCK || errno == ENOTSUP;
}

// Keeps the reason for GetLastError; always false.
bool Fail(int error, const char* path)
{
    lastError = ErrorFrom(error, path);
    return false;
}

DWORD ErrorFrom(int error, const char* path)
{
    struct Row
    {
        int error;
        DWORD code;
    };
    static constexpr Row Rows[] = {
        {ENOTDIR, ERROR_PATH_NOT_FOUND},
        {ELOOP, ERROR_PATH_NOT_FOUND},
        {ENAMETOOLONG, ERROR_INVALID_NAME},
        {EINVAL, ERROR_INVALID_NAME},
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
        {EWOULDBLOCK, ERROR_SHARING_VIOLATION},
        {EEXIST, ERROR_FILE_EXISTS},
    };
    if (error == ENOENT) {
        return FolderExists(path) ? ERROR_FILE_NOT_FOUND : ERROR_PATH_NOT_FOUND;
    }
    for (const Row& row : Rows) {
        if (row.error == error) {
            return row.code;
        }
    }
    return static_cast<DWORD>(error);
}

// Whether the folder exists in which the path names an entry.
bool FolderExists(const char* path)
{
    if (*path == '\0') {
        return false;
    }
    const std::filesystem::path folder = std::filesystem::path(path).parent_path();
    return folder.empty() || access(folder.c_str(), F_OK) == 0;
}

} // namespace
