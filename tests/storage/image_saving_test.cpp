// Images saved among other files: what is saved reads back, and no file is lost by it.
#include "storage/image_saving.h"
#include "storage/q32_file.h"
#include "test_files.h"

#include <array>
#include <atomic>
#include <gtest/gtest.h>
#include <set>
#include <thread>

namespace {

namespace fs = std::filesystem;

using Rows = std::vector<std::vector<std::uint8_t>>;

Rows ViewRows(const CImage& image)
{
    Rows rows(image.ViewRowCount(),
              std::vector<std::uint8_t>(std::size_t{image.ViewRowLength()} * image.m_pixelBytes));
    for (std::uint32_t r = 0; r < image.ViewRowCount(); ++r) {
        image.GetRow(r, rows[r].data(), rows[r].size());
    }
    return rows;
}

bool ReadsBack(const std::string& path, const CImage& image)
{
    const CLinkedPtr<CImage> read = ReadQ32File(path.c_str());
    return read->m_bitsPerSample == image.m_bitsPerSample && read->m_imageId == image.m_imageId &&
           read->m_headerText == image.m_headerText && read->m_userId == image.m_userId &&
           ViewRows(*read) == ViewRows(image);
}

CImage& WithContent(CImage& image, std::uint32_t id)
{
    for (std::uint32_t i = 0; i < image.m_dataSize; ++i) {
        image.m_data[i] = static_cast<std::uint8_t>(i * 7 + id);
    }
    image.m_imageId = id;
    return image;
}

class ImageSaving : public testing::Test
{
protected:
    ImageSaving() { fs::create_directory(folder); }

    std::string Save(const std::string& name, std::uint32_t id)
    {
        CImage image(3, 2, 12, 0, 1);
        return FailureOf([&] { SaveNewImage(folder, folder + name, WithContent(image, id)); });
    }
    std::uint32_t IdOf(const std::string& name) const
    {
        return ReadQ32File((folder + name).c_str())->m_imageId;
    }
    std::set<std::string> Names() const
    {
        std::set<std::string> names;
        for (const auto& entry : fs::directory_iterator(folder)) {
            names.insert(entry.path().filename());
        }
        return names;
    }

