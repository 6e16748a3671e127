// The text report of the library's version and of every device's state.
#pragma once

#include "device/tarn_abi.h"

#include <string>

std::string LibraryReport();
std::string DeviceStatusText(const DeviceListEntry& entry);

// Puts the indent in front of every line; a text that begins with a line break gets none before it.
std::string IndentText(const std::string& text, const std::string& indent);
