// Moves what has the name aside and writes a new file in its place.
#include "storage/image_saving.h"

#include "platform/files.h"
#include "storage/file_access.h"
#include "storage/paths.h"
#include "storage/q32_file.h"

namespace {

void RequireQ32(const CImage& image, const std::string& path);
void MoveAside(const OpenFolder& folder, const std::string& name, const std::string& path);

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
    MoveAside(open, name, path);
    CFileHolder file;
    if (file.Hold(open.CreateStream(name.c_str())) == nullptr) {
        RaiseFileAccess(GetLastError(), path);
    }
    WriteQ32Stream(file, path.c_str(), image);
    open.SyncFolderOf(name.c_str());
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

void MoveAside(const OpenFolder& folder, const std::string& name, const std::string& path)
{
    const std::size_t dot = name.rfind('.');
    const std::string stem = name.substr(0, dot);
    const std::string suffix = name.substr(dot);
    DWORD error = ERROR_FILE_EXISTS;
    for (unsigned number = 2; error == ERROR_FILE_EXISTS; ++number) {
        const std::string newName = stem + " (" + std::to_string(number) + ')' + suffix;
        error = folder.Rename(name.c_str(), newName.c_str()) ? 0 : GetLastError();
    }
    if (error != 0 && error != ERROR_FILE_NOT_FOUND) {
        RaiseFileAccess(error, path);
    }
}

} // namespace
