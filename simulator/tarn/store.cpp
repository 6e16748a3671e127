// Keeps images as files that are complete or not there.
#include "simulator/tarn/store.h"

#include "simulator/tarn/trace.h"

#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>

namespace tarn {
namespace {

// A file of the store, little-endian, followed by the pixels, the header text and the user id.
struct FileHeader
{
    char magic[8];             // "TarnImg1"
    std::uint32_t width;       // pixels
    std::uint32_t height;      // pixels
    std::uint32_t pixelBytes;  // 1 or 2
    std::uint32_t bits;        // of a sample
    std::uint32_t imageId;     // as in the file's name
    std::uint32_t tag;         // sensor code and device
    std::uint32_t headerBytes; // length of the header text
    std::uint32_t userBytes;   // length of the user id
};
static_assert(sizeof(FileHeader) == 40);
static_assert(offsetof(FileHeader, userBytes) == 36);

constexpr char Magic[8] = {'T', 'a', 'r', 'n', 'I', 'm', 'g', '1'};
constexpr const char* Suffix = ".tarn";
constexpr const char* Unfinished = ".tmp";
constexpr const char* LastIdFile = "last-id";
constexpr const char* LockFile = "lock";
constexpr std::uint32_t LargestSide = 65535;
constexpr std::uint64_t LargestPixelBlock = std::uint64_t{1} << 30;
constexpr std::uint32_t LargestText = 16 << 20;

std::string NameOfId(std::uint32_t id);
std::uint32_t IdOfName(const std::filesystem::path& path);
// Whether the store's own writing was cut off there.
bool IsUnfinished(const std::filesystem::path& path);
std::uint32_t ReadLastId(const std::string& folder);
void WriteWhole(const std::string& path, const std::vector<std::string_view>& parts, bool sync);
std::string_view Bytes(const void* start, std::size_t size);

} // namespace

ImageStore::ImageStore(std::string folder, std::string removedFolder)
    : m_folder(std::move(folder)), m_removedFolder(std::move(removedFolder))
{
    std::error_code error;
    for (const std::string& needed : {m_folder, m_removedFolder}) {
        std::filesystem::create_directories(PathOf(needed), error);
        if (error && !needed.empty()) {
            throw std::runtime_error("cannot make the image store " + needed + ": " +
                                     error.message());
        }
    }
    m_lock.emplace(m_folder + "/" + LockFile);
    for (const auto& entry : std::filesystem::directory_iterator(PathOf(m_folder))) {
        if (IsUnfinished(entry.path())) {
            std::filesystem::remove(entry.path(), error);
        } else if (const std::uint32_t id = IdOfName(entry.path())) {
            m_ids.insert(id);
        }
    }
    std::uint32_t last = ReadLastId(m_folder);
    if (last == 0 && !m_ids.empty()) {
        last = *m_ids.rbegin();
    }
    SetNextId(last + 1);
}

std::uint32_t ImageStore::Count() const
{
    const std::lock_guard lock(m_mutex);
    return static_cast<std::uint32_t>(m_ids.size());
}

std::vector<std::uint32_t> ImageStore::Ids() const
{
    const std::lock_guard lock(m_mutex);
    return {m_ids.begin(), m_ids.end()};
}

bool ImageStore::HasRoom(std::uint32_t limit) const
{
    return Count() < limit;
}

std::uint32_t ImageStore::TakeId()
{
    const std::lock_guard lock(m_mutex);
    // Never replaces a file, even one that is no image.
    while (m_nextId == 0 || m_ids.contains(m_nextId) ||
           std::filesystem::exists(PathOf(Path(m_nextId)))) {
        ++m_nextId;
    }
    const std::string digits = std::to_string(m_nextId);
    WriteWhole(m_folder + "/" + LastIdFile, {digits}, false);
    return m_nextId++;
}

void ImageStore::SetNextId(std::uint32_t id)
{
    const std::lock_guard lock(m_mutex);
    m_nextId = id;
}

void ImageStore::Add(const StoredImage& image)
{
    FileHeader header{};
    std::memcpy(header.magic, Magic, sizeof Magic);
    header.width = image.width;
    header.height = image.height;
    header.pixelBytes = image.pixelBytes;
    header.bits = image.bitsPerSample;
    header.imageId = image.imageId;
    header.tag = image.tag;
    header.headerBytes = static_cast<std::uint32_t>(image.headerText.size());
    header.userBytes = static_cast<std::uint32_t>(image.userId.size());
    WriteWhole(Path(image.imageId),
               {Bytes(&header, sizeof header), Bytes(image.pixels.data(), image.pixels.size()),
                image.headerText, image.userId},
               true);
    const std::lock_guard lock(m_mutex);
    m_ids.insert(image.imageId);
}

std::optional<StoredImage> ImageStore::Get(std::uint32_t number)
{
    for (;;) {
        std::uint32_t id = number;
        {
            const std::lock_guard lock(m_mutex);
            if (m_ids.empty() || (number != 0 && !m_ids.contains(number))) {
                return std::nullopt;
            }
            if (number == 0) {
                id = *m_ids.begin();
            }
        }
        std::optional<StoredImage> image = Read(id);
        if (image) {
            return image;
        }
        Warn(Path(id) + " is no image of the store");
        const std::lock_guard lock(m_mutex);
        m_ids.erase(id);
    }
}

std::optional<StoredImage> ImageStore::Read(std::uint32_t id) const
{
    std::error_code error;
    const std::uint64_t fileSize =
        std::filesystem::file_size(PathOf(Path(id)), error); // of a regular file
    if (error) {
        return std::nullopt;
    }
    std::ifstream file(PathOf(Path(id)), std::ios::binary);
    FileHeader header{};
    file.read(reinterpret_cast<char*>(&header), sizeof header);
    const std::uint64_t pixelBytes =
        std::uint64_t{header.width} * header.height * header.pixelBytes;
    if (!file || std::memcmp(header.magic, Magic, sizeof Magic) != 0 || header.imageId != id ||
        header.width > LargestSide || header.height > LargestSide || header.pixelBytes < 1 ||
        header.pixelBytes > 2 || header.bits > 8 * header.pixelBytes ||
        pixelBytes > LargestPixelBlock || header.headerBytes > LargestText ||
        header.userBytes > LargestText ||
        fileSize != sizeof header + pixelBytes + header.headerBytes + header.userBytes) {
        return std::nullopt;
    }
    StoredImage image;
    image.width = header.width;
    image.height = header.height;
    image.pixelBytes = header.pixelBytes;
    image.bitsPerSample = header.bits;
    image.imageId = header.imageId;
    image.tag = header.tag;
    image.pixels.resize(static_cast<std::size_t>(pixelBytes));
    image.headerText.resize(header.headerBytes);
    image.userId.resize(header.userBytes);
    file.read(reinterpret_cast<char*>(image.pixels.data()), std::streamsize(pixelBytes));
    file.read(image.headerText.data(), header.headerBytes);
    file.read(image.userId.data(), header.userBytes);
    return file ? std::optional(std::move(image)) : std::nullopt;
}

bool ImageStore::Remove(std::uint32_t imageId)
{
    const std::lock_guard lock(m_mutex);
    if (!m_ids.contains(imageId)) {
        return false;
    }
    const std::filesystem::path path = PathOf(Path(imageId));
    std::error_code error;
    if (m_removedFolder.empty()) {
        std::filesystem::remove(path, error);
    } else {
        std::filesystem::rename(path, FreeRemovedPath(imageId), error);
    }
    std::error_code unknown;
    if (error && (std::filesystem::exists(path, unknown) || unknown)) {
        return false;
    }
    m_ids.erase(imageId);
    return true;
}

std::string ImageStore::Path(std::uint32_t id) const
{
    return m_folder + "/" + NameOfId(id) + Suffix;
}

std::filesystem::path ImageStore::FreeRemovedPath(std::uint32_t id) const
{
    const std::string name = m_removedFolder + "/" + NameOfId(id);
    std::filesystem::path path = PathOf(name + Suffix);
    std::error_code error;
    for (int number = 2; std::filesystem::exists(path, error); ++number) {
        path = PathOf(name + " (" + std::to_string(number) + ")" + Suffix);
    }
    return path;
}

namespace {

std::string NameOfId(std::uint32_t id)
{
    char name[16];
    std::snprintf(name, sizeof name, "%010u", static_cast<unsigned>(id));
    return name;
}

// 0 for the name of a file that is not the store's.
std::uint32_t IdOfName(const std::filesystem::path& path)
{
    const std::string digits = TextOf(path.stem());
    std::uint32_t id = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), id);
    const bool whole = error == std::errc() && end == digits.data() + digits.size();
    return whole && digits.size() == 10 && path.extension() == Suffix ? id : 0;
}

