// Texts on their way between the program's UTF-8 and the system's UTF-16.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// UTF-8 to UTF-16; bytes that are not UTF-8 become U+FFFD.
std::wstring Wide(std::string_view text);
// UTF-16 to UTF-8; a half of a pair becomes U+FFFD.
std::string Narrow(std::wstring_view text);

// Of a path, in characters with the zero.
constexpr std::size_t LongestPath = 32'768;

// What the system calls one of its errors.
std::string SystemMessage(unsigned long error);
