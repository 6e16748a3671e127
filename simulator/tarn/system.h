// The few questions to the operating system that the language's library does not answer.
#pragma once

#include <cstdint>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <string>

namespace tarn {

// Texts are UTF-8, also those that name files. Where the system's names are UTF-16, what cannot be
// converted is replaced.
std::filesystem::path PathOf(const std::string& text);
std::string TextOf(const std::filesystem::path& path);

// A variable of the environment; empty when there is none.
std::string EnvironmentText(const char* name);

// The calendar's parts of a time.
std::tm UtcTime(std::time_t time);
std::tm LocalTime(std::time_t time);

// The function of this name that the program brings, where the loader does not prefer it by itself
// to the system's; else null.
void* FindInProgram(const char* name);

// The folder of this loaded library.
std::string OwnFolder();

// What changes when a file is written or replaced.
struct FileStamp
{
    bool exists = false;
    std::int64_t time = 0, size = 0;
    std::uint64_t identity = 0; // 0 where the system tells none
    bool operator==(const FileStamp&) const = default;
};
FileStamp StampOf(const std::string& path);

// Empties the file, or makes it; null with errno when that failed.
std::FILE* OpenToWrite(const std::string& path);

// Brings what was flushed to the stream, or the names of a folder, onto the disk; false with errno
// when it failed.
bool SyncToDisk(std::FILE* file);
bool SyncFolder(const std::string& folder);

// Holds a file that nobody else can hold meanwhile, in this process or another. The file stays; the
// system lets go of it when the process ends in whatever way.
class FileLock
{
public:
    // Makes the file when it is missing. Throws std::runtime_error, also when it is held.
    explicit FileLock(const std::string& path);
    ~FileLock();
    FileLock(const FileLock&) = delete;
    FileLock& operator=(const FileLock&) = delete;

private:
    std::intptr_t m_file;
};

} // namespace tarn
