// Typed reads and writes of the capture library's numbered parameters.
//
// A read returns false when the library gave no object or one of another type; the out value is
// then untouched. A write returns the library's result.
#pragma once

#include "device/tarn_abi.h"

#include <cstddef>
#include <cstdint>
#include <string>

// A text read is appended to the string.
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

// True when every device is in stand by or shows a fault. No list counts as idle.
bool AllDevicesIdle();
