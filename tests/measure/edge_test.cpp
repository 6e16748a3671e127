// The response of slanted edges whose blur is known in closed form.
#include "measure/edge.h"
#include "planted.h"

#include <gtest/gtest.h>
#include <numbers>

namespace {

constexpr double Dark = 1000, Bright = 9000;

struct Edge
{
    double degrees, sigma, noise;
    bool isVertical, isMirrored;
};

std::unique_ptr<CImage> PaintEdge(const Edge& edge, std::uint32_t width, std::uint32_t height)
{
    const double angle = edge.degrees * std::numbers::pi / 180;
    return Paint(width, height, 14, edge.noise, 11, [&](double x, double y) {
        const double across = edge.isVertical ? x - width * 0.5 : y - height * 0.5;
        const double along = edge.isVertical ? y - height * 0.5 : x - width * 0.5;
        const double distance = across * std::cos(angle) - along * std::sin(angle);
        const double share = 0.5 * (1 + std::erf(distance / edge.sigma / std::sqrt(2.0)));
        return Dark + (Bright - Dark) * (edge.isMirrored ? 1 - share : share);
    });
}

// A Gauss blur of sigma has the MTF exp(-2 (pi sigma f)^2). An edge response of m bins, each the
// mean of rows / 10 pixels with deviation SD, has in its differences at frequency f a noise of
// 2 sin(pi f / 10) sqrt(m) SD / sqrt(rows / 10) over the step, and the step itself, the difference
// of the first and the last bin, has one of sqrt 2: four of these deviations. Without
// noise there is what interpolation over h = 1/10 leaves, h^2 / 8 of the curvature of the response,
// 0.242 / sigma^2 at most, at the two ends of the differences in the 60 sigma bins of the blur.
TEST(Edge, HasTheMtfOfItsBlur)
{
    const Edge edges[] = {{2, 0.7, 0, true, false},
                          {3, 1.0, 0, false, false},
                          {-2.5, 1.5, 0, true, true},
                          {2, 0.7, 40, true, false},
                          {-4, 1.2, 80, false, true}};
    for (const Edge& edge : edges) {
        SCOPED_TRACE(testing::Message() << edge.degrees << " degrees, sigma " << edge.sigma);
        const auto image = PaintEdge(edge, 120, 150);
        std::string reason;
        const auto response = EdgeResponseOf(ViewOfAll(*image), reason);
        ASSERT_TRUE(response) << reason;
        EXPECT_EQ(response->isVertical, edge.isVertical);
        const double rows = edge.isVertical ? 150 : 120;
        const double deviation = std::sqrt(edge.noise * edge.noise + 1 / 12.0);
        const double bins = static_cast<double>(response->edge.size());
        const double interpolation =
            2 * std::sqrt(60 * edge.sigma) * 0.01 / 8 * 0.242 / (edge.sigma * edge.sigma);
        for (const MtfPoint& point : response->mtf) {
            const double sine = std::sin(std::numbers::pi * point.frequency / EdgeOversampling);
            const double truth =
                std::exp(-2 * std::pow(std::numbers::pi * edge.sigma * point.frequency, 2));
            const double noise = (2 * sine * std::sqrt(bins) + truth * std::sqrt(2.0)) * deviation /
                                 std::sqrt(rows / EdgeOversampling) / (Bright - Dark);
            ASSERT_NEAR(point.value, truth, 4 * noise + interpolation) << point.frequency;
        }
        EXPECT_NEAR(std::abs(response->angle), std::abs(edge.degrees), 0.05);
        EXPECT_NEAR(response->step, Bright - Dark, 5 * deviation + 1);
        if (edge.noise > 0) { // else rounding is no noise
            EXPECT_NEAR(response->noise, deviation, 5 * deviation / std::sqrt(rows * 20));
        }
    }
}

TEST(Edge, SaysWhyThereIsNone)
{
    const auto reasonOf = [](const CImage& image) {
        std::string reason;
        EXPECT_FALSE(EdgeResponseOf(ViewOfAll(image), reason));
        return reason;
    };
    const auto flat = [](auto, auto) { return 100; };
    EXPECT_EQ(reasonOf(*Paint(100, 100, 12, 0, 1, flat)), "there is no edge");
    EXPECT_EQ(reasonOf(*Paint(100, 100, 12, 9, 1, flat)), "the edge does not rise above the noise");
    EXPECT_EQ(reasonOf(*Paint(7, 100, 12, 0, 1, flat)), "the region is too small for an edge");
    EXPECT_EQ(reasonOf(*PaintEdge({0, 1, 0, true, false}, 100, 100)),
              "the edge is not slanted enough, or too short");
    EXPECT_EQ(reasonOf(*PaintEdge({30, 1, 0, true, false}, 100, 100)),
              "the edge is slanted too much");
}

TEST(Edge, InterpolatesBetweenPointsOfTheMtf)
{
    const std::vector<MtfPoint> mtf = {{0, 1}, {0.1, 0.6}, {0.2, 0.4}, {0.3, 0.45}};
    EXPECT_DOUBLE_EQ(*FrequencyAt(mtf, 0.5), 0.15);
    EXPECT_FALSE(FrequencyAt(mtf, 0.1));
}

} // namespace