    const TestFolder test;
    const std::string folder = test / "TmpImages/";
};

// Every combination of formats and texts: it is saved and reads back, or nothing is written.
TEST_F(ImageSaving, WhatIsAcceptedReadsBackAsTheSameImage)
{
    const std::string texts[] = {"", "kV=60;", std::string("a\0b", 3), std::string(3000, 't')};
    const std::string path = folder + "a_1_1.Q32";
    int accepted = 0;
    for (const std::uint32_t bits : {1u, 6u, 8u, 9u, 12u, 16u, 17u, 24u, 25u, 32u, 33u}) {
        for (const std::uint32_t pixelBytes : {0u, 1u, 2u, 3u, 4u, 6u}) {
            for (std::uint32_t i = 0; i < 32; ++i) {
                CImage image(5, 3, bits, pixelBytes, i % 31 == 30 ? 2 : 1);
                WithContent(image, i);
                image.m_orientation = i % 8;
                image.m_widthDivisor = i % 16 == 15 ? 2 : 1;
                image.m_headerText = texts[i % 4];
                image.m_userId = texts[i / 4 % 4];
                const std::string reason = WhyNotQ32(image);
                const std::string failure = FailureOf([&] { SaveNewImage(folder, path, image); });
                SCOPED_TRACE(testing::Message() << bits << " bits, " << image.m_pixelBytes
                                                << " bytes, " << i << ", " << failure);
                ASSERT_EQ(failure.find(path) != std::string::npos &&
                              failure.find(reason) != std::string::npos,
                          !reason.empty());
                ASSERT_EQ(fs::exists(path), reason.empty());
                if (reason.empty()) {
                    ASSERT_TRUE(ReadsBack(path, image));
                    fs::remove(path);
                    ++accepted;
                }
            }
        }
    }
    EXPECT_GT(accepted, 50);
}

TEST_F(ImageSaving, AnImageThatWouldComeBackAsAnotherIsRefused)
{
    const struct
    {
        std::uint32_t bits, pixelBytes;
    } formats[] = {{8, 2}, {12, 4}, {8, 3}, {6, 1}, {33, 0}};
    for (const auto& [bits, pixelBytes] : formats) {
        CImage image(5, 3, bits, pixelBytes, 1);
        EXPECT_NE(WhyNotQ32(WithContent(image, 1)), "") << bits << " bits";
        ASSERT_TRUE(WriteQ32File((folder + "a").c_str(), image));
        EXPECT_NE(FailureOf([&] { EXPECT_FALSE(ReadsBack(folder + "a", image)); }) == "",
                  bits == 33);
    }
    const CImage empty(0, 0, 12, 0, 1);
    EXPECT_EQ(WhyNotQ32(empty), "it has no pixels");
}

TEST_F(ImageSaving, AFileOfTheSameNameIsMovedAside)
{
    WriteBytes(folder + "P_1_1 (3).Q32", "kept");
    for (const std::uint32_t id : {1u, 2u, 3u}) {
        ASSERT_EQ(Save("P_1_1.Q32", id), "");
    }
    EXPECT_EQ(Names(), (std::set<std::string>{"P_1_1.Q32", "P_1_1 (2).Q32", "P_1_1 (3).Q32",
                                              "P_1_1 (4).Q32"}));
    EXPECT_EQ(IdOf("P_1_1.Q32"), 3u);
    EXPECT_EQ(IdOf("P_1_1 (2).Q32"), 1u);
    EXPECT_EQ(ReadBytes(folder + "P_1_1 (3).Q32"), "kept");
    EXPECT_EQ(IdOf("P_1_1 (4).Q32"), 2u);

    // The same content under another name stays as it is.
    fs::create_hard_link(folder + "P_1_1.Q32", test / "outside");
    ASSERT_EQ(Save("P_1_1.Q32", 4), "");
    EXPECT_EQ(ReadQ32File((test / "outside").c_str())->m_imageId, 3u);
}

TEST_F(ImageSaving, WhatCannotBeMovedStaysAndNothingIsSaved)
{
    fs::create_directory(folder + "P_1_1.Q32");
    EXPECT_EQ(Save("P_1_1.Q32", 1), "Access to file " + folder + "P_1_1.Q32 is denied.");
    WriteBytes(test / "outside", "kept");
    fs::create_symlink("../outside", folder + "P_1_2.Q32");
    fs::create_symlink("../nowhere", folder + "P_1_3.Q32");
    fs::create_directory_symlink("..", folder + "up");
    fs::create_directory(folder + "sub");
    for (const char* name : {"P_1_2.Q32", "P_1_3.Q32", "up/P_1_1.Q32", "up/TmpImages/P_1_9.Q32",
                             "none/P_1_1.Q32", "sub/../P_1_1.Q32"}) {
        EXPECT_EQ(Save(name, 1), "Invalid path on " + (folder + name) + '.');
    }
    EXPECT_EQ(ReadBytes(test / "outside"), "kept");
    EXPECT_FALSE(fs::exists(test / "nowhere"));
    EXPECT_EQ(Save("sub/P_1_1.Q32", 5), "");
    EXPECT_EQ(IdOf("sub/P_1_1.Q32"), 5u);

    // The folder itself may be a link.
    fs::create_directory_symlink("TmpImages", test / "linked");
    CImage image(3, 2, 12, 0, 1);
    SaveNewImage(test / "linked/", test / "linked/L_1_1.Q32", WithContent(image, 6));
    EXPECT_EQ(IdOf("L_1_1.Q32"), 6u);
}

// Somebody else puts a link to a file outside in the place of the name, and takes it away again.
TEST_F(ImageSaving, NoLinkSlipsInWhileAnImageIsSaved)
{
    WriteBytes(test / "outside", "kept");
    std::atomic<bool> done = false;
    std::thread other([&] {
        for (std::error_code ignored; !done;) {
            fs::create_symlink("../outside", folder + "P_1_1.Q32", ignored);
            if (fs::is_symlink(folder + "P_1_1.Q32", ignored)) {
                fs::remove(folder + "P_1_1.Q32", ignored);
            }
        }
    });
    for (std::uint32_t id = 1; id <= 1000; ++id) {
        Save("P_1_1.Q32", id);
    }
    done = true;
    other.join();
    EXPECT_EQ(ReadBytes(test / "outside"), "kept");
}

} // namespace
