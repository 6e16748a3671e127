// Keeps calls and notes their arguments.
#include "device/call_log.h"

#include <algorithm>
#include <cstdio>

namespace {

template <typename... Values>
void PutText(LibraryCall& call, const char* format, Values... values)
{
    call.hasText = true;
    call.numbersBeforeText = call.numberCount;
    std::snprintf(call.text.data(), call.text.size(), format, values...);
}

void AppendWord(std::string& text, const char* format, auto value)
{
    char word[64];
    std::snprintf(word, sizeof word, format, value);
    if (!text.empty()) {
        text += ' ';
    }
    text += word;
}

// Addresses and handles are large on most systems; parameters are not.
void AppendNumber(std::string& text, std::uintptr_t number)
{
    constexpr std::uintptr_t LargestDecimal = 0xFFFFFFFF;
    AppendWord(text, number > LargestDecimal ? "0x%llX" : "%llu",
               static_cast<unsigned long long>(number));
}

} // namespace

std::string ArgumentsText(const LibraryCall& call)
{
    std::string text;
    for (std::size_t i = 0; i <= call.numberCount; ++i) {
        if (call.hasText && call.numbersBeforeText == i) {
            AppendWord(text, "\"%s\"", call.text.data());
        }
        if (i < call.numberCount) {
            AppendNumber(text, call.numbers[i]);
        }
    }
    return text;
}

LibraryCall& CallLog::Begin(Export which)
{
    LibraryCall& call = m_calls[static_cast<std::size_t>(m_count++ % MostCallsLogged)];
    call.which = which;
    call.numberCount = 0;
    call.hasText = false;
    call.result = 0;
    call.end = 0;
    return call;
}

std::vector<LibraryCall> CallLog::Since(std::uint64_t first) const
{
    const std::uint64_t oldest = m_count - std::min<std::uint64_t>(m_count, MostCallsLogged);
    std::vector<LibraryCall> calls;
    for (std::uint64_t i = std::max(first, oldest); i < m_count; ++i) {
        calls.push_back(m_calls[static_cast<std::size_t>(i % MostCallsLogged)]);
    }
    return calls;
}

void NoteArgument(LibraryCall& call, std::uintptr_t number)
{
    if (call.numberCount < call.numbers.size()) {
        call.numbers[call.numberCount++] = number;
    }
}

void NoteArgument(LibraryCall& call, const char* text)
{
    PutText(call, "%s", text != nullptr ? text : "null");
}

void NoteArgument(LibraryCall& call, const TarnValue* value)
{
    if (TypeOf(*value) == TarnTypeText) {
        NoteArgument(call, reinterpret_cast<const char*>(value->value));
    } else if (TypeOf(*value) == TarnTypeBlock) {
        PutText(call, "block of %llu bytes", static_cast<unsigned long long>(value->value));
    } else {
        NoteArgument(call, value->value);
    }
}

void NoteArgument(LibraryCall& call, const RECT* area)
{
    PutText(call, "%d,%d,%d,%d", static_cast<int>(area->left), static_cast<int>(area->top),
            static_cast<int>(area->right), static_cast<int>(area->bottom));
}
