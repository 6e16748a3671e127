// Works the simulated library's image store without the library.
#include "simulator/tarn/picture.h"
#include "simulator/tarn/settings.h"
#include "simulator/tarn/store.h"
#include "storage/test_files.h"

#ifndef _WIN32
#include "support/system_calls.h"
#endif

#include <filesystem>
#include <gtest/gtest.h>
#include <stdexcept>

namespace {

namespace fs = std::filesystem;

tarn::StoredImage ImageOf(std::uint32_t id)
{
    return {1, 1, 1, 8, id, 0, {9}, "", ""};
}

TEST(Store, LeavesForeignFilesAlone)
{
    const TestFolder folder;
    fs::create_directory(folder / "s");
    const std::string own[] = {"0000000009.tarn.tmp", "last-id.tmp"};
    const std::string foreign[] = {"notes.tmp",        "9.tarn.tmp", "0000000009.tmp",
                                   "0000000009.q.tmp", ".tmp",       "last-id.tarn.tmp"};
    for (const std::string& name : own) {
        WriteBytes(folder / ("s/" + name), "half");
    }
    for (const std::string& name : foreign) {
        WriteBytes(folder / ("s/" + name), "whole");
    }
    const tarn::ImageStore store(folder / "s");
    for (const std::string& name : own) {
        EXPECT_FALSE(fs::exists(folder / ("s/" + name))) << name;
    }
    for (const std::string& name : foreign) {
        EXPECT_EQ(ReadBytes(folder / ("s/" + name)), "whole") << name;
    }
}

TEST(Store, KeepsEveryRemovedImage)
{
    const TestFolder folder;
    tarn::ImageStore store(folder / "s", folder / "kept");
    WriteBytes(folder / "kept/0000000001.tarn", "of an earlier store");
    for (int times = 0; times < 2; ++times) {
        store.Add(ImageOf(1));
        EXPECT_TRUE(store.Remove(1));
        EXPECT_EQ(store.Count(), 0u);
    }
    EXPECT_EQ(ReadBytes(folder / "kept/0000000001.tarn"), "of an earlier store");
    EXPECT_EQ(fs::file_size(folder / "kept/0000000001 (2).tarn"), 41u);
    EXPECT_EQ(fs::file_size(folder / "kept/0000000001 (3).tarn"), 41u);

    store.Add(ImageOf(1));
    fs::remove_all(folder / "kept");
    EXPECT_FALSE(store.Remove(1)) << "it is still in the store";
    EXPECT_EQ(store.Count(), 1u);
    fs::remove(folder / "s/0000000001.tarn");
    EXPECT_TRUE(store.Remove(1));
}

// And so may settings and pictures.
TEST(Store, MayStandInAFolderOfAnyName)
{
    const TestFolder folder;
    const fs::path place = fs::path(folder / "") / u8"J\u00FCrgen \u624B";
    const std::string name = folder / "J\xC3\xBCrgen \xE6\x89\x8B";
    for (std::uint32_t life = 0; life < 2; ++life) {
        tarn::ImageStore store(name + "/s", name + "/kept");
        EXPECT_EQ(store.Count(), life);
        store.Add(ImageOf(store.TakeId()));
        EXPECT_EQ(store.Get(life + 1)->imageId, life + 1);
    }
    EXPECT_TRUE(fs::exists(place / "s/0000000002.tarn"));
    EXPECT_TRUE(tarn::ImageStore(name + "/s", name + "/kept").Remove(1));
    EXPECT_TRUE(fs::exists(place / "kept/0000000001.tarn"));
    EXPECT_TRUE(tarn::ImageStore(name + "/s").Remove(2));
    EXPECT_FALSE(fs::exists(place / "s/0000000002.tarn"));
    std::ofstream(place / "s.ini") << "seed = 3\n";
    EXPECT_EQ(tarn::SettingsFile(name + "/s.ini").Current()->seed, 3u);
    std::ofstream(place / u8"\u00E9.pgm") << "P5 1 1 255 x";
    EXPECT_EQ(tarn::ReadGrayMap(tarn::GrayMaps(name).at(0)).width, 1u);
}

#ifndef _WIN32
TEST(Store, BringsTheNameOfAnImageOntoTheDisk)
{
    const TestFolder folder;
    const std::string image = folder / "s/0000000001.tarn";
    tarn::ImageStore store(folder / "s");
    std::string calls;
    int error = 0;
    const WatchedSystemCalls watch([&](std::string_view call, std::string_view path) {
        calls.append(call).append(fs::exists(image) ? " named, " : " unnamed, ");
        EXPECT_TRUE(path.empty() || path == folder / "s");
        return fs::exists(image) && call == "fsync" ? error : 0;
    });
    store.Add(ImageOf(1));
    EXPECT_EQ(calls, "fsync unnamed, open named, fsync named, ");
    store.Remove(1);
    error = EIO;
    EXPECT_THROW(store.Add(ImageOf(1)), std::runtime_error);
    EXPECT_FALSE(fs::exists(image));
    EXPECT_EQ(store.Count(), 0u);
}
#endif

} // namespace
