// Keeps account of images in the store, in files and in answers.
#include "support/image_ledger.h"

#include "device/libraries.h"
#include "display/resample.h"
#include "storage/q32_file.h"

#include <algorithm>
#include <filesystem>
#include <tuple>
#include <utility>

namespace {

// A record that claims deeper samples than its pixels hold is taken at what they hold.
CLinkedPtr<CImage> ImageOf(const TarnImageRecord& record)
{
    const bool hasPixels = record.pixels != nullptr && record.pixelBytes != 0;
    const std::uint32_t width = hasPixels ? record.width : 0;
    const std::uint32_t height = hasPixels ? record.height : 0;
    const std::uint32_t bits =
        hasPixels ? std::min(record.bitsPerSample, 8 * record.pixelBytes) : 0;
    CLinkedPtr<CImage> image(new CImage(width, height, bits, record.pixelBytes, 1));
    image->PutPixels(record.pixels, width * height, 0);
    image->m_imageId = record.imageId;
    image->m_headerText = TextOrEmpty(record.headerText);
    image->m_userId = TextOrEmpty(record.userId);
    return image;
}

CLinkedPtr<CImage> ReadIfImage(const std::string& path)
{
    try {
        return ReadQ32File(path.c_str());
    } catch (const eExcptAny&) {
        return {};
    }
}

bool IsSame(const CImage& a, const CImage& b)
{
    const auto format = [](const CImage& image) {
        return std::tuple(image.m_width, image.m_height, image.m_bitsPerSample, image.m_imageId);
    };
    return format(a) == format(b) && a.m_headerText == b.m_headerText && a.m_userId == b.m_userId &&
           std::equal(a.m_data, a.m_data + a.m_dataSize, b.m_data, b.m_data + b.m_dataSize);
}

// As a new image is shown: whole, and through the table.
bool LooksAs(const CImage& image, const headless::Picture& picture, const std::uint8_t* lut)
{
    const auto width = static_cast<std::uint32_t>(picture.width);
    const auto height = static_cast<std::uint32_t>(picture.height);
    CImage shown(width, height, 8, 0, 1);
    shown.Fill(DisplayBackground);
    RenderToDisplay(&image, lut, 1.0, image.m_width / 2, image.m_height / 2, &shown);
    for (std::uint32_t line = 0; line < height; ++line) {
        const std::uint8_t* const row = shown.m_data + std::size_t{height - 1 - line} * width;
        if (!std::equal(row, row + width, picture.grays.data() + std::size_t{line} * width)) {
            return false;
        }
    }
    return height != 0;
}

} // namespace

void ImageLedger::HandedOut(const TarnImageRecord& record, bool discards)
{
    Entry& image = m_images[record.imageId];
    image.run = m_run;
    image.discards = discards;
    const CLinkedPtr<CImage> version = ImageOf(record);
    if (std::ranges::none_of(image.versions,
                             [&](const auto& known) { return IsSame(*known, *version); })) {
        image.versions.push_back(version);
    }
}

void ImageLedger::Answered(const headless::Picture& onScreen, const std::uint8_t* lut, bool isYes)
{
    std::set<std::uint32_t> alike;
    for (auto& [id, image] : m_images) {
        if (std::ranges::any_of(image.versions, [&](const auto& version) {
                return LooksAs(*version, onScreen, lut);
            })) {
            alike.insert(id);
            image.isAskedAbout = true;
        }
    }
    if (alike.empty()) {
        m_breaks.emplace_back("picture: a question stood over the picture of no image");
    }
    if (isYes) {
        m_consents.push_back(alike);
    }
}

void ImageLedger::Watch(const std::vector<std::uint32_t>& stored, bool discards)
{
    std::vector<std::uint32_t> left;
    for (const auto& [id, image] : m_images) {
        if (image.isStored && std::ranges::find(stored, id) == stored.end()) {
            left.push_back(id);
        }
    }
    if (!left.empty()) {
        ReadFolder();
    }
    for (const std::uint32_t id : left) {
        m_images[id].isStored = false;
        RequireAccount(id, m_images[id], discards);
    }
    for (const std::uint32_t id : stored) {
        m_images[id].isStored = true;
    }
}

void ImageLedger::EndRun(bool cutShort)
{
    ReadFolder();
    for (const auto& [id, image] : m_images) {
        const bool isStill = image.isStored && image.run == m_run && !image.discards;
        if (isStill && !cutShort && image.files == 0 && !image.isAskedAbout) {
            m_breaks.push_back(
                "silence: image " + std::to_string(id) +
                " was handed out, and neither saved nor asked about over its picture");
        }
    }
    ++m_run;
}

void ImageLedger::ReadFolder()
{
    std::map<std::uint32_t, std::size_t> files;
    std::error_code none; // no folder before the first image
    for (const auto& file : std::filesystem::directory_iterator(m_folder, none)) {
        const CLinkedPtr<CImage> content = ReadIfImage(file.path().string());
        const bool holdsPixels = content && content->m_data != nullptr;
        const auto known = holdsPixels ? m_images.find(content->m_imageId) : m_images.end();
        if (known != m_images.end() &&
            std::ranges::any_of(known->second.versions,
                                [&](const auto& version) { return IsSame(*version, *content); })) {
            ++files[known->first];
        }
    }
    for (auto& [id, image] : m_images) {
        const std::size_t before = std::exchange(image.files, files[id]);
        if (image.files < before) {
            m_breaks.push_back(std::string(image.run < m_run ? "earlier file" : "file") +
                               ": a file that held image " + std::to_string(id) +
                               " was replaced, emptied or deleted");
        }
    }
}

void ImageLedger::RequireAccount(std::uint32_t id, const Entry& image, bool discards)
{
    const bool isGiven = !image.versions.empty();
    if (isGiven && (image.files != 0 || TakeConsent(id) || (discards && image.discards))) {
        return;
    }
    m_breaks.push_back("account: image " + std::to_string(id) +
                       (isGiven ? " left the store; no file reads back as it, nobody said yes over "
                                  "its picture, and the boxes on screen do not discard"
                                : " left the store and was never handed out"));
}

bool ImageLedger::TakeConsent(std::uint32_t id)
{
    const auto consent =
        std::ranges::find_if(m_consents, [id](const auto& alike) { return alike.contains(id); });
    if (consent == m_consents.end()) {
        return false;
    }
    m_consents.erase(consent);
    return true;
}
