// New images in a folder that holds others, and in which somebody else works.
#include "storage/file_access.h"
#include "storage/image_saving.h"
#include "support/system_calls.h"
#include "test_files.h"

#include <gtest/gtest.h>
#include <map>
#include <set>

namespace {

namespace fs = std::filesystem;

const std::string CannotMoveText = "File %1% exists and cannot be moved aside. ";

class ImageSaving : public testing::Test
{
protected:
    ImageSaving() { fs::create_directories(m_folder); }

    std::string Path(const std::string& name) const { return m_folder + name; }
    std::string Outside(const std::string& name) const { return m_test / name; }
    // Saves an image with this id; the message when it is not saved.
    std::string Save(const std::string& name, std::uint32_t id,
                     const std::string& folder = "TmpImages/") const
    {
        CImage image(2, 2, 12, 0, 1);
        image.Fill(id);
        image.m_imageId = id;
        return FailureOf([&] { SaveNewImage(Outside(folder), Outside(folder + name), image); });
    }
    // The ids of all whole images in the folder, by their files' names.
    std::map<std::string, std::uint32_t> Ids() const
    {
        std::map<std::string, std::uint32_t> ids;
        for (const auto& entry : fs::directory_iterator(m_folder)) {
            if (entry.is_regular_file()) {
                ids[entry.path().filename()] = ReadQ32File(entry.path().c_str())->m_imageId;
            }
        }
        return ids;
    }

