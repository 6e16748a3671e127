// What the fuzz targets share: a check that stops the fuzzer, and a file in memory.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <unistd.h>

inline void Require(bool isTrue)
{
    if (!isTrue) {
        std::abort();
    }
}

// A file of this process that holds the bytes; the same file at every call.
inline const std::string& FuzzFile(const void* data, std::size_t size)
{
    static const std::string Path = "/dev/shm/fuzz_" + std::to_string(getpid());
    static const int File = open(Path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    static const int AtEnd = std::atexit([] { unlink(Path.c_str()); });
    Require(File >= 0 && AtEnd == 0 && ftruncate(File, 0) == 0 &&
            pwrite(File, data, size, 0) == static_cast<ssize_t>(size));
    return Path;
}
