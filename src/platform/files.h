// File operations of the operating system that report why they failed.
#pragma once

#include "platform/types.h"

#include <cstdio>

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

// Opens (or creates) a file with the asked access. shareMode 0: nobody else may have it open; the
// program's own streams count, see OpenStream. securityAttributes and templateFile are null here.
// INVALID_HANDLE_VALUE on failure, with the cause in GetLastError. Never blocks: a pipe, socket or
// device is refused with ERROR_ACCESS_DENIED, and so is a folder.
HANDLE CreateFileA(const char* path, DWORD access, DWORD shareMode, const void* securityAttributes,
                   DWORD creation, DWORD attributes, HANDLE templateFile);
BOOL CloseHandle(HANDLE handle);
DWORD GetLastError(); // of this thread's last failed operation of this header

// Opens a stream and locks the file as long as the stream is open: "rb" shared with other readers,
// "wb" for this stream alone. "wb" creates the file or, once the lock is held, empties it. Null on
// failure, with the cause in GetLastError: ERROR_SHARING_VIOLATION when a lock stands against it.
// Never blocks: a pipe, socket, device or folder is refused with ERROR_ACCESS_DENIED. The caller
// closes the stream with fclose, which gives the lock up.
std::FILE* OpenStream(const char* path, const char* mode);

// Brings what was written to the stream onto the disk; false when any of it failed.
bool SyncStream(std::FILE* stream);

// Brings the file's entry in its folder onto the disk, so that a new file keeps its name through a
// power cut. Where the folder may not be read or its file system knows nothing of it, nothing is
// done: the file itself is there.
void SyncFolderOf(const char* path);

struct WIN32_FIND_DATAA
{
    char cFileName[260]; // truncated, always terminated
};

// Searches an entry, file or folder, by its name. INVALID_HANDLE_VALUE when there is none.
HANDLE FindFirstFileA(const char* path, WIN32_FIND_DATAA* found);
BOOL FindClose(HANDLE search);
BOOL CreateDirectoryA(const char* path, const void* securityAttributes);

using HMODULE = struct HMODULE__*;

// The full path of a loaded module (null: the program) into a buffer of size bytes, terminated.
// Returns the length without the zero; 0 on failure and when the buffer is too small.
DWORD GetModuleFileNameA(HMODULE module, char* path, DWORD size);
