// Modules: the program and the shared libraries it loads.
#pragma once

#include "platform/types.h"

#include <string>

using HMODULE = struct HMODULE__*;

// Loads the library of this name ("Tarn": libTarn.so here, Tarn.dll on Windows), looked for beside
// the program first, then in the system's folders for it, then by the system's loader. The first
// place that has the file decides, even when it cannot be loaded. Null on failure, with the file's
// name, the loader's reason and the places that were searched in LoadFailure.
HMODULE LoadModule(const char* name);

// The export of this number (the symbol Tarn_<number> here, the ordinal on Windows); null when
// there is none, with the export and the file named in LoadFailure.
void* FindExport(HMODULE module, unsigned number);

// Why this thread's last LoadModule or FindExport failed, as a sentence for the operator.
std::string LoadFailure();

// The full path of a loaded module (null: the program) into a buffer of size bytes, terminated. A
// program or library that was reached through a link has the link's path. Returns the length
// without the zero; 0 on failure and when the buffer is too small.
DWORD GetModuleFileNameA(HMODULE module, char* path, DWORD size);
