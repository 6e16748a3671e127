// What becomes of texts that are only shown: any characters may come, none of them may act.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// A longer text of a box scrolls.
inline constexpr std::size_t LongestLabel = 2000;

// Control characters are shown as their pictures, and marks that would turn the direction of
// writing as U+FFFD. Line ends and tabs stay; a line ends with "\n".
std::u16string Shown(std::u16string_view text);

// The same on one line, with the middle left out when it is over long.
std::u16string ShownAsTitle(std::u16string_view text);

// As much of a text as a title or a label can show, for their conversions: the two ends of one that
// is longer than some KB.
std::string EndsOf(std::string_view text);

// With breaks in long lines, which fields lay out as a whole: for one of a megabyte that takes
// minutes.
std::u16string WithShortLines(std::u16string_view text);
