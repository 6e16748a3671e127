// Works the simulated library's image store without the library.
#include "simulator/tarn/picture.h"
#include "simulator/tarn/settings.h"
#include "simulator/tarn/store.h"
#include "storage/test_files.h"

#include <filesystem>
#include <gtest/gtest.h>

namespace {

namespace fs = std::filesystem;

tarn::StoredImage ImageOf(std::uint32_t id)
{
    return {1, 1, 1, 8, id, 0, {9}, "", ""};
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

} // namespace
