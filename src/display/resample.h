// From an image to the display image: scaled, and through the table. The display image has one byte
// a pixel; its row 0 is the bottom line on screen.
#pragma once

#include "image/image.h"

#include <cstdint>

inline constexpr std::uint32_t DisplayBackground = 128; // gray where there is no picture

// Where RenderToDisplay draws a picture: the point (x, y) of the display, in pixels from its upper
// left corner, shows the source at (left + x scale, bottom + (display height - y) scale). Source
// row 0 is the picture's lowest.
struct PicturePlace
{
    double scale;        // source pixels a display pixel
    double left, bottom; // source coordinates of the display's lower left corner
};

// All sizes are above 0.
PicturePlace PlacePicture(std::uint32_t sourceWidth, std::uint32_t sourceHeight,
                          std::uint32_t displayWidth, std::uint32_t displayHeight, double zoom,
                          std::uint32_t cx, std::uint32_t cy);

struct ViewCenter
{
    std::uint32_t x, y; // source pixels
};

// The view center for which the display's lower left corner shows the source at left, bottom, or as
// near to it as nothing beyond the picture's edges is shown; where the display shows all of a side,
// the middle of that. Sizes are above 0.
ViewCenter CenterFor(const PicturePlace& place, std::uint32_t sourceWidth,
                     std::uint32_t sourceHeight, std::uint32_t displayWidth,
                     std::uint32_t displayHeight);

// Draws the source over the display image, as large as fits at zoom 1, around the view center
// (cx, cy in source pixels) above it; the picture starts at the left edge and is centered
// vertically. Pixels outside the picture stay as they are. lut: DisplayLutSize entries, of which
// the lowest 4,096 are used. Does nothing when an image is missing or has no pixels, when the
// source's pixels are not of 1 or 2 bytes, or when the zoom is not above 0. Of a picture of a
// million display pixels or more a second thread draws half, while this call lasts.
void RenderToDisplay(const CImage* source, const std::uint8_t* lut, double zoom, std::uint32_t cx,
                     std::uint32_t cy, CImage* display);

// The average of every step-th row and column of each block of scaleX x scaleY source pixels
// becomes, through the table, one display pixel. Return the number of display pixels visited.
std::uint32_t Resample8(const std::uint8_t* samples, std::uint32_t width, std::uint32_t height,
                        const std::uint8_t* lut, std::uint32_t cx, std::uint32_t cy, double scaleX,
                        double scaleY, std::uint32_t step, CImage& display);
std::uint32_t Resample16(const std::uint16_t* samples, std::uint32_t width, std::uint32_t height,
                         const std::uint8_t* lut, std::uint32_t cx, std::uint32_t cy, double scaleX,
                         double scaleY, std::uint32_t step, CImage& display);
