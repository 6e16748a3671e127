// Moves what has the name aside and writes a new file in its place.
#include "storage/image_saving.h"

#include "platform/files.h"
#include "storage/file_access.h"
#include "storage/paths.h"
#include "storage/q32_file.h"

#include <algorithm>

namespace {

constexpr char CannotMoveText[] = "File %1% exists and cannot be moved aside. ";

constexpr unsigned FirstCopy = 2;
constexpr unsigned LastCopy = 100'000; // more files of one name are somebody's error
constexpr int MaxAttempts = 100;       // to be faster than a program that wants the same name

void RequireQ32(const CImage& image, const std::string& path);
void OpenNewFile(CFileHolder& file, const OpenFolder& folder, const std::string& name,
                 const std::string& path);
void MoveAside(const OpenFolder& folder, const std::string& name, const std::string& path);
std::string CopyName(const std::string& name, unsigned number);

} // namespace

bool SaveImage(const std::string& path, CLinkedPtr<CImage> image)
{
    return image && WriteQ32File(path.c_str(), *image);
}

void SaveNewImage(const std::string& folder, const std::string& path, const CImage& image)
{
    RequireQ32(image, path);
    RequireInside(folder, path);
    const OpenFolder open(folder.c_str());
    if (!open.IsOpen()) {
        RaiseFileAccess(GetLastError(), path);
    }
    const std::string name = path.substr(folder.size());
    CFileHolder file;
    OpenNewFile(file, open, name, path);
    WriteQ32Stream(file, path.c_str(), image);
    if (!open.SyncFolderOf(name.c_str())) {
        RaiseFileAccess(GetLastError(), path);
    }
}

namespace {

void RequireQ32(const CImage& image, const std::string& path)
{
    const std::string reason = WhyNotQ32(image);
    if (!reason.empty()) {
        throw eQ32FileExcpt(OrdinaryFailure, Q32FileModule,
                            "File %1% is not written: the q32 format cannot hold the image, for " +
                                reason + '.',
                            path);
    }
}

// Created before anything is moved: another program may take the name as soon as it is free.
void OpenNewFile(CFileHolder& file, const OpenFolder& folder, const std::string& name,
                 const std::string& path)
{
    for (int attempt = 0; attempt < MaxAttempts; ++attempt) {
        if (file.Hold(folder.CreateStream(name.c_str())) != nullptr) {
            return;
        }
        if (GetLastError() != ERROR_FILE_EXISTS) {
            break;
        }
        MoveAside(folder, name, path);
    }
    RaiseFileAccess(GetLastError(), path);
}

// Frees the name, unless somebody else has done so.
void MoveAside(const OpenFolder& folder, const std::string& name, const std::string& path)
{
    DWORD error = ERROR_FILE_EXISTS;
    for (unsigned number = FirstCopy; error == ERROR_FILE_EXISTS && number <= LastCopy; ++number) {
        const std::string copy = CopyName(name, number);
        error = folder.Rename(name.c_str(), copy.c_str()) && folder.SyncFolderOf(copy.c_str())
                    ? 0
                    : GetLastError();
    }
    if (error == ERROR_PATH_NOT_FOUND) { // it is a link
        RaiseFileAccess(error, path);
    }
    if (error != 0 && error != ERROR_FILE_NOT_FOUND) {
        RaiseFileAccess(error, path, CannotMoveText);
    }
}

// "a (2).Q32" of "a.Q32".
std::string CopyName(const std::string& name, unsigned number)
{
    const std::size_t suffix = std::min(name.rfind('.'), name.size());
    return name.substr(0, suffix) + " (" + std::to_string(number) + ')' + name.substr(suffix);
}

} // namespace
