// The inspector's numbers, pictures and texts, without its window.
#include "display/lut.h"
#include "inspector/drawing.h"
#include "inspector/inspection.h"
#include "inspector/log_file.h"
#include "inspector/numbers_text.h"
#include "storage/test_files.h"

#include <gtest/gtest.h>

namespace {

// valueAt(x, y) from the top left.
template <typename ValueAt>
CLinkedPtr<CImage> Paint(std::uint32_t width, std::uint32_t height, ValueAt valueAt)
{
    CLinkedPtr<CImage> image(new CImage(width, height, 12, 2, 1));
    for (std::uint32_t y = 0; y < height; ++y) {
        for (std::uint32_t x = 0; x < width; ++x) {
            const auto value = static_cast<std::uint16_t>(valueAt(x, y));
            image->PutPixels(&value, 1, (height - 1 - y) * width + x);
        }
    }
    return image;
}

CLinkedPtr<CImage> Ramp(std::uint32_t width, std::uint32_t height, std::uint32_t start)
{
    return Paint(width, height, [=](auto x, auto y) { return start + x + 10 * y; });
}

TEST(Inspection, KeepsRegionsAndProfileFromImageToImage)
{
    Inspection inspection;
    inspection.AddRegion({2, 1, 2, 1});
    inspection.AddRegion({0, 0, 0, 5}); // is none
    inspection.AddRegion({4, 3, 9, 9});
    inspection.SetProfile({1, 2, 3, 2});
    EXPECT_EQ(inspection.Regions().at(0).statistics.count, 0u);

    inspection.SetImage(Ramp(6, 5, 100));
    ASSERT_EQ(inspection.Regions().size(), 2u);
    EXPECT_EQ(inspection.Regions()[0].statistics.mean, 112.5);
    EXPECT_EQ(inspection.Regions()[1].statistics.count, 4u) << "the part inside the image";
    EXPECT_EQ(inspection.Profile().at(2).mean, 123);
    EXPECT_EQ(inspection.Whole().maximum, 145u);
    EXPECT_EQ(inspection.ValueAt(5, 4), 145u);
    EXPECT_FALSE(inspection.ValueAt(6, 0));

    inspection.SetProfile({1, 0, 3, 4});
    inspection.SetImage(Ramp(4, 2, 0));
    ASSERT_EQ(inspection.Profile().size(), 2u) << "the points inside the image";
    EXPECT_EQ(inspection.Profile()[0].mean, 1);
    EXPECT_EQ(inspection.Regions()[0].statistics.mean, 12.5);
    EXPECT_EQ(inspection.Regions()[1].statistics.count, 0u);
    for (std::uint32_t i = 0; i < MostRegions; ++i) {
        inspection.AddRegion({i, 0, 1, 1});
    }
    ASSERT_EQ(inspection.Regions().size(), MostRegions) << "the oldest make room";
    EXPECT_EQ(inspection.Regions()[0].statistics.mean, 0);
    inspection.SetImage({});
    EXPECT_TRUE(!inspection.View() && inspection.Profile().empty() && TableOf(inspection).empty());
    inspection.ClearMarks();
    EXPECT_TRUE(inspection.Regions().empty() && !inspection.Line());
}

TEST(Inspection, ComparesWithTheReference)
{
    Inspection inspection;
    inspection.SetImage(Ramp(6, 5, 100));
    inspection.HoldReference();
    EXPECT_EQ(inspection.ToReference()->unequal, 0u);
    inspection.SetImage(Ramp(6, 5, 90));
    EXPECT_EQ(inspection.ToReference()->mean, -10);
    inspection.SetImage(Ramp(5, 6, 90));
    EXPECT_FALSE(inspection.ToReference());
    inspection.SetImage(Ramp(6, 5, 101));
    EXPECT_EQ(inspection.ToReference()->maximum, 1);
    inspection.SetImage({});
    inspection.HoldReference();
    EXPECT_FALSE(inspection.HasReference());
}

TEST(Inspection, WritesItsTable)
{
    Inspection inspection;
    const auto image = Paint(2, 2, [](auto x, auto y) { return x == 0 ? 0 : 10 + y; });
    image->m_imageId = 7;
    image->m_headerText = "ProgramName=\"A\tB\";";
    inspection.SetImage(Ramp(2, 2, 0));
    inspection.HoldReference();
    inspection.SetImage(image);
    inspection.AddRegion({1, 0, 1, 2});
    inspection.SetProfile({0, 1, 1, 1});
    EXPECT_EQ(TableOf(inspection),
              "Image\t7\tA B\t2 x 2, 12 bits\t50 % at 0, 0 % at 4095\n"
              "Region\tLeft\tTop\tWidth\tHeight\tMean\tSD (n - 1)\tSNR\tMedian\tMinimum\tMaximum\n"
              "Image\t0\t0\t2\t2\t5.25\t6.076\t0.864\t5\t0\t11\n"
              "1\t1\t0\t1\t2\t10.5\t0.707\t14.849\t10.5\t10\t11\n"
              "Mean difference\t-0.25\nSD of difference\t7.762\nNoise of one\t5.489\n"
              "Minimum difference\t-10\nMaximum difference\t9\nUnequal pixels\t2\n"
              "Profile x\ty\tvalue\n0\t1\t0\n1\t1\t11\n");
    EXPECT_EQ(ProfileText(inspection), "2 points from 0, 1 to 1, 1: 0 to 11");
}

// Every sample in the band has another gray than those beyond it, as the display's table shows.
TEST(Bands, AreWhatTheDisplayTableSpreads)
{
    for (const bool negative : {false, true}) {
        std::vector<std::uint8_t> lut(DisplayLutSize);
        const std::uint32_t center = negative ? 1000 : 2000, width = 800;
        BuildDisplayLut(lut.data(), DisplayLutSize, center, width, 1, negative, 4095);
        const SampleBand band = BandOf(center, width, negative, 4095);
        const auto gray = [&](std::int64_t value) { return lut[static_cast<std::size_t>(value)]; };
        EXPECT_EQ(gray(band.low - 1), negative ? 255 : 0) << negative;
        EXPECT_EQ(gray(band.low + 8), negative ? 252 : 2);
        EXPECT_EQ(gray(band.high - 8), negative ? 2 : 252);
        EXPECT_EQ(gray(band.high + 1), negative ? 0 : 255);
        const BandRange range = RangeOf(band, negative, 4095);
        EXPECT_TRUE(range.center == center && range.width == width);
    }
    const BandRange narrow = RangeOf({10, 9}, false, 4095);
    EXPECT_TRUE(narrow.center == 12 && narrow.width == 5);
    EXPECT_EQ(RangeOf({10, 20}, true, 4095).center, 0u) << "out of reach";

    const SampleBand band = {1024, 2048};
    EXPECT_EQ(ColumnOf(1024, 256, 4095), 64);
    EXPECT_EQ(EdgeAt(60, band, 256, 4095), BandEdge::Low);
    EXPECT_EQ(EdgeAt(130, band, 256, 4095), BandEdge::High);
    EXPECT_EQ(EdgeAt(96, band, 256, 4095), std::nullopt);
    const SampleBand step = {1024, 1024}; // is taken at the side of the press
    EXPECT_EQ(EdgeAt(63, step, 256, 4095), BandEdge::Low);
    EXPECT_EQ(EdgeAt(65, step, 256, 4095), BandEdge::High);
    EXPECT_EQ(EdgeAt(255, {0, 9000}, 256, 4095), BandEdge::High) << "edges outside stay in reach";
    EXPECT_EQ(ValueAtColumn(-3, 256, 4095), 0);
    EXPECT_EQ(ValueAtColumn(300, 256, 4095), 4095);
}

// The grays of a column, top first.
std::vector<int> Column(const CImage& picture, std::uint32_t x)
{
    std::vector<int> grays;
    for (std::uint32_t y = picture.m_height; y-- > 0;) {
        grays.push_back(picture.m_data[y * picture.m_width + x]);
    }
    return grays;
}

TEST(Pictures, HistogramHasBarsOverTheBand)
{
    CImage picture(16, 4, 8, 1, 1);
    Histogram counts{std::vector<std::uint32_t>(65536)};
    counts.counts[0] = 100;
    counts.counts[255 * 16] = 50;
    DrawHistogram(picture, counts, 4095, {1024, 2047}, false);
    const std::vector<int> white(4, 255), bar(4, 70), band(4, 208), edge(4, 0);
    EXPECT_EQ(Column(picture, 0), bar);
    EXPECT_EQ(Column(picture, 1), white);
    EXPECT_EQ(Column(picture, 4), edge);
    EXPECT_EQ(Column(picture, 5), band);
    EXPECT_EQ(Column(picture, 7), edge);
    EXPECT_EQ(Column(picture, 15), (std::vector<int>{255, 255, 70, 70}));
    DrawHistogram(picture, counts, 4095, {-100, 9000}, true);
    EXPECT_EQ(Column(picture, 15), bar) << "log 51 / log 101 is 0.85";
    EXPECT_EQ(Column(picture, 3), band);
}

TEST(Pictures, MarksStayInsideTheDisplay)
{
    CImage display(8, 6, 8, 1, 1);
    display.Fill(128);
    DrawMarkFrame(display, {-50, 2}, {5, 1000000});
    std::string grays;
    for (std::uint32_t x = 0; x < 8; ++x) {
        grays += Column(display, x)[2] == 128 ? '.' : '#';
    }
    EXPECT_EQ(grays, "######..");
    EXPECT_EQ(Column(display, 3)[4], 128);
    EXPECT_NE(Column(display, 5)[5], 128);
    DrawMarkNumber(display, {7, 5}, 4);
    EXPECT_EQ(Column(display, 7)[5], 0);
}

TEST(CallTable, SaysWhatEachCallDid)
{
    LibraryCall call;
    call.which = Export::GetDeviceParam;
    NoteArgument(call, std::uintptr_t{1});
    call.result = 0x200005;
    call.start = 1000;
    call.end = call.start + 50'100'000;
    const auto meaning = [](std::uint32_t) { return "first line\nsecond"; };
    EXPECT_TRUE(IsSlow(call));
    const std::string table = TableOf({call}, meaning);
    EXPECT_EQ(table.substr(0, table.find('\n')),
              "Time\tCall\tArguments\tResult\tText\tMilliseconds\tMark");
    EXPECT_EQ(table.substr(table.find("\tTarnGet")),
              "\tTarnGetDeviceParam\t1\t0x200005\tfirst line second\t50.1\tslow\n");
    call.end = 0;
    EXPECT_EQ(TextsOf(call, meaning)[6], "running");
}

TEST(SavedLog, ReplacesNoFile)
{
    const std::string first = SaveCallLog("one\n"), second = SaveCallLog("two\n");
    EXPECT_NE(first, second);
    EXPECT_EQ(ReadBytes(first) + ReadBytes(second), "one\ntwo\n");
    std::filesystem::remove(first);
    std::filesystem::remove(second);
}

} // namespace
