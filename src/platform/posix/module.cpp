// Shared libraries over the dynamic loader.
#include "platform/module.h"

#include <cstring>
#include <dlfcn.h>
#include <filesystem>
#include <link.h>
#include <sys/auxv.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// Where libraries stand for all users.
const std::string VendorFolder = TARNTEST_LIBRARY_FOLDER;
const std::string LocalVendorFolder = "/usr/local/lib/tarntest/";

thread_local std::string loadFailure;

std::string PathStartedBy();
std::string PathOf(HMODULE module);
bool IsEntry(const std::string& path);
std::string LoaderReason();

// Taken before anything can change the working folder.
const std::string ProgramPath = PathStartedBy();

} // namespace

HMODULE LoadModule(const char* name)
{
    const std::string file = "lib" + std::string(name) + ".so";
    const std::string programFolder = ProgramPath.substr(0, ProgramPath.rfind('/') + 1);

    std::string path = file; // for the loader to search
    std::string searched;
    for (const std::string& folder : {programFolder, VendorFolder, LocalVendorFolder}) {
        if (IsEntry(folder + file)) {
            path = folder + file;
            break;
        }
        searched += folder + ", ";
    }
    void* module = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (module == nullptr) {
        loadFailure = "The library " + file + " cannot be loaded: " + LoaderReason();
        if (path == file) {
            loadFailure += ". Searched: " + searched + "the folders of the system's loader.";
        }
    }
    return static_cast<HMODULE>(module);
}

void* FindExport(HMODULE module, unsigned number)
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

namespace {

// A link to the program counts as the program: images and libraries are beside it. The system's
// name for the program's file serves where the path does not name that file, as under some
// debuggers.
std::string PathStartedBy()
{
    namespace fs = std::filesystem;
    std::error_code error;
    const fs::path file = fs::read_symlink("/proc/self/exe", error);
    const auto* started = reinterpret_cast<const char*>(getauxval(AT_EXECFN));
    if (started == nullptr || !fs::equivalent(started, file, error)) {
        return file;
    }
    const fs::path path = fs::absolute(started, error);
    return fs::canonical(path.parent_path(), error) / path.filename();
}

std::string PathOf(HMODULE module)
{
    if (module == nullptr) {
        return ProgramPath;
    }
    link_map* map = nullptr;
    return dlinfo(module, RTLD_DI_LINKMAP, &map) == 0 ? map->l_name : "";
}

// Also a link that leads nowhere: no other library takes the place of one that was meant.
bool IsEntry(const std::string& path)
{
    struct stat entry
    {
    };
    return lstat(path.c_str(), &entry) == 0;
}

std::string LoaderReason()
{
    const char* reason = dlerror();
    return reason != nullptr ? reason : "no reason given";
}

} // namespace
