// Fault rules: which calls of the library fail, and how.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace tarn {

// One rule, read from a text such as "next 2 error 5", "every 3 null" or "always block 3".
struct FaultRule
{
    enum class When
    {
        Never,
        Next,  // the next count calls
        Every, // every count-th call
        Always
    };

    When when = When::Never;
    std::uint32_t count = 0;
    std::uint32_t result = 0; // returned instead of doing the work, when not 0
    double blockSeconds = 0;  // the call takes this long, before anything else happens
    double lateSeconds = 0;   // the event comes this much later
    bool nullObject = false;  // result 0 and no object
    bool wrongType = false;   // the value carries another type in its tag
    bool nullTexts = false;   // every text pointer of the object is null
    bool noHeader = false;    // the image's header text is null
    bool noUser = false;      // the image's user id is null
    bool emptyImage = false;  // the image has no width, no height and no pixels
    bool noEntries = false;   // the device list keeps its count and has no entries
    bool never = false;       // the event does not come
    bool twice = false;       // the event comes twice
    bool missing = false;     // the event names an image that does not exist

    bool operator==(const FaultRule&) const = default;
};

// Reads a rule; "off" is the rule that never applies. Throws std::invalid_argument with what the
// syntax is.
FaultRule ParseFaultRule(std::string_view text);

// Whether the rule applies to the next call. calls: the rule's counter, 0 at first; updated.
bool Applies(const FaultRule& rule, std::uint32_t& calls);

// A text that a careless program would interpret, cut or fail on: long (1 MB), utf8 (broken),
// control, markup, bidi, format, path. Empty for an unknown kind.
std::string HostileText(std::string_view kind);

// Reads a result, "error 5", "warning 5", "information 5" or a number (0x400005), and removes it
// from the front of the text. Throws std::invalid_argument.
std::uint32_t ParseResult(std::string_view& text);

// Removes and returns the first word of the text; empty at the end.
std::string_view TakeWord(std::string_view& text);

// Whole texts as numbers. Throw std::invalid_argument.
std::uint32_t ParseInteger(std::string_view text); // decimal, or hexadecimal after 0x
double ParseNumber(std::string_view text);         // finite, not negative

} // namespace tarn
