// Turning the storage: what a viewer sees stays, and every turn is the one its table row says.
#include "test_image.h"

#include <cstddef>
#include <new>

namespace {

bool isMemoryRefused = false; // to whoever asks for a block without an exception

} // namespace

void* operator new[](std::size_t size, const std::nothrow_t&) noexcept
{
    try {
        return isMemoryRefused ? nullptr : ::operator new[](size);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

namespace {

// One pixel, lines, odd sizes, squares, and blocks of several tiles with ragged edges.
constexpr std::pair<std::uint32_t, std::uint32_t> Sizes[] = {
    {1, 1}, {1, 9}, {9, 1}, {5, 4}, {33, 33}, {64, 64}, {97, 161}, {150, 70}};

TEST(Orientation, EveryChangeKeepsThePictureAndTurnsTheBlockAsTheReferenceDoes)
{
    for (const auto& [width, height] : Sizes) {
        for (const std::uint32_t pixelBytes : reference::PixelSizes) {
            for (std::uint32_t from = 0; from < CImage::OrientationCount; ++from) {
                for (const auto& [turn, name, run] : reference::Turns) {
                    SCOPED_TRACE(testing::Message()
                                 << width << " x " << height << " of " << pixelBytes << ", code "
                                 << from << ", " << name);
                    CImage image(width, height, 8, pixelBytes, 1);
                    reference::FillWithNoise(image);
                    image.m_orientation = from;
                    const std::vector<Bytes> seen = ViewRows(image);
                    const std::uint8_t* block = image.m_data;
                    const reference::Picture expected =
                        reference::Turned({width, height, pixelBytes, from, Block(image)}, turn);
                    const CLinkedPtr<CImage> asked = image.Clone();
                    asked->SetOrientation(expected.orientation);
                    (image.*run)();
                    ASSERT_EQ(image.m_data, block);
                    for (const CImage* turned : {&image, asked.Get()}) {
                        ASSERT_EQ(turned->m_width, expected.width);
                        ASSERT_EQ(turned->m_orientation, expected.orientation);
                        ASSERT_TRUE(Block(*turned) == expected.block && ViewRows(*turned) == seen);
                    }
                }
            }
        }
    }
}

TEST(Orientation, UnknownCodesAndEmptyImagesAreLeftAlone)
{
    CImage image(3, 2, 8, 0, 1), empty(0, 2, 8, 0, 1);
    image.SetOrientation(8);
    empty.SetOrientation(0);
    EXPECT_TRUE(image.m_orientation == 5 && empty.m_orientation == 5 && empty.m_height == 2);
}

TEST(Orientation, WithoutMemoryAPictureThatIsNoSquareIsNotTransposed)
{
    for (const auto& [turn, name, run] : reference::Turns) {
        for (const std::uint32_t width : {3u, 2u}) {
            SCOPED_TRACE(testing::Message() << name << ", width " << width);
            CImage image(width, 2, 8, 0, 1);
            reference::FillWithNoise(image);
            const reference::Picture old{width, 2, 1, image.m_orientation, Block(image)};
            const bool isLeftAlone = turn >= reference::Turn::Transpose && width != 2;
            const reference::Picture expected = isLeftAlone ? old : reference::Turned(old, turn);
            isMemoryRefused = true;
            (image.*run)();
            isMemoryRefused = false;
            EXPECT_EQ(image.m_width, expected.width);
            EXPECT_EQ(image.m_height, expected.height);
            EXPECT_EQ(image.m_orientation, expected.orientation);
            EXPECT_EQ(Block(image), expected.block);
        }
    }
}

} // namespace
