// Any template and argument: up to the first line feed the template, then the argument. Compared
// with replacing in the text itself, step by step.
#include "errors/message.h"
#include "fuzz_file.h"

namespace {
std::string FormatInPlace(std::string text, const std::string& argument)
{
    std::size_t scan = 0;
    while (scan < text.size()) {
        const std::size_t opening = text.find('%', scan);
        if (opening == std::string::npos) {
            break;
        }
        if (opening != 0 && text[opening - 1] == '%') {
            scan = opening + 1;
            continue;
        }
        const std::size_t closing = text.find('%', opening + 1);
        if (closing == std::string::npos) {
            break;
        }
        const std::size_t length = closing + 1 - opening;
        const bool isArgument = text.compare(opening, length, "%1%") == 0;
        if (isArgument) {
            text.replace(opening, length, argument);
        }
        scan = isArgument ? opening + argument.size() : closing + 1;
    }
    return text;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string input(reinterpret_cast<const char*>(data), size);
    const std::size_t split = std::min(input.find('\n'), size);
    const std::string text = input.substr(0, split);
    const std::string argument = input.substr(std::min(split + 1, size));
    const MsgWithArgs message(text, argument);
    Require(message.Format() == FormatInPlace(text, argument) &&
            MsgWithArgs(text).Format() == text);
    return 0;
}
