// Stands in for the C library's functions, which a program's own take the place of.
#include "support/system_calls.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

SystemCallWatch systemCallWatch;

namespace {

template <typename... Arguments>
int Watched(std::string_view call, const char* path, long number, Arguments... arguments)
{
    if (systemCallWatch) {
        const SystemCallWatch watch = std::exchange(systemCallWatch, nullptr);
        const int error = watch(call, path);
        systemCallWatch = watch;
        if (error != 0) {
            errno = error;
            return -1;
        }
    }
    return static_cast<int>(syscall(number, arguments...));
}

mode_t ModeOf(int flags, va_list arguments)
{
    return (flags & (O_CREAT | __O_TMPFILE)) != 0 ? va_arg(arguments, mode_t) : 0;
}

} // namespace

extern "C" {

int open(const char* path, int flags, ...)
{
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = ModeOf(flags, arguments);
    va_end(arguments);
    return Watched("open", path, SYS_openat, AT_FDCWD, path, flags, mode);
}

int openat(int folder, const char* path, int flags, ...)
{
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = ModeOf(flags, arguments);
    va_end(arguments);
    return Watched("openat", path, SYS_openat, folder, path, flags, mode);
}

int mkdir(const char* path, mode_t mode) noexcept
{
    return Watched("mkdir", path, SYS_mkdirat, AT_FDCWD, path, mode);
}

int renameat(int folder, const char* path, int newFolder, const char* newPath) noexcept
{
    return Watched("renameat", path, SYS_renameat2, folder, path, newFolder, newPath, 0);
}

int renameat2(int folder, const char* path, int newFolder, const char* newPath,
              unsigned flags) noexcept
{
    return Watched("renameat2", path, SYS_renameat2, folder, path, newFolder, newPath, flags);
}

int unlinkat(int folder, const char* path, int flags) noexcept
{
    return Watched("unlinkat", path, SYS_unlinkat, folder, path, flags);
}

int flock(int file, int operation) noexcept
{
    return Watched("flock", "", SYS_flock, file, operation);
}

int ftruncate(int file, off_t size) noexcept
{
    return Watched("ftruncate", "", SYS_ftruncate, file, size);
}

int fsync(int file)
{
    return Watched("fsync", "", SYS_fsync, file);
}

} // extern "C"
