// The inspector's numbers as texts: for its controls, the clipboard and the saved log.
#pragma once

#include "device/call_log.h"
#include "inspector/inspection.h"

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

// "1300 x 1700, 12 bits"; empty without an image.
std::string SizeText(const Inspection& inspection);
// The raw value: "x 10, y 20: 1234".
std::string PointText(std::uint32_t x, std::uint32_t y, std::uint32_t value);
// "0.125 % at 0, 3 % at 4095"
std::string ClippedText(const Inspection& inspection);
// "120 points from 10, 20 to 129, 20: 12.5 to 2100"; empty without a profile.
std::string ProfileText(const Inspection& inspection);
// "12.345"; at most as many digits after the point as asked for.
std::string NumberText(double value, int digits = 3);

// The columns of the table of regions.
inline constexpr std::array<const char*, 10> RegionColumns = {
    "Left", "Top", "Width", "Height", "Mean", "SD (n - 1)", "SNR", "Median", "Minimum", "Maximum"};
using RegionTexts = std::array<std::string, RegionColumns.size()>;
RegionTexts TextsOf(const PixelRect& rect, const Statistics& statistics);
// Of the whole image; empty texts without one.
RegionTexts TextsOfWhole(const Inspection& inspection);

// The lines of the difference from the reference; empty texts while there is none.
inline constexpr std::array<const char*, 6> DifferenceLines = {
    "Mean difference",    "SD of difference",   "Noise of one",
    "Minimum difference", "Maximum difference", "Unequal pixels"};
using DifferenceTexts = std::array<std::string, DifferenceLines.size()>;
DifferenceTexts TextsOf(const std::optional<Difference>& difference);

// All numbers as lines of names and values with tabs between them; the points of the profile come
// last.
std::string TableOf(const Inspection& inspection);

inline constexpr double SlowCall = 0.05; // seconds

// What a result means, in the library's words.
using ResultText = std::function<std::string(std::uint32_t result)>;

// "10:20:30.123", the call, its arguments, the result (hexadecimal unless 0) and its text, the
// duration in milliseconds, and "slow" or "running" or nothing.
inline constexpr std::array<const char*, 7> CallColumns = {
    "Time", "Call", "Arguments", "Result", "Text", "Milliseconds", "Mark"};
using CallTexts = std::array<std::string, CallColumns.size()>;
CallTexts TextsOf(const LibraryCall& call, const ResultText& resultText);

// The columns' names and a line a call, with tabs.
std::string TableOf(const std::vector<LibraryCall>& calls, const ResultText& resultText);

bool IsSlow(const LibraryCall& call);
