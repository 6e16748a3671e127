// Questions of tests to Windows.
#include "support/test_system.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <windows.h>

namespace {

std::filesystem::path PathOf(const std::string& utf8)
{
    return std::u8string(utf8.begin(), utf8.end());
}

} // namespace

void SetEnvironment(const char* name, const std::string& value)
{
    _putenv_s(name, value.c_str());
    SetEnvironmentVariableW(PathOf(name).c_str(), PathOf(value).c_str());
}

// The language library's own takes sizes of 32 bits here.
void ResizeFile(const std::string& path, std::uint64_t size)
{
    const HANDLE file =
        CreateFileA(path.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    SetFilePointerEx(file, {.QuadPart = static_cast<std::int64_t>(size)}, nullptr, FILE_BEGIN);
    SetEndOfFile(file);
    CloseHandle(file);
}

// Windows refuses to replace a file that is open.
void ReplaceFileBy(const std::string& newFile, const std::string& path)
{
    constexpr int MostTries = 1000;
    for (int tries = 0; MoveFileExA(newFile.c_str(), path.c_str(), MOVEFILE_REPLACE_EXISTING) == 0;
         ++tries) {
        if (tries == MostTries) {
            std::fprintf(stderr, "%s stays in use.\n", path.c_str());
            std::abort();
        }
        Sleep(1);
    }
}

void* FunctionOf(const char* library, const char* name)
{
    const HMODULE module = LoadLibraryW(PathOf(library).make_preferred().c_str());
    return module != nullptr ? reinterpret_cast<void*>(GetProcAddress(module, name)) : nullptr;
}

// Ctrl+C reaches a program through its console.
std::vector<void (*)()> EndRequests()
{
    return {[] { std::raise(SIGTERM); },
            [] {
                FreeConsole();
                AllocConsole();
                GenerateConsoleCtrlEvent(CTRL_C_EVENT, 0);
            }};
}
