// Finds a key in a header text and decodes the value that follows it.
#include "storage/header_fields.h"

#include <algorithm>

namespace {

char DecodeEscape(char letter)
{
    switch (letter) {
    case 'n':
        return '\n';
    case 'r':
        return '\r';
    case 't':
        return '\t';
    default:
        return letter;
    }
}

} // namespace

bool GetHeaderValue(std::string_view text, std::string_view key, std::string_view separators,
                    std::string_view defaultValue, std::string& value)
{
    std::size_t keyPosition = 0;
    std::size_t valuePosition = 0;
    return FindKeyValue(text, key, separators, defaultValue, value, keyPosition, valuePosition);
}

bool FindKeyValue(std::string_view text, std::string_view key, std::string_view separators,
                  std::string_view defaultValue, std::string& value, std::size_t& keyPosition,
                  std::size_t& valuePosition)
{
    keyPosition = text.find(key, keyPosition);
    if (keyPosition == std::string_view::npos) {
        value = defaultValue;
        return false;
    }
    valuePosition = keyPosition + key.size();
    SkipBlanks(text, valuePosition);

    std::string terminators(separators);
    const bool isQuoted = valuePosition < text.size() && text[valuePosition] == '"';
    if (isQuoted) {
        terminators += '"';
        ++valuePosition;
    }
    const bool isFound =
        ExtractValue(text, valuePosition, terminators, defaultValue, value, true, true);
    if (isQuoted && valuePosition < text.size() && text[valuePosition] == '"') {
        ++valuePosition;
    }
    return isFound;
}

void SkipBlanks(std::string_view text, std::size_t& position)
{
    position = text.find_first_not_of(" \t", position);
}

bool ExtractValue(std::string_view text, std::size_t& position, std::string_view terminators,
                  std::string_view defaultValue, std::string& value, bool clearFirst,
                  bool useEscapes)
{
    if (text.empty()) {
        value = defaultValue;
        return false;
    }
    if (clearFirst) {
        value.clear();
    }
    std::string stops(terminators);
    if (useEscapes) {
        stops += '\\';
    }
    position = std::min(position, text.size());
    for (;;) {
        const std::size_t stop = std::min(text.find_first_of(stops, position), text.size());
        value += text.substr(position, stop - position);
        position = stop;
        if (!useEscapes || stop == text.size() || text[stop] != '\\') {
            return true;
        }
        // A backslash at the very end is its own letter.
        const std::size_t letter = std::min(stop + 1, text.size() - 1);
        value += DecodeEscape(text[letter]);
        position = letter + 1;
    }
}
