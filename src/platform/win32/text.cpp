// Texts on their way between the program's UTF-8 and the system's UTF-16.
#include "platform/win32/text.h"

#include "platform/win32/native.h"

#include <algorithm>
#include <iterator>

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
