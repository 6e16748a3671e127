// Files over the system's calls of the same names.
#include "platform/win32/native.h"
#include "platform/win32/text.h"

#include <algorithm>
#include <fcntl.h>
#include <io.h>
#include <iterator>
#include <utility>
#include <vector>

namespace {

// Closes at the end of the scope; NoFile for none.
class Handle
{
public:
    explicit Handle(win::HANDLE handle) : m_handle(handle) {}
    ~Handle()
    {
        if (IsOpen()) {
            win::CloseHandle(m_handle);
        }
    }
    Handle(Handle&& other) noexcept : m_handle(std::exchange(other.m_handle, NoFile)) {}
    Handle& operator=(Handle&&) = delete;

    win::HANDLE Get() const { return m_handle; }
    bool IsOpen() const { return m_handle != NoFile; }

private:
    win::HANDLE m_handle;
};

// A name below an open folder. While it stands, none of the folders on the way can be renamed,
// removed or replaced by a link.
struct Entry
{
    // Without a path, and with the cause in GetLastError, when the name leads through a link or
    // "..", or one of its folders cannot be opened.
    Entry(win::HANDLE folder, const char* name);

    std::wstring path;
    std::vector<Handle> folders;
};

// Empty, which names nothing, for a path that is too long: a system may take only its beginning.
std::wstring WidePath(std::string_view path);
win::HANDLE OpenFolderAt(const std::wstring& path, bool followed);
bool SyncEntries(const std::wstring& folder);
std::wstring FinalPath(win::HANDLE file);
bool IsSamePath(const std::wstring& one, const std::wstring& other);
win::HANDLE OpenFile(const std::wstring& path, win::DWORD access, win::DWORD shareMode,
                     bool emptied);
bool NamesDevice(const std::wstring& path);
bool IsLink(win::HANDLE file);
std::FILE* StreamOf(win::HANDLE file, const char* mode);

} // namespace

HANDLE CreateFileA(const char* path, DWORD access, DWORD shareMode, const void*, DWORD creation,
                   DWORD, HANDLE)
{
    const bool emptied = creation == CREATE_ALWAYS;
    return static_cast<HANDLE>(
        OpenFile(WidePath(path), access | (emptied ? GENERIC_WRITE : 0), shareMode, emptied));
}

BOOL CloseHandle(HANDLE handle)
{
    return win::CloseHandle(handle);
}

DWORD GetLastError()
{
    static constexpr DWORD Known[] = {
        0,
        ERROR_FILE_NOT_FOUND,
        ERROR_PATH_NOT_FOUND,
        ERROR_TOO_MANY_OPEN_FILES,
        ERROR_ACCESS_DENIED,
        ERROR_INVALID_DRIVE,
        ERROR_NOT_READY,
        ERROR_SHARING_VIOLATION,
        ERROR_LOCK_VIOLATION,
        ERROR_FILE_EXISTS,
        ERROR_INVALID_NAME,
        ERROR_ALREADY_EXISTS,
    };
    const DWORD error = win::GetLastError();
    return std::ranges::find(Known, error) != std::end(Known) ? error : ERROR_OF_SYSTEM | error;
}

std::string SystemErrorText(DWORD error)
{
    return (error & ERROR_OF_SYSTEM) != 0 ? SystemMessage(error & ~ERROR_OF_SYSTEM) : "";
}

std::FILE* OpenStream(const char* path, const char* mode)
{
    const bool written = mode[0] == 'w';
    const win::HANDLE file = OpenFile(WidePath(path), written ? GENERIC_WRITE : GENERIC_READ,
                                      written ? 0 : FILE_SHARE_READ, written);
    return file != NoFile ? StreamOf(file, mode) : nullptr;
}

bool SkipInStream(std::FILE* stream, std::uint32_t bytes)
{
    return _fseeki64(stream, bytes, SEEK_CUR) == 0;
}

bool SyncStream(std::FILE* stream)
{
    if (std::fflush(stream) != 0 || std::ferror(stream) != 0) {
        return false;
    }
    const auto file = reinterpret_cast<win::HANDLE>(_get_osfhandle(_fileno(stream)));
    return win::FlushFileBuffers(file) != FALSE;
}

bool SyncFolderOf(const char* path)
{
    std::wstring folder = Wide(path);
    folder.resize(folder.find_last_of(L"\\/") + 1);
    return SyncEntries(folder.empty() ? L"." : folder);
}

OpenFolder::OpenFolder(const char* path)
    : m_folder(reinterpret_cast<std::intptr_t>(OpenFolderAt(WidePath(path), true)))
{
}

OpenFolder::~OpenFolder()
{
    const Handle closed(reinterpret_cast<win::HANDLE>(m_folder));
}

bool OpenFolder::IsOpen() const
{
    return reinterpret_cast<win::HANDLE>(m_folder) != NoFile;
}

