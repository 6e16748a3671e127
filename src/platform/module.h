// Loading a shared library and finding its exports by number.
#pragma once

#include "platform/files.h"

#include <string>

// Loads the library of this name ("Tarn": libTarn.so here, Tarn.dll on Windows), looked for beside
// the program first, then by the system's loader. Null on failure, with the file's name and the
// loader's reason in LoadFailure.
HMODULE LoadLibraryA(const char* name);
BOOL FreeLibrary(HMODULE module);

// The export of this number (the symbol Tarn_<number> here, the ordinal on Windows); null when
// there is none, with the export and the file named in LoadFailure.
void* GetProcAddress(HMODULE module, unsigned number);

// Why this thread's last LoadLibraryA or GetProcAddress failed, as a sentence for the operator.
std::string LoadFailure();
