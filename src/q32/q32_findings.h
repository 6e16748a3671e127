// What is wrong with the bytes of a Q32 file, also where the reader takes them as they are.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

struct Q32Findings
{
    std::uint64_t missingPixelBytes = 0; // of a file that was cut short
    std::vector<std::string> texts;      // one for each finding; none for a sound file
};

// Raises eFileAccessExcpt or BadFile when the file cannot be read, and BadFile when its first bytes
// are not those of a Q32 file.
Q32Findings ExamineQ32File(const char* path);
