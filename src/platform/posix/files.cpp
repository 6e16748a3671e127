// Files over POSIX calls, with the operating system's reasons in the numbers of files.h.
#include "platform/files.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <string>
#include <string_view>
#include <sys/file.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace {

thread_local DWORD lastError = 0;

// To work in a folder takes no right to read it.
constexpr int FolderFlags = O_PATH | O_DIRECTORY | O_CLOEXEC;
constexpr int SyncFlags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;
constexpr int NewFileFlags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
constexpr mode_t FileMode = 0666; // less what the umask takes away

// Stands for the path of a name whose folder is there.
constexpr char InOpenFolder[] = ".";

// A found entry needs no state: the search is for one name and never goes on.
constexpr std::intptr_t SearchHandle = INTPTR_MAX;

// A descriptor, closed at the end of the scope; negative for none.
class Descriptor
{
public:
    explicit Descriptor(int file) : m_file(file) {}
    ~Descriptor()
    {
        if (m_file >= 0) {
            close(m_file);
        }
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    int Get() const { return m_file; }
    void Reset(int file) { const Descriptor former(std::exchange(m_file, file)); }

private:
    int m_file;
};

// A name below an open folder: the folder that it is an entry of, and its last part.
struct Entry
{
    // Walks the name's folders, each opened in the one before and none through a link. Without a
    // descriptor, and with the cause in GetLastError, when one of them cannot be opened.
    Entry(int openFolder, const char* path);

    Descriptor folder;
    std::string name;
};

// The result of a system call, made again when a signal interrupts it.
template <typename Call>
int Retried(Call call)
{
    int result = 0;
    do {
        result = call();
    } while (result < 0 && errno == EINTR);
    return result;
}

bool SyncEntries(const Descriptor& folder);
bool MoveWithoutReplacing(const Entry& from, const Entry& to);
bool MoveOntoReserved(const Entry& from, const Entry& to);
int OpenLocked(const char* path, int flags, int lock, bool emptied);
int OpenFile(const char* path, int flags);
bool Lock(int file, int lock);
std::FILE* StreamOf(int file, const char* mode, const char* path);
bool Fail(int error, const char* path);
bool FailOnTheWay(const char* path);
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
    // An interrupted close has closed: the number may be somebody else's by now.
    const int file = static_cast<int>(reinterpret_cast<std::intptr_t>(handle)) - 1;
    return close(file) == 0 || errno == EINTR || Fail(errno, "") ? TRUE : FALSE;
}

DWORD GetLastError()
{
    return lastError;
}

std::string SystemErrorText(DWORD error)
{
    return (error & ERROR_OF_SYSTEM) != 0
               ? std::generic_category().message(static_cast<int>(error & ~ERROR_OF_SYSTEM))
               : "";
}

std::FILE* OpenStream(const char* path, const char* mode)
{
    const bool written = mode[0] == 'w';
    const int file = OpenLocked(path, written ? O_WRONLY | O_CREAT : O_RDONLY,
                                written ? LOCK_EX : LOCK_SH, written);
    return file < 0 ? nullptr : StreamOf(file, mode, path);
}

bool SkipInStream(std::FILE* stream, std::uint32_t bytes)
{
    return fseeko(stream, off_t{bytes}, SEEK_CUR) == 0 || Fail(errno, "");
}

bool SyncStream(std::FILE* stream)
{
    if (std::fflush(stream) == 0 && std::ferror(stream) == 0 &&
        Retried([stream] { return fsync(fileno(stream)); }) == 0) {
        return true;
    }
    return Fail(errno, "");
}

bool SyncFolderOf(const char* path)
{
    const std::filesystem::path folder = std::filesystem::path(path).parent_path();
    const char* const name = folder.empty() ? "." : folder.c_str();
    return SyncEntries(Descriptor(Retried([name] { return open(name, SyncFlags); })));
}

OpenFolder::OpenFolder(const char* path)
    : m_folder(Retried([path] { return open(path, FolderFlags); }))
{
    if (m_folder < 0) {
        FailOnTheWay(path);
    }
}

OpenFolder::~OpenFolder()
{
    const Descriptor closed(static_cast<int>(m_folder));
}

bool OpenFolder::IsOpen() const
{
    return m_folder >= 0;
}

std::FILE* OpenFolder::CreateStream(const char* name) const
{
    const Entry entry(static_cast<int>(m_folder), name);
    if (entry.folder.Get() < 0) {
        return nullptr;
    }
    const int file = Retried(
        [&] { return openat(entry.folder.Get(), entry.name.c_str(), NewFileFlags, FileMode); });
    if (file < 0) {
        Fail(errno, InOpenFolder);
        return nullptr;
    }
    if (!Lock(file, LOCK_EX)) {
        Fail(errno, InOpenFolder);
        close(file);
        return nullptr;
    }
    return StreamOf(file, "wb", InOpenFolder);
}

