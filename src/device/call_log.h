// The log of the last calls of the two libraries. It is always on: when something goes wrong, the
// calls that led there are still known.
#pragma once

#include "device/tarn_abi.h"

#include <array>
#include <concepts>
#include <cstdint>
#include <string>
#include <vector>

// One call. Pointers are numbers here: what they led to may be gone.
struct LibraryCall
{
    Export which = {};
    std::uint8_t numberCount = 0;
    bool hasText = false;
    std::uint8_t numbersBeforeText = 0;
    std::uint32_t result = 0;        // 0 for a call that returns none
    std::int64_t start = 0, end = 0; // ticks of the performance counter; end is 0 while it runs
    std::array<std::uintptr_t, 4> numbers = {}; // the arguments, less texts and places of results
    std::array<char, 48> text = {};             // the text argument, cut; terminated
};

inline constexpr std::uint32_t MostCallsLogged = 1000;

// Its arguments in their order, texts in quotes: 0 "My ID" 0.
std::string ArgumentsText(const LibraryCall& call);

// Belongs to the one thread that calls the libraries.
class CallLog
{
public:
    // A new call, with its arguments, times and result to be noted in place: the log is on the way
    // of every call. Calls may begin inside it.
    LibraryCall& Begin(Export which);
    void CountObjects(int change) { m_objects += change; }

    std::uint64_t Count() const { return m_count; } // of all calls, also those no longer logged
    std::int64_t Objects() const { return m_objects; }
    // Oldest first: the calls first .. Count() - 1 that are still logged, numbered from 0.
    std::vector<LibraryCall> Since(std::uint64_t first) const;

private:
    std::array<LibraryCall, MostCallsLogged> m_calls; // call n stands at n % MostCallsLogged
    std::uint64_t m_count = 0;
    std::int64_t m_objects = 0;
};

// Notes an argument of a call. Places where the libraries put results are no arguments.
void NoteArgument(LibraryCall& call, std::uintptr_t number);
void NoteArgument(LibraryCall& call, const char* text); // may be null
void NoteArgument(LibraryCall& call, const TarnValue* value);
void NoteArgument(LibraryCall& call, const RECT* area);
inline void NoteArgument(LibraryCall& call, const void* handle)
{
    NoteArgument(call, reinterpret_cast<std::uintptr_t>(handle));
}
template <typename Result>
void NoteArgument(LibraryCall&, Result**)
{
}
template <std::unsigned_integral Number>
void NoteArgument(LibraryCall&, Number*)
{
}
inline void NoteArgument(LibraryCall&, char*) {}
