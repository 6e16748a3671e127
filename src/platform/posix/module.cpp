// Shared libraries over the dynamic loader.
#include "platform/module.h"

#include <cstring>
#include <dlfcn.h>
#include <link.h>
#include <unistd.h>

namespace {

thread_local std::string loadFailure;

std::string LoaderReason()
{
    const char* reason = dlerror();
    return reason != nullptr ? reason : "no reason given";
}

std::string PathOf(HMODULE module)
{
    if (module == nullptr) {
        std::string path(4096, '\0');
        const ssize_t length = readlink("/proc/self/exe", path.data(), path.size());
        path.resize(length > 0 ? static_cast<std::size_t>(length) : 0);
        return path;
    }
    link_map* map = nullptr;
    return dlinfo(module, RTLD_DI_LINKMAP, &map) == 0 ? map->l_name : "";
}

} // namespace

HMODULE LoadLibraryA(const char* name)
{
    const std::string file = "lib" + std::string(name) + ".so";
    const std::string program = PathOf(nullptr);
    const std::string beside = program.substr(0, program.rfind('/') + 1) + file;

    // A library that stands beside the program and is broken is not replaced by another one.
    const bool isBeside = access(beside.c_str(), F_OK) == 0;
    void* module = dlopen(isBeside ? beside.c_str() : file.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (module == nullptr) {
        loadFailure = "The library " + file + " cannot be loaded: " + LoaderReason();
    }
    return static_cast<HMODULE>(module);
}

void* GetProcAddress(HMODULE module, unsigned number)
{
    const std::string path = PathOf(module);
    const std::string file = path.substr(path.rfind('/') + 1);
    const std::size_t stemStart = file.starts_with("lib") ? 3 : 0;
    const std::string stem = file.substr(stemStart, file.find(".so") - stemStart);

    const std::string symbol = stem + "_" + std::to_string(number);
    void* address = dlsym(module, symbol.c_str());
    if (address == nullptr) {
        loadFailure = "The library " + file + " has no export " + symbol + ": " + LoaderReason();
    }
    return address;
}

std::string LoadFailure()
{
    return loadFailure;
}

DWORD GetModuleFileNameA(HMODULE module, char* path, DWORD size)
{
    const std::string full = PathOf(module);
    if (full.empty() || full.size() >= size) {
        return 0;
    }
    std::memcpy(path, full.c_str(), full.size() + 1);
    return static_cast<DWORD>(full.size());
}
