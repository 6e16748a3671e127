// Replaces what would act in a text, and shortens what would take too long to be drawn.
#include "platform/shown_text.h"

#include <algorithm>

namespace {

constexpr std::size_t LongestTitle = 160;
constexpr std::size_t LongestEnd = 4096; // bytes, many more than a title keeps
constexpr std::size_t LongestLine = 2000;
constexpr std::size_t HugeText = 100'000; // its lines are a tenth as long
constexpr char16_t Replacement = 0xFFFD;
constexpr char16_t Ellipsis = 0x2026;

bool TurnsDirection(char16_t c)
{
    return c == 0x061C || c == 0x200E || c == 0x200F || (c >= 0x202A && c <= 0x202E) ||
           (c >= 0x2066 && c <= 0x2069);
}

char16_t ShownCharacter(char16_t c)
{
    if (c == u'\n' || c == u'\t') {
        return c;
    }
    if (c < 0x20) {
        return static_cast<char16_t>(0x2400 + c);
    }
    if (c == 0x7F) {
        return 0x2421;
    }
    return TurnsDirection(c) || (c >= 0x80 && c < 0xA0) ? Replacement : c;
}

} // namespace

std::u16string Shown(std::u16string_view text)
{
    std::u16string shown;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (!text.substr(i).starts_with(u"\r\n")) {
            shown += ShownCharacter(text[i]);
        }
    }
    return shown;
}

std::u16string ShownAsTitle(std::u16string_view text)
{
    std::u16string title = Shown(text);
    std::ranges::replace(title, u'\n', u' ');
    if (title.size() <= LongestTitle) {
        return title;
    }
    return title.substr(0, LongestTitle / 2) + Ellipsis +
           title.substr(title.size() - (LongestTitle / 2 - 1));
}

std::string EndsOf(std::string_view text)
{
    if (text.size() <= 2 * LongestEnd) {
        return std::string(text);
    }
    return std::string(text.substr(0, LongestEnd)).append(text.substr(text.size() - LongestEnd));
}

std::u16string WithShortLines(std::u16string_view text)
{
    const std::size_t longest = text.size() < HugeText ? LongestLine : LongestLine / 10;
    std::u16string broken;
    std::size_t length = 0;
    for (const char16_t c : text) {
        const bool isSecondOfPair = c >= 0xDC00 && c <= 0xDFFF;
        length = c == u'\n' ? 0 : length + 1;
        if (length > longest && !isSecondOfPair) {
            broken += u'\n';
            length = 1;
        }
        broken += c;
    }
    return broken;
}
