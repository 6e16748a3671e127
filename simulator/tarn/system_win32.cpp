// Questions to Windows.
#include "simulator/tarn/system.h"

#include <filesystem>
#include <io.h>
#include <windows.h>

namespace tarn {

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
    return std::filesystem::path(path).parent_path().string();
}

FileStamp StampOf(const std::string& path)
{
    WIN32_FILE_ATTRIBUTE_DATA data{};
    if (GetFileAttributesExW(std::filesystem::path(path).c_str(), GetFileExInfoStandard, &data) ==
        FALSE) {
        return {};
    }
    const auto both = [](DWORD high, DWORD low) {
        return static_cast<std::int64_t>(std::uint64_t{high} << 32 | low);
    };
    return {true, both(data.ftLastWriteTime.dwHighDateTime, data.ftLastWriteTime.dwLowDateTime),
            both(data.nFileSizeHigh, data.nFileSizeLow), 0};
}

bool SyncToDisk(std::FILE* file)
{
    return _commit(_fileno(file)) == 0;
}

} // namespace tarn
