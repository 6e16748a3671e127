// A picture in gray levels as the main window shows it, by the window's own functions.
#pragma once

#include "display/lut.h"

#include <optional>

struct Appearance
{
    std::optional<ScaleRange> window; // as typed into the fields; without one it is fitted
    double fit = 100;                 // percent of the occupied range that a fitted window covers
    double gamma = 1;
    bool isNegative = false; // a fitted window is mirrored, as the check box does
};

// Renders a picture of gray samples to width x height pixels of 8 bits, no larger than it is. The
// texts and numbers of the picture come along.
CLinkedPtr<CImage> ShowPicture(const CImage& picture, const Appearance& appearance,
                               std::uint32_t width, std::uint32_t height);
