// Loaded libraries, their exports by ordinal.
#include "platform/win32/native.h"
#include "platform/win32/text.h"

namespace {

thread_local std::string loadFailure;

std::wstring PathOf(HMODULE module);

} // namespace

// The current folder and the search path of the environment are never looked at: only the program's
// own folder and the system's, for the library and for what it needs itself.
HMODULE LoadModule(const char* name)
{
    const std::wstring file = Wide(name) + L".dll";
    const std::wstring program = PathOf(nullptr);
    const std::wstring folder = program.substr(0, program.rfind(L'\\') + 1);
    const std::wstring beside = folder + file;

    // A library that stands beside the program and is broken is not replaced by another one.
    const bool isBeside = win::GetFileAttributesW(beside.c_str()) != INVALID_FILE_ATTRIBUTES;
    const win::HMODULE module =
        isBeside ? win::LoadLibraryExW(beside.c_str(), nullptr,
                                       LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR |
                                           LOAD_LIBRARY_SEARCH_DEFAULT_DIRS)
                 : win::LoadLibraryExW(file.c_str(), nullptr, LOAD_LIBRARY_SEARCH_DEFAULT_DIRS);
    if (module == nullptr) {
        loadFailure = "The library " + Narrow(file) +
                      " cannot be loaded: " + SystemMessage(win::GetLastError());
        if (!isBeside) {
            loadFailure += " Searched: " + Narrow(folder) + ", the system's folder.";
        }
    }
    return reinterpret_cast<HMODULE>(module);
}

void* FindExport(HMODULE module, unsigned number)
{
    // The system takes an ordinal in the place of a name.
    const auto* const ordinal = reinterpret_cast<const char*>(static_cast<std::uintptr_t>(number));
    const win::FARPROC address =
        win::GetProcAddress(reinterpret_cast<win::HMODULE>(module), ordinal);
    if (address == nullptr) {
        const std::string reason = SystemMessage(win::GetLastError());
        const std::wstring path = PathOf(module);
        const std::string file = Narrow(path.substr(path.rfind(L'\\') + 1));
        loadFailure = "The library " + file + " has no export " + file.substr(0, file.rfind('.')) +
                      "_" + std::to_string(number) + ": " + reason;
    }
    return reinterpret_cast<void*>(address);
}

std::string LoadFailure()
{
    return loadFailure;
}

DWORD GetModuleFileNameA(HMODULE module, char* path, DWORD size)
{
    const std::string full = Narrow(PathOf(module));
    if (full.empty() || full.size() >= size) {
        return 0;
    }
    std::memcpy(path, full.c_str(), full.size() + 1);
    return static_cast<DWORD>(full.size());
}

namespace {

std::wstring PathOf(HMODULE module)
{
    std::wstring path(LongestPath, L'\0');
    path.resize(win::GetModuleFileNameW(reinterpret_cast<win::HMODULE>(module), path.data(),
                                        static_cast<win::DWORD>(path.size())));
    return path;
}

} // namespace
