// Why a file cannot be opened, as an exception that says so.
#pragma once

#include "errors/exceptions.h"

#include <cstdint>
#include <string>

inline constexpr ModuleDesc FileAccessModule = {0xE154ECD0, "Check file access"};

inline constexpr char InvalidPathText[] = "Invalid path on %1%.";
inline constexpr char UnknownAccessText[] = "Unknown error on trying to access path %1%";

// Bits of a mode.
inline constexpr std::uint32_t AccessRead = 1;
inline constexpr std::uint32_t AccessWrite = 2;  // creates the file or empties an existing one
inline constexpr std::uint32_t AccessCreate = 4; // likewise

// Opens the file as the mode asks, closes it and returns; raises eFileAccessExcpt when it cannot be
// opened. Called after an open has failed, to learn the cause.
void CheckFileAccess(const char* path, std::uint32_t mode);

// Raises eFileAccessExcpt with the message of this error (as GetLastError gives it). An error
// without a message of its own is an unknown one, and what the system says of it follows. The
// introduction stands before the message.
[[noreturn]] void RaiseFileAccess(std::uint32_t error, const std::string& path,
                                  const std::string& introduction = "");
