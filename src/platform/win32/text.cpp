// Texts on their way between the program's UTF-8 and the system's UTF-16.
#include "platform/win32/text.h"

#include "platform/win32/native.h"

#include <algorithm>
#include <iterator>

namespace {

constexpr std::size_t LongestTitle = 160;
constexpr wchar_t Replacement = 0xFFFD;

wchar_t Shown(wchar_t c);

} // namespace

std::wstring Wide(std::string_view text)
{
    const int size = static_cast<int>(text.size());
    const int length = win::MultiByteToWideChar(CP_UTF8, 0, text.data(), size, nullptr, 0);
    std::wstring wide(static_cast<std::size_t>(std::max(length, 0)), L'\0');
    win::MultiByteToWideChar(CP_UTF8, 0, text.data(), size, wide.data(), length);
    return wide;
}

std::string Narrow(std::wstring_view text)
{
    const int size = static_cast<int>(text.size());
    const int length =
        win::WideCharToMultiByte(CP_UTF8, 0, text.data(), size, nullptr, 0, nullptr, nullptr);
    std::string narrow(static_cast<std::size_t>(std::max(length, 0)), '\0');
    win::WideCharToMultiByte(CP_UTF8, 0, text.data(), size, narrow.data(), length, nullptr,
                             nullptr);
    return narrow;
}

std::wstring ShownText(std::string_view text)
{
    std::wstring shown;
    const std::wstring wide = Wide(text);
    for (std::size_t i = 0; i < wide.size(); ++i) {
        if (wide[i] != L'\r' || i + 1 == wide.size() || wide[i + 1] != L'\n') {
            shown += Shown(wide[i]);
        }
    }
    return shown;
}

std::wstring ShownTitle(std::string_view text)
{
    std::wstring title = ShownText(text);
    std::replace(title.begin(), title.end(), L'\n', L' ');
    if (title.size() <= LongestTitle) {
        return title;
    }
    return title.substr(0, LongestTitle / 2) + wchar_t{0x2026} +
           title.substr(title.size() - (LongestTitle / 2 - 1));
}

std::string SystemMessage(unsigned long error)
{
    wchar_t text[512];
    std::size_t length =
        win::FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
                            error, 0, text, static_cast<win::DWORD>(std::size(text)), nullptr);
    while (length > 0 && (text[length - 1] == L'\n' || text[length - 1] == L'\r')) {
        --length;
    }
    return length > 0 ? Narrow({text, length}) : "error " + std::to_string(error);
}

namespace {

bool TurnsDirection(wchar_t c)
{
    return c == 0x061C || c == 0x200E || c == 0x200F || (c >= 0x202A && c <= 0x202E) ||
           (c >= 0x2066 && c <= 0x2069);
}

wchar_t Shown(wchar_t c)
{
    if (c == L'\n' || c == L'\t') {
        return c;
    }
    if (c < 0x20) {
        return static_cast<wchar_t>(0x2400 + c);
    }
    if (c == 0x7F) {
        return wchar_t{0x2421};
    }
    return TurnsDirection(c) || (c >= 0x80 && c < 0xA0) ? Replacement : c;
}

} // namespace
