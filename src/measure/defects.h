// Defective pixels, by those rules of ASTM E2597 that flat and dark images can decide.
#pragma once

#include "measure/gray_view.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// Sums of images of one size, pixel by pixel, row by row from the top left. Add up flats (evenly
// exposed) and darks (not exposed), each in one of these.
struct ImageSums
{
    std::uint32_t width = 0, height = 0, images = 0;
    std::vector<std::uint32_t> sums;
    std::vector<std::uint64_t> squares; // only kept when asked for
    std::uint64_t total = 0;            // of all sums
};
// Adds an image to the sums, which take its size from the first; false, and nothing added, when the
// sizes differ or there are as many images already as the sums have room for. withSquares: the same
// in every call.
inline constexpr std::uint32_t MostSummedImages = 32768;
bool AddImage(ImageSums& sums, const GrayView& view, bool withSquares);

// The rules, as bits. The response of a pixel is its mean in the flats less that in the darks (less
// nothing without darks), with the other sign when the values of the sensor fall with exposure, as
// the mean of all pixels shows. Without darks they must rise. "Around" is the square that many
// pixels wide with the pixel in its middle, as far as it lies in the image.
enum DefectRule : std::uint8_t
{
    Dead = 1,             // response none, or less than 5 % of the median around, 21 x 21
    UnderResponding = 2,  // response less than 60 % of the median around, 21 x 21, but not dead
    OverResponding = 4,   // response more than 130 % of the median around, 21 x 21
    Noisy = 8,            // standard deviation in the darks more than 6 times the median one
    NonUniformPixel = 16, // response off the median around, 9 x 9, by more than 1 %
};

struct DefectRuleName
{
    DefectRule rule;
    const char* name;
};
inline constexpr DefectRuleName DefectRuleNames[] = {{Dead, "dead"},
                                                     {UnderResponding, "under-responding"},
                                                     {OverResponding, "over-responding"},
                                                     {Noisy, "noisy"},
                                                     {NonUniformPixel, "non-uniform"}};

// The rule on noise takes a series of darks; the rule on non-uniformity takes flats so many or so
// bright that what is left of their noise cannot break it.
inline constexpr std::uint32_t DarksForNoise = 30;
inline constexpr double MostNoiseForNonUniformity = 0.002; // of the response, standard deviation

struct DefectivePixel
{
    std::uint32_t x, y;
    std::uint8_t rules; // bits of DefectRule
};

// Defective pixels that touch, also at corners. A line is a straight run of more than 10 of them
// along a row or column, of which at most 10 % have a defective pixel beside the run; what is left
// when the lines are taken away forms the clusters, of two pixels or more.
struct DefectGroup
{
    bool isLine;
    PixelRect bounds;
    std::uint32_t pixels;
};

struct Defects
{
    std::vector<DefectivePixel> pixels; // row by row from the top left
    std::vector<DefectGroup> groups;
    std::uint8_t decidedRules = 0; // bits of the rules that the images could decide
    // Of the mean flats, as a share of the response; nothing where no pixel has a neighbor in its
    // row.
    std::optional<double> responseNoise;
};

// darks may be empty (0 images); otherwise it has the size of the flats, of which there is one at
// least.
Defects FindDefects(const ImageSums& flats, const ImageSums& darks);