bool OpenFolder::Rename(const char* name, const char* newName) const
{
    const Entry from(static_cast<int>(m_folder), name);
    const Entry to(static_cast<int>(m_folder), newName);
    if (from.folder.Get() < 0 || to.folder.Get() < 0) {
        return false;
    }
    struct stat kind
    {
    };
    if (fstatat(from.folder.Get(), from.name.c_str(), &kind, AT_SYMLINK_NOFOLLOW) != 0) {
        return Fail(errno, InOpenFolder);
    }
    if (!S_ISREG(kind.st_mode)) {
        return Fail(S_ISLNK(kind.st_mode) ? ELOOP : EACCES, InOpenFolder);
    }
    return MoveWithoutReplacing(from, to) || Fail(errno, InOpenFolder);
}

bool OpenFolder::SyncFolderOf(const char* name) const
{
    const Entry entry(static_cast<int>(m_folder), name);
    return entry.folder.Get() >= 0 &&
           SyncEntries(
               Descriptor(Retried([&] { return openat(entry.folder.Get(), ".", SyncFlags); })));
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

Entry::Entry(int openFolder, const char* path)
    : folder(Retried([openFolder] { return openat(openFolder, ".", FolderFlags); }))
{
    std::string_view rest = path;
    for (std::size_t end = rest.find('/'); folder.Get() >= 0 && end != rest.npos;
         end = rest.find('/')) {
        const std::string part(rest.substr(0, end));
        rest.remove_prefix(end + 1);
        if (part == "..") {
            errno = ELOOP;
            folder.Reset(-1);
        } else if (!part.empty()) {
            folder.Reset(Retried(
                [&] { return openat(folder.Get(), part.c_str(), FolderFlags | O_NOFOLLOW); }));
        }
    }
    if (folder.Get() < 0) {
        FailOnTheWay(path);
    }
    name = rest;
}

// The folder has just been opened to be read, or not.
bool SyncEntries(const Descriptor& folder)
{
    if (folder.Get() < 0) {
        return errno == EACCES || errno == EPERM || Fail(errno, InOpenFolder);
    }
    return Retried([&folder] { return fsync(folder.Get()); }) == 0 || errno == EINVAL ||
           errno == ENOTSUP || Fail(errno, InOpenFolder);
}

bool MoveWithoutReplacing(const Entry& from, const Entry& to)
{
    if (renameat2(from.folder.Get(), from.name.c_str(), to.folder.Get(), to.name.c_str(),
                  RENAME_NOREPLACE) == 0) {
        return true;
    }
    const bool isUnknown = errno == EINVAL || errno == ENOSYS || errno == ENOTSUP;
    return isUnknown && MoveOntoReserved(from, to);
}

// Where the file system cannot be told to replace nothing, the file takes the place of an empty one
// that nobody else has made. A second name and the removal of the first would not do: what another
// program puts there in between would be removed.
bool MoveOntoReserved(const Entry& from, const Entry& to)
{
    const int reserved =
        Retried([&to] { return openat(to.folder.Get(), to.name.c_str(), NewFileFlags, FileMode); });
    if (reserved < 0) {
        return false;
    }
    close(reserved);
    if (renameat(from.folder.Get(), from.name.c_str(), to.folder.Get(), to.name.c_str()) == 0) {
        return true;
    }
    const int error = errno;
    unlinkat(to.folder.Get(), to.name.c_str(), 0);
    errno = error;
    return false;
}

// The lock comes before the emptying, so that a file in use elsewhere keeps its content.
int OpenLocked(const char* path, int flags, int lock, bool emptied)
{
    const int file = OpenFile(path, flags);
    if (file < 0) {
        return -1;
    }
    if (Lock(file, lock) && (!emptied || Retried([file] { return ftruncate(file, 0); }) == 0)) {
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
    const int file =
        Retried([&] { return open(path, flags | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, FileMode); });
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

// A file system that knows no locks lets everybody in. One of the network locks a file exclusively
// only for who may write it; the lock of readers then still tells whether somebody writes.
bool Lock(int file, int lock)
{
    if (Retried([file, lock] { return flock(file, lock | LOCK_NB); }) == 0) {
        return true;
    }
    if (errno == EBADF && lock == LOCK_EX) {
        return Lock(file, LOCK_SH);
    }
    return errno == EBADF || errno == ENOLCK || errno == ENOTSUP || errno == ENOSYS;
}

std::FILE* StreamOf(int file, const char* mode, const char* path)
{
    std::FILE* const stream = fdopen(file, mode);
    if (stream == nullptr) {
        Fail(errno, path);
        close(file);
    }
    return stream;
}

// Keeps the reason for GetLastError; always false.
bool Fail(int error, const char* path)
{
    lastError = ErrorFrom(error, path);
    return false;
}

// The same for errno and a folder, which when it is missing is more than a missing file.
bool FailOnTheWay(const char* path)
{
    return Fail(errno == ENOENT ? ENOTDIR : errno, path);
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
    return ERROR_OF_SYSTEM | static_cast<DWORD>(error);
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
