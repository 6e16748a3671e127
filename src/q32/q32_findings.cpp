// Compares a Q32 file's header with the length of the file.
#include "q32/q32_findings.h"

#include "q32/bad_file.h"
#include "storage/file_access.h"
#include "storage/file_stream.h"
#include "storage/q32_file.h"

#include <algorithm>
#include <filesystem>

namespace {

class Examination
{
public:
    explicit Examination(const char* path);

    void ExamineHeader();
    void ExaminePixels();
    void ExamineText(const char* name);
    void ExamineEnd();

    Q32Findings findings;

private:
    void Say(const std::string& text) { findings.texts.push_back(text); }
    std::uint64_t Left() const { return m_size - std::min(m_size, m_position); }

    CFileHolder m_file;
    std::FILE* m_stream = nullptr;
    Q32FileHeader m_header = {};
    std::uint64_t m_size, m_position = sizeof(Q32FileHeader);
};

} // namespace

Q32Findings ExamineQ32File(const char* path)
{
    Examination examination(path);
    examination.ExamineHeader();
    examination.ExaminePixels();
    if (examination.findings.missingPixelBytes == 0) {
        examination.ExamineText("header text");
        examination.ExamineText("user id");
        examination.ExamineEnd();
    }
    return examination.findings;
}

namespace {

Examination::Examination(const char* path)
{
    std::error_code error;
    m_size = std::filesystem::file_size(path, error);
    m_stream = m_file.Open(path, "rb");
    std::array<std::uint8_t, sizeof(Q32FileHeader)> bytes = {};
    if (error || m_stream == nullptr) {
        CheckFileAccess(path, AccessRead);
        throw BadFile("cannot be read");
    }
    if (std::fread(bytes.data(), 1, bytes.size(), m_stream) != bytes.size()) {
        throw BadFile("is too short for a Q32 header");
    }
    m_header = DecodeQ32Header(bytes);
    if (m_header.magic != Q32Magic) {
        throw BadFile("is not q32 format");
    }
}

void Examination::ExamineHeader()
{
    if (m_header.dataOffset < sizeof m_header) {
        Say("the pixel offset points into the header");
    }
    if (std::ranges::any_of(m_header.reserved, [](std::uint32_t word) { return word != 0; })) {
        Say("the reserved words are not 0");
    }
    if (m_header.widthDivisor == 0) {
        Say("the width divisor is 0");
    }
    if (m_header.bitsPerSample < 8) {
        Say("fewer than 8 bits per sample, read as 12");
        m_header.bitsPerSample = 12;
    }
}

void Examination::ExaminePixels()
{
    m_position = std::max<std::uint64_t>(m_position, m_header.dataOffset);
    const std::uint64_t pixels = std::uint64_t{m_header.rows} * m_header.rowLength;
    const std::uint64_t pixelBytes = (std::min(m_header.bitsPerSample, 32u) + 7) / 8;
    const std::uint64_t bytes = pixels * pixelBytes;
    if (pixels == 0) {
        Say("there are no pixels");
    }
    if (m_header.bitsPerSample > 32 || pixels > Q32MaxPixelBytes / pixelBytes) {
        throw BadFile("is not q32 format");
    }
    const std::uint64_t present = std::min(bytes, Left());
    if (present < bytes) {
        findings.missingPixelBytes = bytes - present;
        Say("cut short: " + std::to_string(findings.missingPixelBytes) + " of " +
            std::to_string(bytes) + " pixel bytes are missing");
    }
    m_position += bytes;
}

void Examination::ExamineText(const char* name)
{
    std::fseek(m_stream, static_cast<long>(m_position), SEEK_SET);
    std::uint8_t prefix[4] = {};
    const std::uint64_t left = Left();
    if (std::fread(prefix, 1, sizeof prefix, m_stream) != sizeof prefix) {
        Say(std::string("the ") + name + " is missing");
        return;
    }
    const std::uint64_t length = prefix[0] | std::uint64_t{prefix[1]} << 8 |
                                 std::uint64_t{prefix[2]} << 16 | std::uint64_t{prefix[3]} << 24;
    if (length > left - sizeof prefix) {
        Say(std::string("the ") + name + " is cut short");
    }
    const std::uint64_t present = std::min<std::uint64_t>(length, left - sizeof prefix);
    if (present > Q32MaxTextBytes) {
        throw BadFile("is not q32 format");
    }
    for (std::uint64_t i = 0; i < present; ++i) {
        if (std::fgetc(m_stream) == 0) {
            Say(std::string("the ") + name + " holds a zero byte");
            break;
        }
    }
    m_position += sizeof prefix + length;
}

void Examination::ExamineEnd()
{
    if (Left() > 0) {
        Say(std::to_string(Left()) + " bytes follow the end");
    }
}

} // namespace
