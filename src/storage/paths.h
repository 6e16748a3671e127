// Names and folders of image files.
#pragma once

#include "platform/module.h"

#include <cstdint>
#include <string>

// Backslash: folders are separated by "\", a root is a drive "C:" or a share "\\server\share".
// Slash: folders are separated by "/", there are no roots, and ":" is an ordinary character.
enum class PathStyle
{
    Backslash,
    Slash
};

#ifdef _WIN32
inline constexpr PathStyle NativePathStyle = PathStyle::Backslash;
#else
inline constexpr PathStyle NativePathStyle = PathStyle::Slash;
#endif

// Replaces each of the characters " ,;:()=?%&@" by "_"; separators of folders stay.
std::string SanitizeFileName(const std::string& text);

// The relative path seen from base. A path with a root of its own is the result itself; one that
// starts with a separator keeps only base's root.
std::string JoinPath(const std::string& base, const std::string& relative,
                     PathStyle style = NativePathStyle);

// "C:" or "\\server\share", without the separator after it; empty when there is none.
std::string PathRoot(const std::string& path, PathStyle style = NativePathStyle);

// Creates the missing folders of the path. The component before the first separator, a share, and
// the text after the last separator (a file name) are not created. True when all exist afterwards;
// an existing file counts as present. False also for a path without a separator that ends a folder.
bool CreateFolderPath(const std::string& path, PathStyle style = NativePathStyle);

// The full path of a loaded module (null: the program); empty on failure or beyond 1000 characters.
std::string ModuleFileName(HMODULE module);
// That path up to and including its last separator; empty when there is none.
std::string ProgramFolder(HMODULE module, PathStyle style = NativePathStyle);

// "TmpImages" in the program's folder, ending with a separator.
std::string AutoSaveFolder(const std::string& programFolder, PathStyle style = NativePathStyle);
// folder + sanitized name + "_series_image.Q32". The counters are written as signed numbers.
std::string AutoSavePath(const std::string& folder, const std::string& programName,
                         std::uint32_t series, std::uint32_t image);

// Raises eFileAccessExcpt "Invalid path on %1%." when the path, which starts with the folder and
// its final separator, would leave it: by "..", or by a zero byte that cuts the name short. Links
// are the matter of who opens the file.
void RequireInside(const std::string& folder, const std::string& path,
                   PathStyle style = NativePathStyle);
