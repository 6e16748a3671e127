// Rows in viewing order against the orientation table, read pixel by pixel.
#include "test_image.h"

namespace {

TEST(Rows, EveryCodeAndPixelSizeReadsAsTheOrientationTableSays)
{
    for (const std::uint32_t pixelBytes : reference::PixelSizes) {
        for (std::uint32_t code = 0; code < CImage::OrientationCount; ++code) {
            for (const std::uint32_t divisor : {1u, 2u, 37u}) {
                SCOPED_TRACE(testing::Message()
                             << pixelBytes << " bytes, code " << code << ", divisor " << divisor);
                CImage image(37, 21, 8, pixelBytes, divisor, 1);
                reference::FillWithNoise(image);
                image.m_orientation = code;
                const std::uint32_t rows = code & 4 ? 21 : 37 / divisor;
                ASSERT_TRUE(image.ViewRowCount() == rows &&
                            image.ViewRowLength() == (code & 4 ? 37u : 21u));
                for (std::uint32_t r = 0; r < rows; ++r) {
                    ASSERT_EQ(ViewRow(image, r), reference::ViewRow(image, r)) << "row " << r;
                }
                EXPECT_EQ(ViewRow(image, rows + 5), ViewRow(image, rows - 1));
            }
        }
    }
}

TEST(Rows, AShortDestinationGetsWholePixelsAndNothingBeyondThem)
{
    // Pixels 0..11 in 4 columns and 3 rows; room for two pixels and a half.
    constexpr std::uint16_t Pixels[] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11};
    constexpr std::uint16_t Delivered[CImage::OrientationCount][2] = {
        {7, 3}, {4, 0}, {3, 7}, {0, 4}, {9, 8}, {8, 9}, {1, 0}, {0, 1}};
    for (std::uint32_t code = 0; code < CImage::OrientationCount; ++code) {
        CImage image(4, 3, 16, 0, 1);
        image.PutPixels(Pixels, 12, 0);
        image.m_orientation = code;
        std::uint16_t row[] = {99, 99, 99};
        EXPECT_EQ(image.GetRow(0, row, 5), 2u);
        EXPECT_TRUE(std::equal(row, row + 2, Delivered[code])) << "code " << code;
        EXPECT_EQ(row[2], 99u) << "code " << code;
    }
}

TEST(Rows, ThereIsNoRowWithoutPixelsOrUnderTooWideADivisor)
{
    CImage empty(0, 7, 8, 0, 1), divided(4, 3, 8, 0, 5, 1);
    divided.m_orientation = 3;
    std::uint8_t row[8];
    for (const CImage* image : {&empty, &divided}) {
        EXPECT_TRUE(!image->RowAddress(0) && image->GetRow(0, row, sizeof row) == 0);
    }
}

} // namespace
