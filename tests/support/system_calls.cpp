// Stands in for the C library's functions, which a program's own take the place of.
#include "support/system_calls.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <fcntl.h>
#include <sys/file.h>
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

int Opened(std::string_view call, int folder, const char* path, int flags, va_list arguments)
{
    const bool isCreated = (flags & (O_CREAT | __O_TMPFILE)) != 0;
    const mode_t mode = isCreated ? va_arg(arguments, mode_t) : 0;
    return Watched(call, path, SYS_openat, folder, path, flags, mode);
}

} // namespace

extern "C" {

int open(const char* path, int flags, ...)
{
    va_list arguments;
    va_start(arguments, flags);
    const int file = Opened("open", AT_FDCWD, path, flags, arguments);
    va_end(arguments);
    return file;
}

int openat(int folder, const char* path, int flags, ...)
{
    va_list arguments;
    va_start(arguments, flags);
    const int file = Opened("openat", folder, path, flags, arguments);
    va_end(arguments);
    return file;
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
