// The squares of a flat image.
#include "measure/uniformity.h"
#include "planted.h"

#include <gtest/gtest.h>

namespace {

// Seven by five squares of 20 pixels (0.5 mm a pixel), of which one is brighter and one noisier.
TEST(Uniformity, FindsPlantedSquares)
{
    constexpr double Noise = 10, Level = 2000, Step = 200;
    const auto isIn = [](std::uint32_t x, std::uint32_t y, std::uint32_t column,
                         std::uint32_t row) { return x / 20 == column + 1 && y / 20 == row + 1; };
    auto image = Paint(185, 147, 12, Noise, 3, [&](std::uint32_t x, std::uint32_t y) {
        return isIn(x, y, 4, 2) ? Level + Step : Level;
    });
    std::mt19937 random(5);
    std::normal_distribution<double> normal(Level, 3 * Noise);
    for (std::uint32_t y = 20; y < 40; ++y) {
        for (std::uint32_t x = 40; x < 60; ++x) {
            SampleOf(*image, x, y) = static_cast<std::uint16_t>(normal(random));
        }
    }
    const Uniformity uniformity = UniformityOf(ViewOfAll(*image), 0.5);
    ASSERT_TRUE(uniformity.columns == 7 && uniformity.rows == 5);
    const UniformitySquare& bright = uniformity.squares[2 * 7 + 4];
    EXPECT_TRUE(bright.rect.x == 100 && bright.rect.y == 60 && bright.rect.width == 20);

    // A square's mean of 400 samples is within 5 SD / 20 of the truth, its SD within
    // 5 SD / sqrt 800; the neighbors' mean is nearer still.
    const double meanBound = 5 * Noise / 20, ratioBound = 2 * meanBound / Level;
    EXPECT_NEAR(bright.signal, Level + Step, meanBound);
    EXPECT_NEAR(bright.noise, Noise, 5 * Noise / std::sqrt(800.0));
    EXPECT_NEAR(uniformity.signal.local, Step / Level, ratioBound);
    EXPECT_NEAR(uniformity.signal.global, Step / (Level + Step / 35), 2 * ratioBound);
    EXPECT_EQ(uniformity.signal.local, bright.localSignal);
    const UniformitySquare& noisy = uniformity.squares[1];
    EXPECT_NEAR(noisy.noise, 3 * Noise, 5 * 3 * Noise / std::sqrt(800.0));
    // 3 / 1 - 1, each noise off by at most 5 / sqrt 800 of itself.
    EXPECT_NEAR(uniformity.noise.local, 2, 2 * 3 * 5 / std::sqrt(800.0));
}

TEST(Uniformity, NeedsASquareWithinTheBorder)
{
    const auto flat = [](auto, auto) { return 100; };
    const auto small = Paint(299, 400, 12, 0, 1, flat), enough = Paint(300, 399, 12, 0, 1, flat);
    EXPECT_TRUE(UniformityOf(ViewOfAll(*small), 0.1).squares.empty());
    const Uniformity one = UniformityOf(ViewOfAll(*enough), 0.1);
    EXPECT_TRUE(one.squares.size() == 1 && one.signal.local == 0 && one.signal.global == 0 &&
                one.squares[0].noise == 0);
}

} // namespace
