// File operations of the operating system that report why they failed.
#pragma once

#include "platform/types.h"

#include <cstdio>
#include <string>

using HANDLE = struct HANDLE__*;
inline const HANDLE INVALID_HANDLE_VALUE = reinterpret_cast<HANDLE>(static_cast<std::intptr_t>(-1));

inline constexpr DWORD GENERIC_READ = 0x80000000;
inline constexpr DWORD GENERIC_WRITE = 0x40000000;
inline constexpr DWORD CREATE_ALWAYS = 2;
inline constexpr DWORD OPEN_EXISTING = 3;
inline constexpr DWORD FILE_ATTRIBUTE_NORMAL = 0x80;

inline constexpr DWORD ERROR_FILE_NOT_FOUND = 2;
inline constexpr DWORD ERROR_PATH_NOT_FOUND = 3;
inline constexpr DWORD ERROR_TOO_MANY_OPEN_FILES = 4;
inline constexpr DWORD ERROR_ACCESS_DENIED = 5;
inline constexpr DWORD ERROR_INVALID_DRIVE = 15;
inline constexpr DWORD ERROR_NOT_READY = 21;
inline constexpr DWORD ERROR_SHARING_VIOLATION = 32;
inline constexpr DWORD ERROR_LOCK_VIOLATION = 33;
inline constexpr DWORD ERROR_FILE_EXISTS = 80;
inline constexpr DWORD ERROR_INVALID_NAME = 123;
inline constexpr DWORD ERROR_ALREADY_EXISTS = 183;
// Causes without a number of their own: this bit and the operating system's number.
inline constexpr DWORD ERROR_OF_SYSTEM = 0x20000000;

// Opens (or creates) a file with the asked access. shareMode 0: nobody else may have it open; the
// program's own streams count, see OpenStream. securityAttributes and templateFile are null here.
// INVALID_HANDLE_VALUE on failure, with the cause in GetLastError. Never blocks: a pipe, socket or
// device is refused with ERROR_ACCESS_DENIED, and so is a folder.
HANDLE CreateFileA(const char* path, DWORD access, DWORD shareMode, const void* securityAttributes,
                   DWORD creation, DWORD attributes, HANDLE templateFile);
BOOL CloseHandle(HANDLE handle);
DWORD GetLastError(); // of this thread's last failed operation of this header

// What the operating system calls a cause of the bit ERROR_OF_SYSTEM; empty for every other error.
std::string SystemErrorText(DWORD error);

// Opens a stream and locks the file as long as the stream is open: "rb" shared with other readers,
// "wb" for this stream alone. "wb" creates the file or, once the lock is held, empties it. Null on
// failure, with the cause in GetLastError: ERROR_SHARING_VIOLATION when a lock stands against it.
// Never blocks: a pipe, socket, device or folder is refused with ERROR_ACCESS_DENIED. The caller
// closes the stream with fclose, which gives the lock up.
std::FILE* OpenStream(const char* path, const char* mode);

// Moves the stream's position on by so many bytes, also beyond the end; false when that failed.
bool SkipInStream(std::FILE* stream, std::uint32_t bytes);

// Brings what was written to the stream onto the disk; false when any of it failed.
bool SyncStream(std::FILE* stream);

// Brings the file's entry in its folder onto the disk, so that a new file keeps its name through a
// power cut; false when that failed. Where the folder may not be read or its file system knows
// nothing of it, nothing is done, and true: the file itself is there.
bool SyncFolderOf(const char* path);

// An open folder. It stays the same folder whatever becomes of its path, and nothing done in it
// leaves it: names are relative to it, and a name that leads through a symbolic link or ".." is
// refused with ERROR_PATH_NOT_FOUND. Failures have their cause in GetLastError.
class OpenFolder
{
public:
    explicit OpenFolder(const char* path); // which may itself be a link to a folder
    ~OpenFolder();
    OpenFolder(const OpenFolder&) = delete;
    OpenFolder& operator=(const OpenFolder&) = delete;

    bool IsOpen() const;
    // Creates the file and opens it as OpenStream does with "wb"; the caller closes it. Null when
    // it cannot be created, with ERROR_FILE_EXISTS when the name is taken, by a link, too.
    std::FILE* CreateStream(const char* name) const;
    // Gives the file another name. An existing entry is never replaced: ERROR_FILE_EXISTS. What is
    // no file is not moved: a link is refused as above, the rest with ERROR_ACCESS_DENIED.
    bool Rename(const char* name, const char* newName) const;
    // As SyncFolderOf, for the folder that the name is an entry of.
    bool SyncFolderOf(const char* name) const;

private:
    std::intptr_t m_folder;
};

struct WIN32_FIND_DATAA
{
    char cFileName[260]; // truncated, always terminated
};

// Searches an entry, file or folder, by its name. INVALID_HANDLE_VALUE when there is none.
HANDLE FindFirstFileA(const char* path, WIN32_FIND_DATAA* found);
BOOL FindClose(HANDLE search);
BOOL CreateDirectoryA(const char* path, const void* securityAttributes);