    const TestFolder m_test{"/dev/shm"}; // where syncing costs nothing
    const std::string m_folder = m_test / "TmpImages/";
};
using Ids = std::map<std::string, std::uint32_t>;

// Every shape in which images differ, each with every other.
TEST_F(ImageSaving, TakesExactlyTheImagesThatReadBack)
{
    const std::string texts[] = {"", std::string(3000, 'h'), std::string(998, 'a') + '\0' + 'b',
                                 std::string("a\0", 2)};
    constexpr char NotHeld[] =
        "File %1% is not written: the q32 format cannot hold the image, for ";
    const std::string path = Path("a.Q32");
    std::size_t number = 0, taken = 0;
    for (const std::uint32_t bits : {0u, 1u, 6u, 8u, 9u, 12u, 16u, 17u, 24u, 32u, 33u, 40u}) {
        for (std::uint32_t shape = 0; shape < 7 * 4 * 3 * 9; ++shape) {
            const std::uint32_t pixelBytes = shape % 7, divisor = shape / 7 % 4;
            const std::uint32_t colorType = shape / 28 % 3 + 1;
            CImage image(5, 3, bits, pixelBytes, divisor, colorType);
            FillWithNoise(image);
            image.m_orientation = shape / 84 == 8 ? 13 : shape / 84; // no code, but read like 5
            image.m_imageId = 0x87654321;
            image.m_headerText = texts[++number % 4];
            image.m_userId = texts[number / 4 % 8 == 0 ? number % 3 : 1];
            const std::string reason = WhyNotQ32(image);
            const bool isTaken = reason.empty();
            taken += isTaken ? 1 : 0;
            if (image.m_data != nullptr) {
                WriteQ32File(path.c_str(), image);
                ASSERT_EQ(ReadsBack(path, image), isTaken) << bits << ", " << shape;
            }
            fs::remove(path);
            ASSERT_EQ(FailureOf([&] { SaveNewImage(m_folder, path, image); }),
                      isTaken ? "" : Message(NotHeld, path) + reason + '.');
            ASSERT_EQ(fs::exists(path), isTaken);
        }
    }
    EXPECT_GT(taken, 100u);
}

TEST_F(ImageSaving, KeepsEveryFileOfTheSameName)
{
    fs::create_directories(Path("a_1_1 (3).Q32"));
    fs::create_symlink("nowhere", Path("a_1_1 (4).Q32"));
    for (const std::uint32_t id : {1u, 2u, 3u}) {
        EXPECT_EQ(Save("a_1_1.Q32", id), "");
    }
    EXPECT_EQ(Ids(), (::Ids{{"a_1_1.Q32", 3}, {"a_1_1 (2).Q32", 1}, {"a_1_1 (5).Q32", 2}}));
    const std::string path = Path("a_1_1.Q32");
    const WatchedSystemCalls watch(
        [](std::string_view call, auto) { return call == "renameat2" ? EPERM : 0; });
    EXPECT_EQ(Save("a_1_1.Q32", 4), Message(CannotMoveText + DeniedText, path));
    EXPECT_EQ(Ids().at("a_1_1.Q32"), 3u);
}

// Before each system call in turn, another program saves an image of the same name.
TEST_F(ImageSaving, TwoProgramsLoseNothingToEachOther)
{
    for (const int error : {0, EINVAL}) { // the file system can rename without replacing, or not
        int calls = 0;
        for (int interrupted = 1; interrupted == 1 || interrupted <= calls; ++interrupted) {
            EXPECT_EQ(Save("a_1_1.Q32", 1), "");
            calls = 0;
            {
                const WatchedSystemCalls watch([&](std::string_view call, auto) {
                    if (++calls == interrupted) {
                        EXPECT_EQ(Save("a_1_1.Q32", 2), "");
                    }
                    return call == "renameat2" ? error : 0;
                });
                EXPECT_EQ(Save("a_1_1.Q32", 3), "");
            }
            std::set<std::uint32_t> ids;
            for (const auto& [name, id] : Ids()) {
                ids.insert(id);
                fs::remove(Path(name));
            }
            EXPECT_EQ(ids, (std::set<std::uint32_t>{1, 2, 3})) << interrupted << " of " << calls;
        }
        EXPECT_GT(calls, 10);
    }
}

TEST_F(ImageSaving, NothingOutsideIsWrittenEvenIfALinkSlipsIn)
{
    fs::create_directories(Outside("other"));
    fs::create_directories(Path("sub"));
    WriteBytes(Outside("kept"), "kept");
    const auto slipIn = [&](const char* opened, const std::string& target, const char* name) {
        return [=, this](std::string_view call, std::string_view path) {
            if (call.starts_with("open") && path.ends_with(opened)) {
                fs::remove_all(Path(name));
                fs::create_symlink(target, Path(name));
            }
            return 0;
        };
    };
    EXPECT_EQ(Save("sub/b.Q32", 1), "");
    constexpr const char* Cases[][3] = {{"a.Q32", "../kept", "a.Q32"},
                                        {"sub", "../other", "sub/a.Q32"}};
    for (const auto& [opened, target, name] : Cases) {
        {
            const WatchedSystemCalls watch(slipIn(opened, target, opened));
            EXPECT_EQ(Save(name, 1), Message(InvalidPathText, Path(name)));
        }
        EXPECT_EQ(Save(name, 1), Message(InvalidPathText, Path(name))) << "it is still there";
    }
    fs::remove(Path("sub"));
    fs::create_directories(Path("sub"));
    {
        const WatchedSystemCalls watch(slipIn("a.Q32", "../other", "sub"));
        Save("sub/a.Q32", 1); // into the folder that is gone
    }
    EXPECT_TRUE(fs::is_empty(Outside("other")));
    EXPECT_EQ(ReadBytes(Outside("kept")), "kept");

    fs::create_hard_link(Outside("kept"), Path("b.Q32"));
    EXPECT_EQ(Save("b.Q32", 2), "");
    EXPECT_EQ(ReadBytes(Path("b (2).Q32")), "kept") << "moved aside, not written into";
    EXPECT_EQ(ReadBytes(Outside("kept")), "kept");
}

TEST_F(ImageSaving, FailuresAreNamedAndLeaveWhatThereIs)
{
    fs::create_directories(Path("folder.Q32"));
    WriteBytes(Path("file"), "");
    EXPECT_EQ(Save("folder.Q32", 1), Message(CannotMoveText + DeniedText, Path("folder.Q32")));
    for (const std::string& name :
         {std::string("/etc/a"), std::string("file/a"), std::string("../a"),
          std::string("folder.Q32/../a"), std::string(300, 'a')}) {
        EXPECT_EQ(Save(name, 1), Message(InvalidPathText, Path(name)));
    }
    EXPECT_EQ(Save("a", 1, "none/"), Message(InvalidPathText, Outside("none/a")));
    EXPECT_FALSE(fs::exists(Outside("a")));
    fs::create_directory_symlink(m_folder, Outside("linked"));
    EXPECT_EQ(Save("b.Q32", 1, "linked/"), "");
    EXPECT_TRUE(fs::exists(Path("b.Q32"))) << "the folder itself may be a link";
}

TEST_F(ImageSaving, IsDoneWhenAllOfItIsOnDisk)
{
    const std::string path = Path("c.Q32");
    for (const int error : {EIO, EINVAL}) {   // EINVAL: a file system that syncs no folders
        for (const int failing : {1, 2, 3}) { // the moved file's name, the new file, its name
            ASSERT_EQ(Save("c.Q32", 1), "");
            int syncs = 0;
            const WatchedSystemCalls watch([&](std::string_view call, auto) {
                if (call != "fsync" || ++syncs != failing) {
                    return 0;
                }
                if (failing == 2) {
                    EXPECT_EQ(FailureOf([&] { ReadQ32File(path.c_str()); }),
                              Message(SharedText, path));
                }
                return error;
            });
            EXPECT_EQ(Save("c.Q32", 2).empty(), error == EINVAL && failing != 2) << failing;
        }
    }
    int kept = 0;
    for (const auto& [name, id] : Ids()) {
        kept += id == 1 ? 1 : 0;
    }
    EXPECT_EQ(kept, 6);
}

} // namespace
