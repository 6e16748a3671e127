// Owns streams, and reads and writes text records.
#include "storage/file_stream.h"

#include "platform/files.h"

#include <algorithm>
#include <utility>

namespace {

constexpr std::size_t TextPiece = 998;

} // namespace

CFileHolder::~CFileHolder()
{
    Close();
}

std::FILE* CFileHolder::Open(const char* path, const char* mode)
{
    Close();
    if (path != nullptr) {
        // Not fopen: that would wait for the other end of a pipe, and would let a second copy of
        // the program empty a file that this one is reading.
        m_stream = OpenStream(path, mode);
    }
    return m_stream;
}

std::FILE* CFileHolder::Hold(std::FILE* stream)
{
    Close();
    m_stream = stream;
    return m_stream;
}

bool CFileHolder::Close()
{
    std::FILE* stream = std::exchange(m_stream, nullptr);
    return stream == nullptr || std::fclose(stream) == 0;
}

bool ReadLengthPrefixedText(std::string& text, std::uint32_t most, std::FILE* stream)
{
    text.clear();
    std::uint8_t prefix[4];
    if (std::fread(prefix, 1, sizeof prefix, stream) != sizeof prefix) {
        return true;
    }
    const std::uint32_t length = LoadWord(prefix);
    char piece[TextPiece + 2];
    std::size_t got = 1;
    for (std::size_t remaining = std::min(length, most); remaining > 0 && got > 0;
         remaining -= got) {
        got = std::fread(piece, 1, std::min(remaining, TextPiece), stream);
        piece[got] = '\0';
        text += piece;
    }
    return length <= most || std::fgetc(stream) == EOF;
}

void WriteLengthPrefixedText(const std::string& text, std::FILE* stream)
{
    std::uint8_t prefix[4];
    StoreWord(static_cast<std::uint32_t>(text.size()), prefix);
    std::fwrite(prefix, 1, sizeof prefix, stream);
    std::fwrite(text.data(), 1, text.size(), stream);
}

std::uint32_t LoadWord(const std::uint8_t* bytes)
{
    return static_cast<std::uint32_t>(bytes[0]) | static_cast<std::uint32_t>(bytes[1]) << 8 |
           static_cast<std::uint32_t>(bytes[2]) << 16 | static_cast<std::uint32_t>(bytes[3]) << 24;
}

void StoreWord(std::uint32_t word, std::uint8_t* bytes)
{
    for (int i = 0; i < 4; ++i) {
        bytes[i] = static_cast<std::uint8_t>(word >> 8 * i);
    }
}
