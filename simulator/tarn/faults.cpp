// Reads fault rules and decides when they apply.
#include "simulator/tarn/faults.h"

#include "device/tarn_abi.h"

#include <charconv>
#include <cmath>
#include <stdexcept>

namespace tarn {
namespace {

struct FlagWord
{
    std::string_view word;
    bool FaultRule::*flag;
};
constexpr FlagWord FlagWords[] = {
    {"null", &FaultRule::nullObject},      {"wrong-type", &FaultRule::wrongType},
    {"null-texts", &FaultRule::nullTexts}, {"no-header", &FaultRule::noHeader},
    {"no-user", &FaultRule::noUser},       {"empty-image", &FaultRule::emptyImage},
    {"no-entries", &FaultRule::noEntries}, {"never", &FaultRule::never},
    {"twice", &FaultRule::twice},          {"missing", &FaultRule::missing},
};

struct SecondsWord
{
    std::string_view word;
    double FaultRule::*seconds;
};
constexpr SecondsWord SecondsWords[] = {
    {"block", &FaultRule::blockSeconds},
    {"late", &FaultRule::lateSeconds},
};

struct TextKind
{
    std::string_view kind;
    std::string_view text;
};
constexpr TextKind TextKinds[] = {
    {"utf8", "bad \xC3\x28 \xFF\xFE utf8"},
    {"control", "control \x01\x07\x1B[31m\x7F text"},
    {"markup", "<b>bold</b> &amp; <img src=x> <a href=\"file:///\">link</a>"},
    {"bidi", "right\xE2\x80\xAEto left\xE2\x80\xAC"},
    {"format", "%1% %s %n %d {0} \\n"},
    {"path", "../../outside"},
};

struct CategoryWord
{
    std::string_view word;
    std::uint32_t category;
};
constexpr CategoryWord CategoryWords[] = {
    {"error", ResultError},
    {"warning", ResultWarning},
    {"information", ResultInformation},
};

bool ParseEffect(FaultRule& rule, std::string_view& text);

} // namespace

FaultRule ParseFaultRule(std::string_view text)
{
    FaultRule rule;
    std::string_view rest = text;
    std::string_view first = TakeWord(rest);
    if (first == "off" && rest.empty()) {
        return rule;
    }
    if (first == "next" || first == "every") {
        rule.when = first == "next" ? FaultRule::When::Next : FaultRule::When::Every;
        rule.count = ParseInteger(TakeWord(rest));
        if (rule.count == 0) {
            throw std::invalid_argument("takes a count of at least 1 after next or every");
        }
    } else {
        rule.when = FaultRule::When::Always;
        if (first != "always") {
            rest = text;
        }
    }
    bool effective = false;
    while (ParseEffect(rule, rest)) {
        effective = true;
    }
    if (!effective) {
        throw std::invalid_argument("takes off, or when (next N, every N, always) and what (error "
                                    "N, null, block S, ...) goes wrong");
    }
    return rule;
}

bool Applies(const FaultRule& rule, std::uint32_t& calls)
{
    switch (rule.when) {
    case FaultRule::When::Never:
        return false;
    case FaultRule::When::Next:
        if (calls >= rule.count) {
            return false;
        }
        ++calls;
        return true;
    case FaultRule::When::Every:
        calls = (calls + 1) % rule.count;
        return calls == 0;
    case FaultRule::When::Always:
        return true;
    }
    return false;
}

namespace {

// Returns false at the end of the text.
bool ParseEffect(FaultRule& rule, std::string_view& text)
{
    std::string_view rest = text;
    const std::string_view word = TakeWord(rest);
    if (word.empty()) {
        return false;
    }
    for (const FlagWord& candidate : FlagWords) {
        if (word == candidate.word) {
            rule.*candidate.flag = true;
            text = rest;
            return true;
        }
    }
    for (const SecondsWord& candidate : SecondsWords) {
        if (word == candidate.word) {
            rule.*candidate.seconds = ParseNumber(TakeWord(rest));
            text = rest;
            return true;
        }
    }
    rule.result = ParseResult(text);
    if (rule.result == 0) {
        throw std::invalid_argument("takes a result other than 0");
    }
    return true;
}

} // namespace

std::string HostileText(std::string_view kind)
{
    if (kind == "long") {
        return std::string(1 << 20, 'L');
    }
    for (const TextKind& candidate : TextKinds) {
        if (kind == candidate.kind) {
            return std::string(candidate.text);
        }
    }
    return {};
}

std::uint32_t ParseResult(std::string_view& text)
{
    const std::string_view word = TakeWord(text);
    for (const CategoryWord& candidate : CategoryWords) {
        if (word == candidate.word) {
            const std::uint32_t number = ParseInteger(TakeWord(text));
            if (number > 0xFFFF) {
                throw std::invalid_argument("takes a result number up to 65535");
            }
            return candidate.category | number;
        }
    }
    return ParseInteger(word);
}

std::string_view TakeWord(std::string_view& text)
{
    constexpr std::string_view Blanks = " \t,";
    const std::size_t begin = std::min(text.find_first_not_of(Blanks), text.size());
    text.remove_prefix(begin);
    const std::size_t end = std::min(text.find_first_of(Blanks), text.size());
    const std::string_view word = text.substr(0, end);
    text.remove_prefix(end);
    text.remove_prefix(std::min(text.find_first_not_of(Blanks), text.size()));
    return word;
}

std::uint32_t ParseInteger(std::string_view text)
{
    const bool hexadecimal = text.starts_with("0x");
    const std::string_view digits = hexadecimal ? text.substr(2) : text;
    std::uint32_t number = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number,
                                              hexadecimal ? 16 : 10);
    if (error != std::errc() || end != digits.data() + digits.size()) {
        throw std::invalid_argument("takes a whole number, not '" + std::string(text) + "'");
    }
    return number;
}

double ParseNumber(std::string_view text)
{
    double number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size() || !std::isfinite(number) ||
        number < 0) {
        throw std::invalid_argument("takes a number, not '" + std::string(text) + "'");
    }
    return number;
}

} // namespace tarn
