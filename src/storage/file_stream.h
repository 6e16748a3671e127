// Streams of image files: their owner, and the text records in them.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>

// Owns a stream and closes it on every way out.
class CFileHolder
{
public:
    CFileHolder() = default;
    CFileHolder(const CFileHolder&) = delete;
    CFileHolder& operator=(const CFileHolder&) = delete;
    virtual ~CFileHolder();

    // Closes the held stream, then opens path unless it is null. Mode "rb" or "wb". Returns the
    // stream, null when it could not be opened; the holder keeps owning it.
    std::FILE* Open(const char* path, const char* mode);
    // Takes an open stream over instead, null for none.
    std::FILE* Hold(std::FILE* stream);
    std::FILE* Get() const { return m_stream; }
    // False when the stream could not be closed, which for a written file means lost bytes.
    bool Close();

private:
    std::FILE* m_stream = nullptr;
};

// Reads a text record. A record cut short gives what there is; a zero byte drops the rest of the
// 998-byte piece it lies in. False when the stream holds more than `most` bytes of the text, which
// are not read.
bool ReadLengthPrefixedText(std::string& text, std::uint32_t most, std::FILE* stream);
// Failures show when the stream is synced or closed.
void WriteLengthPrefixedText(const std::string& text, std::FILE* stream);

// A 32-bit number of a file, little-endian on any host.
std::uint32_t LoadWord(const std::uint8_t* bytes);
void StoreWord(std::uint32_t word, std::uint8_t* bytes);