bool IsUnfinished(const std::filesystem::path& path)
{
    const std::filesystem::path name = path.stem();
    return path.extension() == Unfinished && (name == LastIdFile || IdOfName(name) != 0);
}

std::uint32_t ReadLastId(const std::string& folder)
{
    std::uint32_t id = 0;
    std::ifstream(PathOf(folder + "/" + LastIdFile)) >> id;
    return id;
}

// The file gets its final name only when it is complete and, with sync, on the disk, and the name
// then as well.
void WriteWhole(const std::string& path, const std::vector<std::string_view>& parts, bool sync)
{
    const std::string temporary = path + Unfinished;
    std::error_code error;
    const auto fail = [&]() {
        const std::string reason = std::strerror(errno);
        std::filesystem::remove(PathOf(temporary), error);
        throw std::runtime_error("cannot write " + path + ": " + reason);
    };
    std::FILE* const file = OpenToWrite(temporary);
    if (file == nullptr) {
        fail();
    }
    bool good = true;
    for (const std::string_view part : parts) {
        good = good && std::fwrite(part.data(), 1, part.size(), file) == part.size();
    }
    good = good && std::fflush(file) == 0 && (!sync || SyncToDisk(file));
    const int failure = errno;
    good = std::fclose(file) == 0 && good;
    if (!good) {
        errno = failure;
        fail();
    }
    std::filesystem::rename(PathOf(temporary), PathOf(path), error);
    if (error) {
        errno = error.default_error_condition().value();
        fail();
    }
    if (sync && !SyncFolder(TextOf(PathOf(path).parent_path()))) {
        const int syncFailure = errno;
        std::filesystem::remove(PathOf(path), error);
        errno = syncFailure;
        fail();
    }
}

std::string_view Bytes(const void* start, std::size_t size)
{
    return {static_cast<const char*>(start), size};
}

} // namespace
} // namespace tarn
