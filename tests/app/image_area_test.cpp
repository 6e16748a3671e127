// The image area in fonts that make it any number of pixels wide.
#include "display/resample.h"
#include "platform/boxes.h"
#include "platform/field_text.h"
#include "support/headless_program.h"
#include "support/scripted_library.h"

#include <gtest/gtest.h>

namespace {

constexpr std::uint32_t ImageEvent = 2;

// A light left column before dark ones stays upright and at the edge only if the rows of the
// display image are as long as the bitmap that is painted says.
TEST(ImageArea, IsCutToAWidthOfWholeWordsAndPaintedUpright)
{
    std::vector<std::uint8_t> pixels(32);
    for (std::size_t row = 0; row < 4; ++row) {
        pixels[row * 8] = 0xFF;
        pixels[row * 8 + 1] = 0x0F;
    }
    for (const auto& [baseWidth, width] : {std::pair{6, 740}, {9, 1112}, {11, 1360}}) {
        ScriptedLibrary library;
        ScriptedImage& image = library.images.emplace_back();
        image.width = image.height = 4;
        image.pixels = pixels;
        HeadlessProgram program;
        headless::SetBaseUnits(baseWidth, BaseUnitY);
        Operator hand;
        hand.WhenBox("Remove image?", IDNO);
        hand.Run(program, [&] {
            program.Send(WM_TARN_EVENT, 1, ImageEvent);
            headless::Pump();
        });
        const headless::Picture picture = headless::LastPicture();
        headless::Reset();

        ASSERT_EQ(picture.width, width);
        ASSERT_GT(picture.height, 0);
        for (int row = 1; row < picture.height - 1; ++row) {
            const std::uint8_t* const line =
                &picture.grays[static_cast<std::size_t>(row) * static_cast<std::size_t>(width)];
            ASSERT_EQ(line[0], 255) << "row " << row << " of " << width << " pixels";
            ASSERT_EQ(line[picture.height / 2], 0) << "row " << row;
            ASSERT_EQ(line[width - 1], DisplayBackground) << "row " << row;
        }
    }
    headless::SetBaseUnits(BaseUnitX, BaseUnitY);
}

} // namespace
