// Questions of tests to Windows.
#include "support/test_system.h"

#include <cstdlib>
#include <windows.h>

void SetEnvironment(const char* name, const std::string& value)
{
    _putenv_s(name, value.c_str());
    SetEnvironmentVariableA(name, value.c_str());
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

void* FunctionOf(const char* library, const char* name)
{
    const HMODULE module = LoadLibraryA(library);
    return module != nullptr ? reinterpret_cast<void*>(GetProcAddress(module, name)) : nullptr;
}
