// Defective pixels that were planted into flats and darks with noise and shading.
#include "measure/defects.h"
#include "planted.h"

#include <gtest/gtest.h>
#include <map>
#include <tuple>

namespace {

constexpr std::uint32_t Width = 250, Height = 200;
constexpr double Offset = 200;

using Planted = std::map<std::pair<std::uint32_t, std::uint32_t>, std::uint8_t>; // (x, y): rules

double Shading(double x, double y)
{
    return 2500 - 0.8 * x - 1.1 * y; // a quarter from corner to corner
}

// Response as a share of what a sound pixel has.
double ShareOf(std::uint8_t rules)
{
    return (rules & Dead) != 0              ? 0
           : (rules & UnderResponding) != 0 ? 0.4
           : (rules & OverResponding) != 0  ? 1.6
           : (rules & NonUniformPixel) != 0 ? 1.03
                                            : 1;
}

ImageSums Sum(std::uint32_t images, double noise, const Planted& planted, bool isExposed)
{
    ImageSums sums;
    for (std::uint32_t seed = 0; seed < images; ++seed) {
        const auto image =
            Paint(Width, Height, 12, 0, 0, [](auto x, auto y) { return Shading(x, y); });
        std::mt19937 random(isExposed ? seed + 100 : seed);
        std::normal_distribution<double> normal(0, noise);
        for (std::uint32_t y = 0; y < Height; ++y) {
            for (std::uint32_t x = 0; x < Width; ++x) {
                const auto found = planted.find({x, y});
                const std::uint8_t rules = found == planted.end() ? 0 : found->second;
                const double share = isExposed ? ShareOf(rules) : 0;
                const double scatter =
                    normal(random) * ((rules & Noisy) != 0 && !isExposed ? 12 : 1);
                SampleOf(*image, x, y) =
                    static_cast<std::uint16_t>(Offset + share * Shading(x, y) + scatter + 0.5);
            }
        }
        EXPECT_TRUE(AddImage(sums, ViewOfAll(*image), !isExposed));
    }
    return sums;
}

Planted Found(const Defects& defects)
{
    Planted found;
    for (const DefectivePixel& pixel : defects.pixels) {
        found[{pixel.x, pixel.y}] = pixel.rules;
    }
    return found;
}

// Eight flats of noise 6 leave 2.1 of 2,000, 0.1 %: the 1 % of the narrowest rule is ten times
// that, and one in 10^20 sound pixels breaks it. The smallest planted fault, 3 %, is as clear.
TEST(Defects, AreThosePlantedAndNoOthers)
{
    Planted planted = {{{0, 0}, Dead},
                       {{249, 199}, OverResponding},
                       {{100, 60}, OverResponding},
                       {{101, 61}, UnderResponding},
                       {{30, 150}, NonUniformPixel},
                       {{200, 40}, Noisy}};
    for (std::uint32_t y = 20; y < 60; ++y) {
        planted[{150, y}] = Dead; // a line
    }
    for (std::uint32_t y = 100; y < 140; ++y) {
        planted[{60, y}] = planted[{61, y}] = Dead; // a band is no line
    }
    for (std::uint32_t x = 5; x < 15; ++x) {
        planted[{x, 190}] = UnderResponding; // ten are too few for a line
    }
    const Defects defects = FindDefects(Sum(8, 6, planted, true), Sum(30, 6, planted, false));
    EXPECT_EQ(defects.decidedRules,
              Dead | UnderResponding | OverResponding | Noisy | NonUniformPixel);
    Planted found = Found(defects);
    ASSERT_EQ(found.size(), planted.size());
    for (const auto& [place, rules] : planted) {
        EXPECT_EQ(found[place] & rules, rules) << place.first << ", " << place.second;
        EXPECT_EQ(found[place] & ~(rules | NonUniformPixel), 0); // which the larger faults are too
    }

    using Group =
        std::tuple<bool, std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t>;
    std::vector<Group> groups;
    for (const auto& [isLine, bounds, pixels] : defects.groups) {
        groups.emplace_back(isLine, bounds.x, bounds.y, bounds.width, bounds.height, pixels);
    }
    EXPECT_EQ(groups, (std::vector<Group>{{true, 150, 20, 1, 40, 40},
                                          {false, 100, 60, 2, 2, 2},
                                          {false, 60, 100, 2, 40, 80},
                                          {false, 5, 190, 10, 1, 10}}));
}

TEST(Defects, CrossingLinesAreTwoLines)
{
    Planted planted;
    for (std::uint32_t y = 0; y < Height; ++y) {
        planted[{70, y}] = Dead;
    }
    for (std::uint32_t x = 0; x < Width; ++x) {
        planted[{x, 90}] = Dead;
    }
    const Defects defects = FindDefects(Sum(1, 0, planted, true), {});
    EXPECT_EQ(defects.groups.size(), 2u);
    EXPECT_TRUE(defects.groups[0].isLine && defects.groups[1].isLine);
}

TEST(Defects, LeaveOpenWhatTheImagesCannotDecide)
{
    // One flat with 1 % of noise: a third of sound pixels would break the rule on 1 %.
    const Defects defects = FindDefects(Sum(1, 20, {}, true), Sum(29, 5, {}, false));
    EXPECT_EQ(defects.decidedRules, Dead | UnderResponding | OverResponding);
    EXPECT_TRUE(defects.pixels.empty() && defects.groups.empty());
    // The noise of one flat and of the mean of the darks; 50,000 differences, of which the median
    // is within 5 * 1.17 / sqrt(50,000).
    const double noise = std::sqrt(20 * 20 + 25 / 29.0) / Shading(125, 100);
    EXPECT_NEAR(defects.responseNoise, noise, noise * 0.03);
    ImageSums sums = Sum(1, 0, {}, true);
    const auto other = Paint(3, 3, 12, 0, 1, [](auto, auto) { return 1; });
    EXPECT_FALSE(AddImage(sums, ViewOfAll(*other), false));
}

} // namespace
