// Images that fit the format, a folder in which somebody else works, and a disk that fails.
#include "image_folder.h"
#include "support/system_calls.h"

#include <set>
#include <sys/stat.h>

namespace {

namespace fs = std::filesystem;

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
            reference::FillWithNoise(image);
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
            ASSERT_EQ(FailureOf([&] { SaveNewImage(folder, path, image); }),
                      isTaken ? "" : Message(NotHeld, path) + reason + '.');
            ASSERT_EQ(fs::exists(path), isTaken);
        }
    }
    EXPECT_GT(taken, 100u);
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
            for (const auto& [name, id] : SavedIds()) {
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

    fs::create_hard_link(Outside("kept"), Path("b.Q32"));
    fs::create_directory_symlink(folder, Outside("linked"));
    EXPECT_EQ(Save("b.Q32", 2, "linked/"), "") << "the folder itself may be a link";
    EXPECT_EQ(ReadBytes(Path("b (2).Q32")), "kept") << "moved aside, not written into";
    EXPECT_EQ(ReadBytes(Outside("kept")), "kept");
}

TEST_F(ImageSaving, AnImageIsSavedWhenAllOfItIsOnDisk)
{
    const std::string path = Path("c.Q32");
    std::uint32_t id = 0;
    for (const int error : {EIO, EINVAL}) {   // EINVAL: a file system that syncs no folders
        for (const int failing : {1, 2, 3}) { // the moved file's name, the new file, its name
            ASSERT_EQ(Save("c.Q32", ++id), "");
            int syncs = 0;
            const WatchedSystemCalls watch([&](std::string_view call, auto) {
                if (call != "fsync" || ++syncs != failing) {
                    return 0;
                }
                if (failing == 2) {
                    EXPECT_EQ(ReadFailure(path), Message(SharedText, path));
                }
                return error;
            });
            EXPECT_EQ(Save("c.Q32", 100).empty(), error == EINVAL && failing != 2) << failing;
        }
    }
    int kept = 0;
    for (const auto& [name, saved] : SavedIds()) {
        kept += saved <= id ? 1 : 0;
    }
    EXPECT_EQ(kept, 6);
}

TEST_F(ImageSaving, TheUmaskSaysWhoMayReadTheFile)
{
    const mode_t former = umask(0027);
    EXPECT_EQ(Save("a_1_1.Q32", 1), "");
    umask(former);
    EXPECT_EQ(fs::status(Path("a_1_1.Q32")).permissions(), fs::perms(0640));
}

} // namespace
