// Typed reads and writes of the capture library's numbered parameters.
//
// A read returns false when the library gave no object or one of another type; the out value is
// then untouched. A write returns the library's result.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

// The numbers of what the main window reads and writes; each dialog and the report name their own.
namespace LibraryParameter {
inline constexpr std::uint32_t StartUpBlock = 16; // block of 12 bytes, written once after opening
inline constexpr std::uint32_t FilterChain = 17;  // text, "8 bit read"; empty: off
} // namespace LibraryParameter
namespace DeviceParameter {
inline constexpr std::uint32_t EnableState = 14;    // integer, polled for Enable
inline constexpr std::uint32_t AbortState = 15;     // integer, polled for Abort
inline constexpr std::uint32_t TestImageMode = 80;  // flag, device 0
inline constexpr std::uint32_t RawFilesFolder = 81; // text, device 0; empty: no raw files
inline constexpr std::uint32_t GainCheck = 82;      // flag, device 0: the check is on
} // namespace DeviceParameter

// Texts are appended to.
bool GetLibraryText(std::uint32_t parameter, std::string& text);
std::uint32_t SetLibraryText(std::uint32_t parameter, const std::string& text);
std::uint32_t SetLibraryBlock(std::uint32_t parameter, const void* bytes, std::size_t size);

bool GetDeviceText(std::uint32_t device, std::uint32_t parameter, std::string& text);
std::uint32_t SetDeviceText(std::uint32_t device, std::uint32_t parameter, const std::string& text);
bool GetDeviceInt(std::uint32_t device, std::uint32_t parameter, std::uint32_t& value);
std::uint32_t SetDeviceInt(std::uint32_t device, std::uint32_t parameter, std::uint32_t value);
bool GetDeviceFlag(std::uint32_t device, std::uint32_t parameter, std::int32_t& value);
std::uint32_t SetDeviceFlag(std::uint32_t device, std::uint32_t parameter, std::int32_t value);
// Only a block of exactly size bytes is copied.
bool GetDeviceBlock(std::uint32_t device, std::uint32_t parameter, void* bytes, std::size_t size);
std::uint32_t SetDeviceBlock(std::uint32_t device, std::uint32_t parameter, const void* bytes,
                             std::size_t size);

// True when no device is at work: every state is 1 (stand by), 100 or 101 (faults). No list counts
// as idle.
bool AllDevicesIdle();