std::FILE* OpenFolder::CreateStream(const char* name) const
{
    const Entry entry(reinterpret_cast<win::HANDLE>(m_folder), name);
    if (entry.path.empty()) {
        return nullptr;
    }
    const win::HANDLE file = win::CreateFileW(entry.path.c_str(), GENERIC_WRITE, 0, nullptr,
                                              CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file != NoFile) {
        return StreamOf(file, "wb");
    }
    if (win::GetLastError() == ERROR_ALREADY_EXISTS) {
        win::SetLastError(ERROR_FILE_EXISTS);
    }
    return nullptr;
}

bool OpenFolder::Rename(const char* name, const char* newName) const
{
    const Entry from(reinterpret_cast<win::HANDLE>(m_folder), name);
    const Entry to(reinterpret_cast<win::HANDLE>(m_folder), newName);
    if (from.path.empty() || to.path.empty()) {
        return false;
    }
    const win::DWORD kind = win::GetFileAttributesW(from.path.c_str());
    if (kind == INVALID_FILE_ATTRIBUTES) {
        return false;
    }
    if ((kind & (FILE_ATTRIBUTE_REPARSE_POINT | FILE_ATTRIBUTE_DIRECTORY)) != 0) {
        win::SetLastError((kind & FILE_ATTRIBUTE_REPARSE_POINT) != 0 ? ERROR_PATH_NOT_FOUND
                                                                     : ERROR_ACCESS_DENIED);
        return false;
    }
    // Without its flags the move replaces nothing.
    if (win::MoveFileExW(from.path.c_str(), to.path.c_str(), 0) != FALSE) {
        return true;
    }
    if (win::GetLastError() == ERROR_ALREADY_EXISTS) {
        win::SetLastError(ERROR_FILE_EXISTS);
    }
    return false;
}

bool OpenFolder::SyncFolderOf(const char* name) const
{
    const Entry entry(reinterpret_cast<win::HANDLE>(m_folder), name);
    return !entry.path.empty() && SyncEntries(entry.path.substr(0, entry.path.rfind(L'\\') + 1));
}

HANDLE FindFirstFileA(const char* path, WIN32_FIND_DATAA* found)
{
    std::wstring wide = WidePath(path);
    while (wide.ends_with(L'\\') || wide.ends_with(L'/')) {
        wide.pop_back(); // a folder may be named so
    }
    // The system would take these for a pattern; the one in the prefix is none.
    constexpr std::wstring_view LongPrefix = L"\\\\?\\";
    const std::size_t begin = wide.starts_with(LongPrefix) ? LongPrefix.size() : 0;
    if (wide.find_first_of(L"*?", begin) != std::wstring::npos) {
        win::SetLastError(ERROR_INVALID_NAME);
        return static_cast<HANDLE>(NoFile);
    }
    win::WIN32_FIND_DATAW entry;
    const win::HANDLE search = win::FindFirstFileW(wide.c_str(), &entry);
    if (search != NoFile) {
        const std::string name = Narrow(entry.cFileName);
        const std::size_t length = std::min(name.size(), sizeof found->cFileName - 1);
        std::memcpy(found->cFileName, name.data(), length);
        found->cFileName[length] = '\0';
    }
    return static_cast<HANDLE>(search);
}

BOOL FindClose(HANDLE search)
{
    return win::FindClose(search);
}

BOOL CreateDirectoryA(const char* path, const void*)
{
    return win::CreateDirectoryW(WidePath(path).c_str(), nullptr);
}

