// Renders through the window's range, table and resampler.
#include "q32/shown_picture.h"

#include "display/resample.h"
#include "q32/picture_format.h"

#include <cstring>
#include <vector>

CLinkedPtr<CImage> ShowPicture(const CImage& picture, const Appearance& appearance,
                               std::uint32_t width, std::uint32_t height)
{
    const std::uint32_t maxValue = MaxSampleValue(picture.m_bitsPerSample);
    ScaleRange window = appearance.window.value_or(ScaleRange{});
    if (!appearance.window) {
        window = FitScaleRange(picture, appearance.fit).value_or(ScaleRange{});
        if (appearance.isNegative) {
            window.center = maxValue - window.center;
        }
    }
    std::vector<std::uint8_t> lut(DisplayLutSize);
    BuildDisplayLut(lut.data(), DisplayLutSize, window.center, window.width, appearance.gamma,
                    appearance.isNegative, maxValue);

    // The last column of a display image stays free, so the display is one column wider.
    const CLinkedPtr<CImage> display = NewPicture(std::uint64_t{width} + 1, height, 8);
    display->Fill(0);
    RenderToDisplay(&picture, lut.data(), 1.0, picture.m_width / 2, picture.m_height / 2,
                    display.Get());
    CLinkedPtr<CImage> shown = NewPicture(width, height, 8);
    for (std::uint32_t y = 0; y < height; ++y) {
        std::memcpy(RowFromTop(*shown, y), RowFromTop(*display, y), width);
    }
    shown->m_headerText = picture.m_headerText;
    shown->m_userId = picture.m_userId;
    shown->m_imageId = picture.m_imageId;
    return shown;
}
