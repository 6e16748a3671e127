// Texts on their way between the program's UTF-8 and the system's UTF-16.
#pragma once

#include <string>
#include <string_view>

// UTF-8 to UTF-16; bytes that are not UTF-8 become U+FFFD.
std::wstring Wide(std::string_view text);
// UTF-16 to UTF-8; a half of a pair becomes U+FFFD.
std::string Narrow(std::wstring_view text);

// A text that is only shown: control characters stand as their pictures and marks that would turn
// the direction of writing as U+FFFD. Line ends and tabs stay; a line ends with "\n".
std::wstring ShownText(std::string_view text);

// The same for a title: one line, with the middle left out when it is over long.
std::wstring ShownTitle(std::string_view text);

// What the system calls one of its errors.
std::string SystemMessage(unsigned long error);
