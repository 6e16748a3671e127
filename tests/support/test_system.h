// What tests ask of the operating system, and the language's library does not offer.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

// For this process and the libraries that it loads.
void SetEnvironment(const char* name, const std::string& value);

// Makes the file longer without writing to it, or shorter.
void ResizeFile(const std::string& path, std::uint64_t size);

// Renames the file to the other name, whose file it replaces, as soon as nobody is reading that.
void ReplaceFileBy(const std::string& newFile, const std::string& path);

// The function of this name in the library, which is loaded when it is not yet; null when there is
// none.
void* FunctionOf(const char* library, const char* name);

// The requests of the system that the program end in order, each made when its function is called.
std::vector<void (*)()> EndRequests();
