// Questions to Windows.
#include "simulator/tarn/system.h"

#include <cerrno>
#include <io.h>
#include <stdexcept>
#include <system_error>
#include <windows.h>

namespace tarn {

std::filesystem::path PathOf(const std::string& text)
{
    const int size = static_cast<int>(text.size());
    std::wstring wide(text.size(), L'\0'); // never longer
    wide.resize(static_cast<std::size_t>(
        MultiByteToWideChar(CP_UTF8, 0, text.data(), size, wide.data(), size)));
    return wide;
}

std::string TextOf(const std::filesystem::path& path)
{
    const std::wstring& wide = path.native();
    const int size = static_cast<int>(wide.size());
    std::string text(3 * wide.size(), '\0'); // never longer
    text.resize(static_cast<std::size_t>(WideCharToMultiByte(
        CP_UTF8, 0, wide.data(), size, text.data(), 3 * size, nullptr, nullptr)));
    return text;
}

std::string EnvironmentText(const char* name)
{
    std::wstring text(32'768, L'\0');
    text.resize(GetEnvironmentVariableW(PathOf(name).c_str(), text.data(),
                                        static_cast<DWORD>(text.size())));
    return TextOf(text);
}

std::tm UtcTime(std::time_t time)
{
    std::tm parts{};
    gmtime_s(&parts, &time);
    return parts;
}

std::tm LocalTime(std::time_t time)
{
    std::tm parts{};
    localtime_s(&parts, &time);
    return parts;
}

void* FindInProgram(const char* name)
{
    return reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(nullptr), name));
}

std::string OwnFolder()
{
    static const char Anchor = 0;
    HMODULE module = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS |
                           GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       reinterpret_cast<const wchar_t*>(&Anchor), &module);
    std::wstring path(32'768, L'\0');
    path.resize(GetModuleFileNameW(module, path.data(), static_cast<DWORD>(path.size())));
    return TextOf(std::filesystem::path(path).parent_path());
}

FileStamp StampOf(const std::string& path)
{
    WIN32_FILE_ATTRIBUTE_DATA data{};
    if (GetFileAttributesExW(PathOf(path).c_str(), GetFileExInfoStandard, &data) == FALSE) {
        return {};
    }
    const auto both = [](DWORD high, DWORD low) {
        return static_cast<std::int64_t>(std::uint64_t{high} << 32 | low);
    };
    return {true, both(data.ftLastWriteTime.dwHighDateTime, data.ftLastWriteTime.dwLowDateTime),
            both(data.nFileSizeHigh, data.nFileSizeLow), 0};
}

std::FILE* OpenToWrite(const std::string& path)
{
    return _wfopen(PathOf(path).c_str(), L"wb");
}

bool SyncToDisk(std::FILE* file)
{
    return _commit(_fileno(file)) == 0;
}

bool SyncFolder(const std::string& folder)
{
    const HANDLE entry = CreateFileW(PathOf(folder).c_str(), GENERIC_WRITE,
                                     FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                     nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    const bool synced = entry != INVALID_HANDLE_VALUE && FlushFileBuffers(entry) != FALSE;
    const DWORD error = GetLastError();
    if (entry != INVALID_HANDLE_VALUE) {
        CloseHandle(entry);
    }
    errno = EIO;
    // Some file systems do not write folders on demand.
    return synced || error == ERROR_ACCESS_DENIED || error == ERROR_INVALID_FUNCTION ||
           error == ERROR_INVALID_PARAMETER || error == ERROR_NOT_SUPPORTED;
}

FileLock::FileLock(const std::string& path)
    : m_file(reinterpret_cast<std::intptr_t>(CreateFileW(PathOf(path).c_str(), GENERIC_WRITE, 0,
                                                         nullptr, OPEN_ALWAYS,
                                                         FILE_ATTRIBUTE_NORMAL, nullptr)))
{
    if (reinterpret_cast<HANDLE>(m_file) == INVALID_HANDLE_VALUE) {
        const DWORD error = GetLastError();
        throw std::runtime_error("cannot lock " + path + ": " +
                                 (error == ERROR_SHARING_VIOLATION
                                      ? "another program holds it"
                                      : std::system_category().message(static_cast<int>(error))));
    }
}

FileLock::~FileLock()
{
    CloseHandle(reinterpret_cast<HANDLE>(m_file));
}

} // namespace tarn
