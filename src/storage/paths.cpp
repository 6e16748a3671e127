// Builds names of image files and creates their folders.
#include "storage/paths.h"

#include "platform/files.h"
#include "storage/file_access.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace {

constexpr std::string_view ReplacedCharacters = " ,;:()=?%&@";
constexpr std::string_view AutoSaveFolderName = "TmpImages";
constexpr std::size_t ModuleNameSize = 1000;

char Separator(PathStyle style);
bool HasShare(std::string_view path, PathStyle style);
bool HasDrive(std::string_view path, PathStyle style);
std::string WithFinalSeparator(std::string path, PathStyle style);
std::string WithSingleSeparators(std::string_view path, PathStyle style);
bool CreateMissingFolders(const std::string& path, PathStyle style);
bool ExistsEntry(const std::string& path);
bool StaysBelow(std::string_view relative, PathStyle style);

} // namespace

std::string SanitizeFileName(const std::string& text)
{
    std::string name = text;
    for (char& character : name) {
        if (ReplacedCharacters.find(character) != std::string_view::npos) {
            character = '_';
        }
    }
    return name;
}

std::string JoinPath(const std::string& base, const std::string& relative, PathStyle style)
{
    if (HasShare(relative, style) || HasDrive(relative, style)) {
        return relative;
    }
    const std::string folder = base.empty() ? base : WithFinalSeparator(base, style);
    return (relative.starts_with(Separator(style)) ? PathRoot(folder, style) : folder) + relative;
}

std::string PathRoot(const std::string& path, PathStyle style)
{
    if (HasShare(path, style)) {
        const std::size_t server = path.find(Separator(style), 2);
        const std::size_t share =
            server == std::string::npos ? server : path.find(Separator(style), server + 1);
        return share == std::string::npos ? "" : path.substr(0, share);
    }
    return HasDrive(path, style) ? path.substr(0, 2) : "";
}

bool CreateFolderPath(const std::string& path, PathStyle style)
{
    try {
        return CreateMissingFolders(WithSingleSeparators(path, style), style);
    } catch (...) {
        return false;
    }
}

std::string ModuleFileName(HMODULE module)
{
    std::array<char, ModuleNameSize> name = {};
    const DWORD length = GetModuleFileNameA(module, name.data(), static_cast<DWORD>(name.size()));
    return std::string(name.data(), length);
}

std::string ProgramFolder(HMODULE module, PathStyle style)
{
    const std::string file = ModuleFileName(module);
    return file.substr(0, file.rfind(Separator(style)) + 1);
}

std::string AutoSaveFolder(const std::string& programFolder, PathStyle style)
{
    return WithFinalSeparator(JoinPath(programFolder, std::string(AutoSaveFolderName), style),
                              style);
}

std::string AutoSavePath(const std::string& folder, const std::string& programName,
                         std::uint32_t series, std::uint32_t image)
{
    return folder + SanitizeFileName(programName) + '_' +
           std::to_string(static_cast<std::int32_t>(series)) + '_' +
           std::to_string(static_cast<std::int32_t>(image)) + ".Q32";
}

void RequireInside(const std::string& folder, const std::string& path, PathStyle style)
{
    const bool isInside = path.starts_with(folder) && path.find('\0') == std::string::npos &&
                          StaysBelow(std::string_view(path).substr(folder.size()), style);
    if (!isInside) {
        throw eFileAccessExcpt(OrdinaryFailure, FileAccessModule, InvalidPathText, path);
    }
}

namespace {

char Separator(PathStyle style)
{
    return style == PathStyle::Backslash ? '\\' : '/';
}

bool HasShare(std::string_view path, PathStyle style)
{
    return style == PathStyle::Backslash && path.size() > 2 && path.starts_with("\\\\");
}

bool HasDrive(std::string_view path, PathStyle style)
{
    return style == PathStyle::Backslash && path.size() > 2 && path[1] == ':';
}

std::string WithFinalSeparator(std::string path, PathStyle style)
{
    if (!path.ends_with(Separator(style))) {
        path += Separator(style);
    }
    return path;
}

// Repeated separators count as one, but for the two that start a share.
std::string WithSingleSeparators(std::string_view path, PathStyle style)
{
    std::string single;
    for (const char character : path) {
        const bool isRepeated = character == Separator(style) && single.ends_with(character);
        const bool startsShare = style == PathStyle::Backslash && single.size() == 1;
        if (!isRepeated || startsShare) {
            single += character;
        }
    }
    return single;
}

//   C:\a\b\file      \\server\share\a\b\file      a\b\file      /a/b/file
//     ^pos                         ^pos            ^pos         ^pos: the folders end after it
// Behind the prefix \\?\, too, where UNC\ stands before a server.
bool CreateMissingFolders(const std::string& path, PathStyle style)
{
    const char separator = Separator(style);
    const bool isShare = style == PathStyle::Backslash && path.starts_with("\\\\");
    constexpr std::string_view SharePrefix = "\\\\?\\UNC\\";
    std::size_t pos = path.find(separator, path.starts_with(SharePrefix) ? SharePrefix.size()
                                           : isShare                     ? 2
                                                                         : 0);
    if (isShare && pos != std::string::npos) {
        pos = path.find(separator, pos + 1);
    }
    if (pos == std::string::npos) {
        return false;
    }
    while ((pos = path.find(separator, pos + 1)) != std::string::npos) {
        const std::string folder = path.substr(0, pos);
        if (ExistsEntry(folder)) {
            continue;
        }
        // Files in it are no safer than its own entry. When it cannot be created, another copy of
        // the program may have been faster.
        const bool isMade = CreateDirectoryA(folder.c_str(), nullptr) != FALSE;
        if (isMade ? !SyncFolderOf(folder.c_str()) : !ExistsEntry(folder)) {
            return false;
        }
    }
    return true;
}

bool ExistsEntry(const std::string& path)
{
    WIN32_FIND_DATAA found;
    const HANDLE search = FindFirstFileA(path.c_str(), &found);
    if (search == INVALID_HANDLE_VALUE) {
        return false;
    }
    FindClose(search);
    return true;
}

// Does a path that starts in a folder never climb above it? In the backslash style both slashes
// separate, as they do for the system.
bool StaysBelow(std::string_view relative, PathStyle style)
{
    const std::string_view separators = style == PathStyle::Backslash ? "\\/" : "/";
    int depth = 0;
    while (depth >= 0 && !relative.empty()) {
        const std::size_t end = std::min(relative.find_first_of(separators), relative.size());
        const std::string_view name = relative.substr(0, end);
        if (name == "..") {
            --depth;
        } else if (!name.empty() && name != ".") {
            ++depth;
        }
        relative.remove_prefix(std::min(end + 1, relative.size()));
    }
    return depth > 0;
}

} // namespace
