// A folder into which a test saves images, inside a folder of the test.
#pragma once

#include "storage/file_access.h"
#include "storage/image_saving.h"
#include "storage/test_files.h"

#include <map>

inline const std::string CannotMoveText = "File %1% exists and cannot be moved aside. ";

class ImageSaving : public testing::Test
{
protected:
    using Ids = std::map<std::string, std::uint32_t>;

    ImageSaving() { std::filesystem::create_directories(folder); }

    std::string Path(const std::string& name) const { return folder + name; }
    std::string Outside(const std::string& name) const { return outside / name; }
    // Saves an image with this id; the message when it is not saved.
    std::string Save(const std::string& name, std::uint32_t id,
                     const std::string& savedIn = "TmpImages/") const
    {
        CImage image(2, 2, 12, 0, 1);
        image.Fill(id);
        image.m_imageId = id;
        return FailureOf([&] { SaveNewImage(Outside(savedIn), Outside(savedIn + name), image); });
    }
    // The ids of all images in the folder, by their files' names.
    Ids SavedIds() const
    {
        Ids ids;
        for (const auto& entry : std::filesystem::directory_iterator(folder)) {
            if (entry.is_regular_file()) {
                const std::string name = entry.path().filename().string();
                ids[name] = ReadQ32File(Path(name).c_str())->m_imageId;
            }
        }
        return ids;
    }

    // Where syncing costs nothing, when there is such a place.
    const TestFolder outside{
        std::filesystem::exists("/dev/shm") ? "/dev/shm" : std::filesystem::temp_directory_path()};
    const std::string folder = outside / "TmpImages/";
};
