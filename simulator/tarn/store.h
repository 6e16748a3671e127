// The image store: a folder with one file per image, which outlives the process.
#pragma once

#include "simulator/tarn/system.h"

#include <cstdint>
#include <filesystem>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace tarn {

struct StoredImage
{
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint32_t pixelBytes = 0;
    std::uint32_t bitsPerSample = 0;
    std::uint32_t imageId = 0;
    std::uint32_t tag = 0;
    std::vector<std::uint8_t> pixels; // width x height pixels, row after row, little-endian
    std::string headerText;
    std::string userId;
};

// An image is in the store from the moment its file has its final name until it is unlinked: a
// killed process leaves complete images. Any thread may call.
class ImageStore
{
public:
    // Makes the folders, takes over the images in the first and removes unfinished files.
    // Removed images are moved into the second, on the same disk, or deleted when it is empty.
    // Throws std::runtime_error, also when another object or program has the first folder; its
    // files are left alone then.
    explicit ImageStore(std::string folder, std::string removedFolder = "");

    std::uint32_t Count() const;
    std::vector<std::uint32_t> Ids() const; // ascending
    // Whether there is room for another image.
    bool HasRoom(std::uint32_t limit) const;
    // The id of the next image; ids are not reused, even after a restart.
    std::uint32_t TakeId();
    void SetNextId(std::uint32_t id);

    // Throws std::runtime_error with the file and the reason; nothing is stored then.
    void Add(const StoredImage& image);
    // The image of that number, or of the lowest number for 0. A file that is no image of the store
    // is reported on stderr, left alone and no longer counted.
    std::optional<StoredImage> Get(std::uint32_t number);
    // False when there is none, or it cannot be removed.
    bool Remove(std::uint32_t imageId);

private:
    std::optional<StoredImage> Read(std::uint32_t id) const;
    std::string Path(std::uint32_t id) const;
    // Where the removed image replaces none.
    std::filesystem::path FreeRemovedPath(std::uint32_t id) const;

    const std::string m_folder;
    const std::string m_removedFolder;
    std::optional<FileLock> m_lock;
    mutable std::mutex m_mutex;
    std::set<std::uint32_t> m_ids;
    std::uint32_t m_nextId = 1; // never 0
};

} // namespace tarn
