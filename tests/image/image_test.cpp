// Construction of images of every format, and operations on all samples.
#include "test_image.h"

#include <algorithm>
#include <array>
#include <tuple>

namespace {

TEST(Image, TheFormatFollowsFromTheRequest)
{
    constexpr std::uint32_t Most = 0xFFFFFFFF;
    // width, height, bits, pixel bytes asked for, color type; pixel bytes, samples, size made
    constexpr std::array<std::uint32_t, 8> Cases[] = {
        {640, 480, 12, 0, 1, 2, 1, 640 * 480 * 2},
        {640, 480, 12, 4, 1, 4, 1, 640 * 480 * 4},
        {5, 3, 9, 1, 1, 2, 1, 30},
        {5, 3, 8, 0, 2, 3, 3, 45},
        {5, 3, 16, 0, 2, 6, 3, 90},
        {5, 3, 32, 0, 7, 4, 1, 60},
        {0, 3, 8, 0, 1, 1, 1, 0},
        {5, 3, 0, 0, 1, 0, 1, 0},
        {65536, 65537, 8, 0, 1, 1, 1, 0},
        {Most, Most, Most, 0, 2, 0x60000000, 3, 0},
    };
    for (const auto& [width, height, bits, asked, colorType, pixelBytes, samples, size] : Cases) {
        SCOPED_TRACE(testing::Message() << width << " x " << height << ", bits " << bits);
        const CImage image(width, height, bits, asked, colorType);
        EXPECT_TRUE(image.m_pixelBytes == pixelBytes && image.m_samples == samples);
        EXPECT_TRUE(image.m_dataSize == size && (image.m_data != nullptr) == (size != 0));
    }
}

// One pixel whose bytes were A5 before; sample bytes little-endian.
TEST(Image, FillAndInvertChangeTheSamplesOfTheFormat)
{
    // bits, pixel bytes asked for, color type, value; filled, inverted
    using Case =
        std::tuple<std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t, Bytes, Bytes>;
    const Case cases[] = {
        {5, 0, 1, 0x1280, {0x80}, {0xBA}},
        {12, 0, 1, 0x51234, {0x34, 0x12}, {0x5A, 0xAA}},
        {12, 4, 1, 0x51234, {0x34, 0x12, 0x05, 0}, {0x5A, 0xAA, 0xA5, 0xA5}},
        {32, 0, 1, 0x12345678, {0x78, 0x56, 0x34, 0x12}, {0x5A, 0x5A, 0x5A, 0x5A}},
        {8, 0, 2, 0x80, {0x80, 0x80, 0x80}, {0x5A, 0x5A, 0x5A}},
        {16, 0, 2, 0x1234, {0x34, 0x12, 0x34, 0x12, 0x34, 0x12}, Bytes(6, 0x5A)},
        {24, 0, 1, 0x80, Bytes(3, 0xA5), Bytes(3, 0xA5)},
        {16, 0, 3, 0x1234, {0x34, 0x12}, Bytes(2, 0xA5)},
        {0, 4, 1, 0, Bytes(4, 0), Bytes(4, 0xA5)},
    };
    for (const auto& [bits, asked, colorType, value, filled, inverted] : cases) {
        CImage image(1, 1, bits, asked, colorType);
        std::fill_n(image.m_data, image.m_dataSize, std::uint8_t{0xA5});
        EXPECT_EQ(Block(*image.InvertedCopy()), inverted) << bits << " bits";
        image.Fill(value);
        EXPECT_EQ(Block(image), filled) << bits << " bits";
    }
}

TEST(Image, PutPixelsCopiesWhatFits)
{
    constexpr std::uint32_t Most = 0xFFFFFFFF;
    const Bytes source(24 * 3, 7);
    for (const auto& [count, first, copied] : std::initializer_list<std::array<std::uint32_t, 3>>{
             {3, 0, 3}, {50, 14, 10}, {1, 24, 0}, {1, 25, 0}, {Most, 0, 24}, {24, Most, 0}}) {
        CImage image(6, 4, 8, 0, 2);
        image.Fill(0);
        EXPECT_EQ(image.PutPixels(source.data(), count, first), copied) << first;
        EXPECT_EQ(std::count(image.m_data, image.m_data + image.m_dataSize, 7), 3 * copied);
        EXPECT_TRUE(copied == 0 || image.m_data[3 * first] == 7);
    }
}

TEST(Image, ACloneOwnsItsPixelsAndCarriesEverything)
{
    CImage image(6, 4, 12, 0, 2, 1);
    reference::FillWithNoise(image);
    image.m_orientation = 2;
    image.m_imageId = 3;
    image.m_imageTag = 4;
    image.m_headerText = "kV=70;";
    image.m_userId = "My ID";
    const CLinkedPtr<CImage> copy = image.Clone();
    EXPECT_TRUE(copy->m_data != image.m_data && Block(*copy) == Block(image));
    EXPECT_TRUE(copy->m_widthDivisor == 2 && copy->m_orientation == 2);
    EXPECT_TRUE(copy->m_imageId == 3 && copy->m_imageTag == 4);
    EXPECT_TRUE(copy->m_headerText == "kV=70;" && copy->m_userId == "My ID");
}

} // namespace
