// The file of a saved log.
#pragma once

#include <string>

// Writes the text to a new file in "TmpLogs" in the program's folder, named after the time of day,
// and returns its path. Raises eFileAccessExcpt when that fails.
std::string SaveCallLog(const std::string& text);