namespace {

std::wstring WidePath(std::string_view path)
{
    const std::wstring wide = Wide(path);
    return wide.size() < LongestPath ? wide : L"";
}

Entry::Entry(win::HANDLE folder, const char* name) : path(FinalPath(folder))
{
    constexpr std::wstring_view Separators = L"\\/";
    std::wstring rest = Wide(name);
    if (path.size() + 1 + rest.size() >= LongestPath) {
        win::SetLastError(ERROR_INVALID_NAME);
        path.clear();
    }
    std::size_t end = rest.find_first_of(Separators);
    for (; !path.empty() && end != rest.npos; end = rest.find_first_of(Separators)) {
        const std::wstring part = rest.substr(0, end);
        rest.erase(0, end + 1);
        if (part.empty()) {
            continue;
        }
        path += L'\\' + part;
        folders.emplace_back(OpenFolderAt(path, false));
        // A part such as "..", "a." or a short name may be another one's; only what the system
        // calls by this path is what was meant.
        if (!folders.back().IsOpen()) {
            path.clear();
        } else if (!IsSamePath(FinalPath(folders.back().Get()), path)) {
            win::SetLastError(ERROR_PATH_NOT_FOUND);
            path.clear();
        }
    }
    if (!path.empty()) {
        path += L'\\' + rest;
    }
}

// Others may work in it, but not rename or remove it. A link is opened itself and refused unless it
// is to be followed.
win::HANDLE OpenFolderAt(const std::wstring& path, bool followed)
{
    const win::HANDLE folder = win::CreateFileW(
        path.c_str(), FILE_LIST_DIRECTORY, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
        OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS | (followed ? 0 : FILE_FLAG_OPEN_REPARSE_POINT),
        nullptr);
    win::BY_HANDLE_FILE_INFORMATION information{};
    if (folder == NoFile) {
        // A missing folder is more than a missing file.
        if (win::GetLastError() == ERROR_FILE_NOT_FOUND) {
            win::SetLastError(ERROR_PATH_NOT_FOUND);
        }
        return NoFile;
    }
    win::GetFileInformationByHandle(folder, &information);
    const win::DWORD kind = information.dwFileAttributes;
    if ((kind & FILE_ATTRIBUTE_DIRECTORY) != 0 && (kind & FILE_ATTRIBUTE_REPARSE_POINT) == 0) {
        return folder;
    }
    win::CloseHandle(folder);
    win::SetLastError(ERROR_PATH_NOT_FOUND);
    return NoFile;
}

// The reasons of a file system that does not write folders on demand are no failures.
bool SyncEntries(const std::wstring& folder)
{
    const Handle entry(win::CreateFileW(
        folder.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
        nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
    if (entry.IsOpen() && win::FlushFileBuffers(entry.Get()) != FALSE) {
        return true;
    }
    const win::DWORD error = win::GetLastError();
    return error == ERROR_ACCESS_DENIED || error == ERROR_INVALID_FUNCTION ||
           error == ERROR_INVALID_PARAMETER || error == ERROR_NOT_SUPPORTED;
}

// Empty when the system does not tell it.
std::wstring FinalPath(win::HANDLE file)
{
    std::wstring path(LongestPath, L'\0');
    const win::DWORD length = win::GetFinalPathNameByHandleW(
        file, path.data(), static_cast<win::DWORD>(path.size()), FILE_NAME_NORMALIZED);
    path.resize(length < path.size() ? length : 0);
    while (path.ends_with(L'\\')) {
        path.pop_back(); // of a drive
    }
    return path;
}

// Large and small letters make no difference to the system.
bool IsSamePath(const std::wstring& one, const std::wstring& other)
{
    return win::CompareStringOrdinal(one.data(), static_cast<int>(one.size()), other.data(),
                                     static_cast<int>(other.size()), TRUE) == CSTR_EQUAL;
}

// Emptied only once it is open: a file in use elsewhere, and what a link leads to, keep their
// content. A link is opened itself and refused.
win::HANDLE OpenFile(const std::wstring& path, win::DWORD access, win::DWORD shareMode,
                     bool emptied)
{
    win::HANDLE file = NoFile;
    if (!NamesDevice(path)) {
        file = win::CreateFileW(path.c_str(), access, shareMode, nullptr,
                                emptied ? OPEN_ALWAYS : OPEN_EXISTING,
                                FILE_ATTRIBUTE_NORMAL | FILE_FLAG_OPEN_REPARSE_POINT, nullptr);
        if (file == NoFile) {
            return NoFile;
        }
        if (win::GetFileType(file) == FILE_TYPE_DISK && !IsLink(file) &&
            (!emptied || win::SetEndOfFile(file) != FALSE)) {
            return file;
        }
        win::CloseHandle(file);
    }
    win::SetLastError(ERROR_ACCESS_DENIED);
    return NoFile;
}

// CON, NUL, COM1 and their like, in whatever folder, and names below \\.\ themselves.
bool NamesDevice(const std::wstring& path)
{
    constexpr std::wstring_view DevicePrefix = L"\\\\.\\";
    wchar_t full[MAX_PATH];
    const win::DWORD length = win::GetFullPathNameW(path.c_str(), MAX_PATH, full, nullptr);
    return length > DevicePrefix.size() && length < MAX_PATH &&
           std::wstring_view(full, length).starts_with(DevicePrefix);
}

bool IsLink(win::HANDLE file)
{
    win::BY_HANDLE_FILE_INFORMATION information{};
    return win::GetFileInformationByHandle(file, &information) != FALSE &&
           (information.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
}

std::FILE* StreamOf(win::HANDLE file, const char* mode)
{
    const bool written = mode[0] == 'w';
    const int number = _open_osfhandle(reinterpret_cast<std::intptr_t>(file),
                                       _O_BINARY | (written ? _O_WRONLY : _O_RDONLY));
    if (number < 0) {
        win::CloseHandle(file);
        win::SetLastError(ERROR_TOO_MANY_OPEN_FILES);
        return nullptr;
    }
    std::FILE* const stream = _fdopen(number, mode);
    if (stream == nullptr) {
        _close(number);
        win::SetLastError(ERROR_TOO_MANY_OPEN_FILES);
    }
    return stream;
}

} // namespace
