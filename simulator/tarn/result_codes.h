// The results of the simulated library and their texts.
#pragma once

#include "device/tarn_abi.h"

#include <string>

namespace tarn {

inline constexpr std::uint32_t LibraryClosed = ResultError | 1;
inline constexpr std::uint32_t LibraryOpen = ResultError | 2;
inline constexpr std::uint32_t NoSuchDevice = ResultError | 3;
inline constexpr std::uint32_t NoSuchParameter = ResultError | 4;
inline constexpr std::uint32_t BadValue = ResultError | 5;
inline constexpr std::uint32_t ReadOnlyParameter = ResultError | 6;
inline constexpr std::uint32_t NoSensor = ResultError | 7;
inline constexpr std::uint32_t AlreadyEnabled = ResultError | 8;
inline constexpr std::uint32_t ReadingOut = ResultError | 9;
inline constexpr std::uint32_t NotArmed = ResultError | 10;
inline constexpr std::uint32_t StoreFull = ResultError | 11;
inline constexpr std::uint32_t NoSuchImage = ResultError | 12;
inline constexpr std::uint32_t NotStored = ResultError | 13;
inline constexpr std::uint32_t NullPointer = ResultError | 14;
inline constexpr std::uint32_t BatteryEmpty = ResultError | 15;
inline constexpr std::uint32_t StoreUnusable = ResultError | 16;
inline constexpr std::uint32_t InternalFailure = ResultError | 17;
inline constexpr std::uint32_t ReadOutLost = ResultError | 18;
inline constexpr std::uint32_t Unplugged = ResultWarning | 30;
inline constexpr std::uint32_t BatteryLow = ResultWarning | 31;
inline constexpr std::uint32_t PictureUnusable = ResultWarning | 32;
inline constexpr std::uint32_t RawFileNotWritten = ResultWarning | 33;
inline constexpr std::uint32_t TimedOut = ResultInformation | 40;
inline constexpr std::uint32_t GainCheckOff = ResultInformation | 41;

// The library's description of a result; one for every result.
std::string DescriptionOf(std::uint32_t result);

} // namespace tarn
