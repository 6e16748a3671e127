// What the operations do while libraries or exports are missing.
#include "device/libraries.h"
#include "device/parameters.h"
#include "device/results.h"
#include "support/scripted_library.h"

#include <gtest/gtest.h>

TEST(Loading, MissingExportsAndLibrariesAreNamedAndTheOthersWork)
{
    EXPECT_EQ(TarnOpen(nullptr, "Tarn test"), 0u) << "this export is there";
    EXPECT_EQ(MissingExports(), ErrorExportMissing);
    const std::string description = ResultDescription(ErrorExportMissing);
    EXPECT_NE(description.find("Quillet"), std::string::npos) << description;
    EXPECT_NE(description.find("Tarn_20"), std::string::npos) << description;
    EXPECT_EQ(description.find("Tarn_22"), std::string::npos) << description;
    EXPECT_NE(description.find(". Searched: "), std::string::npos) << description;

    std::uint32_t count = 0;
    EXPECT_EQ(TarnGetImageCount(&count), 0u);
    EXPECT_EQ(count, 3u);

    TarnImageRecord* image = reinterpret_cast<TarnImageRecord*>(&count);
    EXPECT_EQ(TarnGetImage("", 0, &image), ErrorExportMissing);
    EXPECT_EQ(image, nullptr);
    EXPECT_EQ(TarnClose(), ErrorExportMissing);
    EXPECT_EQ(QuilletClose(0), ErrorExportMissing);
    EXPECT_EQ(ResultDescription(5), "") << "the library has no export to describe it";
    EXPECT_FALSE(GetDeviceInt(1, 1, count)) << "nothing is fetched that could not be freed";
    TarnFreeObject(&count);
}

TEST(Loading, ALongDescriptionIsCutAndTerminated)
{
    TarnOpen(nullptr, "Tarn test");
    char text[10] = "unchanged";
    TarnDescribeResult(ErrorExportMissing, text, 4);
    EXPECT_EQ(std::string(text).size(), 3u);

    ScriptedLibrary library;
    EXPECT_EQ(MissingExports(), 0u);
    library.descriptions[5] = std::string(3000, 'x');
    EXPECT_EQ(ResultDescription(5), std::string(1999, 'x'));
}
