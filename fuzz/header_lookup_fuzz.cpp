// Any text as a header, any key: up to the first line feed the key, then the text.
#include "fuzz_file.h"
#include "storage/header_fields.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    const std::size_t split = std::min(input.find('\n'), size);
    const std::string_view key = input.substr(0, split);
    const std::string_view text = input.substr(std::min(split + 1, size));

    std::string value;
    std::size_t keyPosition = 0, end = 0;
    while (FindKeyValue(text, key, HeaderSeparator, "none", value, keyPosition, end)) {
        Require(text.substr(keyPosition, key.size()) == key && end <= text.size());
        Require(keyPosition + key.size() + value.size() <= text.size());
        keyPosition += std::max<std::size_t>(key.size(), 1);
    }
    Require(value == "none");
    const bool isFound = GetHeaderValue(text, key, HeaderSeparator, "", value);
    Require(isFound == (!text.empty() && text.find(key) != std::string_view::npos));
    return 0;
}
