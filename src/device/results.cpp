// Category words, icons and the text of a result's message.
#include "device/results.h"

#include "device/libraries.h"
#include "platform/boxes.h"

namespace {

constexpr std::uint32_t DescriptionCapacity = 2000;

struct Category
{
    std::uint32_t code;
    const char* prefix;
    UINT boxStyle;
};

constexpr Category Categories[] = {
    {ResultWarning, "Warning number: ", MB_TOPMOST | MB_ICONEXCLAMATION},
    {ResultError, "Error number: ", MB_TOPMOST | MB_ICONHAND},
    {ResultInformation, "Info number: ", MB_TOPMOST | MB_ICONASTERISK},
};
constexpr Category NoCategory = {0, "", MB_TOPMOST};

std::uint32_t DescribeAndShow(std::uint32_t result, const std::string& remark, std::string& text,
                              HWND owner, const std::string& caption);
// Returns the code that TarnDescribeResult returned.
std::uint32_t Describe(std::uint32_t result, std::uint32_t capacity, std::string& description);
const Category& CategoryOf(std::uint32_t code);

} // namespace

std::uint32_t ReportResult(std::uint32_t result, HWND owner, const std::string& caption)
{
    std::string text;
    return DescribeResult(result, text, owner, caption);
}

std::uint32_t DescribeResult(std::uint32_t result, std::string& text, HWND owner,
                             const std::string& caption)
{
    return DescribeAndShow(result, "", text, owner, caption);
}

std::uint32_t ReportLastResult(std::uint32_t result, std::uint32_t earlier, HWND owner,
                               const std::string& caption)
{
    std::string text;
    return DescribeAndShow(result, "\n\nEarlier results not shown: " + std::to_string(earlier),
                           text, owner, caption);
}

std::string ResultDescription(std::uint32_t result)
{
    std::string description;
    Describe(result, DescriptionCapacity, description);
    return description;
}

namespace {

std::uint32_t DescribeAndShow(std::uint32_t result, const std::string& remark, std::string& text,
                              HWND owner, const std::string& caption)
{
    if (result == 0) {
        return 0;
    }
    const bool shown = owner != nullptr || !caption.empty();
    std::string description;
    const std::uint32_t code = Describe(result, shown ? DescriptionCapacity : 0, description);
    const Category& category = CategoryOf(code);
    text = category.prefix + std::to_string(code & ResultNumberMask) + '\n' + description + remark;
    if (shown) {
        MessageBoxA(owner, text.c_str(), caption.c_str(), MB_OK | category.boxStyle);
    }
    return code;
}

// A library may fill the whole buffer even when the capacity is 0; the extra byte terminates such a
// text as well.
std::uint32_t Describe(std::uint32_t result, std::uint32_t capacity, std::string& description)
{
    char buffer[DescriptionCapacity + 1] = {};
    const std::uint32_t code = TarnDescribeResult(result, buffer, capacity);
    description = buffer;
    return code;
}

const Category& CategoryOf(std::uint32_t code)
{
    for (const Category& category : Categories) {
        if (category.code == (code & ResultCategoryMask)) {
            return category;
        }
    }
    return NoCategory;
}

} // namespace
