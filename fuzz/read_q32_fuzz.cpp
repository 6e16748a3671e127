// Any bytes at all as a Q32 file.
#include "fuzz_file.h"
#include "storage/q32_file.h"

#include <algorithm>
#include <cstring>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    // Blocks of many megabytes are allowed and only slow; beyond the limit nothing is allocated.
    constexpr std::uint64_t Slow = 1 << 16;
    std::array<std::uint8_t, sizeof(Q32FileHeader)> bytes = {};
    std::copy_n(data, std::min(size, bytes.size()), bytes.begin());
    const Q32FileHeader header = DecodeQ32Header(bytes);
    const std::uint64_t pixels = std::uint64_t{header.rows} * header.rowLength;
    if (pixels > Slow && pixels <= Q32MaxPixelBytes) {
        return 0;
    }
    const std::string& path = FuzzFile(data, size);
    try {
        const CLinkedPtr<CImage> image = ReadQ32File(path.c_str());
        const std::size_t offset = std::max<std::size_t>(header.dataOffset, bytes.size());
        const std::size_t held =
            offset < size ? std::min<std::size_t>(size - offset, image->m_dataSize) : 0;
        Require(held == 0 || std::memcmp(image->m_data, data + offset, held) == 0);
        Require(std::all_of(image->m_data + held, image->m_data + image->m_dataSize,
                            [](std::uint8_t byte) { return byte == 0; }));
        Require(image->m_headerText.size() + image->m_userId.size() <= size);
    } catch (const eQ32FileExcpt& error) {
        Require(error.GetCode() == OrdinaryFailure);
    }
    return 0;
}
