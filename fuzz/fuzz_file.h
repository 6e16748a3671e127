// What the fuzz targets share: a check that stops the fuzzer, and a file in memory.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <unistd.h>

inline void Require(bool isTrue)
{
    if (!isTrue)
        std::abort();
}

// A file of this process that holds the bytes; the same file at every call.
inline const std::string& FuzzFile(const void* data, std::size_t size)
{
    static const std::string path = "/dev/shm/fuzz_" + std::to_string(getpid());
    static const int file = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    static const int atEnd = std::atexit([] { unlink(path.c_str()); });
    Require(file >= 0 && atEnd == 0 && ftruncate(file, 0) == 0 &&
            pwrite(file, data, size, 0) == static_cast<ssize_t>(size));
    return path;
}
