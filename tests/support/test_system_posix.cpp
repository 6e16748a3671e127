// Questions of tests to a POSIX system.
#include "support/test_system.h"

#include <csignal>
#include <cstdlib>
#include <dlfcn.h>
#include <filesystem>

void SetEnvironment(const char* name, const std::string& value)
{
    setenv(name, value.c_str(), 1);
}

void ResizeFile(const std::string& path, std::uint64_t size)
{
    std::filesystem::resize_file(path, size);
}

void ReplaceFileBy(const std::string& newFile, const std::string& path)
{
    std::filesystem::rename(newFile, path);
}

void* FunctionOf(const char* library, const char* name)
{
    void* const module = dlopen(library, RTLD_NOW);
    return module != nullptr ? dlsym(module, name) : nullptr;
}

std::vector<void (*)()> EndRequests()
{
    return {[] { std::raise(SIGTERM); }, [] { std::raise(SIGINT); }, [] { std::raise(SIGHUP); }};
}
