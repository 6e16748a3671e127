// The measures find what the simulator's scenes hold, as its truth file states it.
#include "image/image.h"
#include "measure/defects.h"
#include "measure/difference.h"
#include "measure/edge.h"
#include "measure/histogram.h"
#include "measure/uniformity.h"
#include "simulator/tarn/image_maker.h"
#include "storage/test_files.h"

#include <cmath>
#include <gtest/gtest.h>
#include <memory>
#include <nlohmann/json.hpp>
#include <numbers>

namespace {

using Json = nlohmann::json;

// A deviation that a normally distributed number exceeds once in two million.
constexpr double Far = 5;

class Scenes : public testing::Test
{
protected:
    Scenes()
    {
        settings.imageWidth = 200;
        settings.imageHeight = 160;
        settings.truthFile = folder / "truth";
    }

    std::unique_ptr<CImage> Expose()
    {
        tarn::Capture capture;
        capture.imageId = ++m_images;
        capture.device.number = 1;
        m_maker.Make(capture, settings);
        const tarn::StoredImage& stored = capture.image;
        auto image =
            std::make_unique<CImage>(stored.width, stored.height, stored.bitsPerSample, 2, 1);
        image->PutPixels(stored.pixels.data(), static_cast<std::uint32_t>(stored.pixels.size()), 0);
        truth = Json::parse(ReadBytes(settings.truthFile));
        std::filesystem::remove(settings.truthFile); // to which the next image's would be added
        return image;
    }

    ImageSums Sum(tarn::Scene scene, std::uint32_t images)
    {
        settings.scene = scene;
        ImageSums sums;
        for (std::uint32_t i = 0; i < images; ++i) {
            EXPECT_TRUE(AddImage(sums, *ViewOf(*Expose()), scene == tarn::Scene::Dark));
        }
        return sums;
    }

    double Truth(const char* name) const { return truth.at(name); }
    // Rounding adds 1/12 to the variance.
    double Noise() const { return std::hypot(Truth("noise"), std::sqrt(1 / 12.0)); }

    const TestFolder folder;
    tarn::Settings settings;
    Json truth; // of the last image

private:
    tarn::ImageMaker m_maker{11};
    std::uint32_t m_images = 0;
};

// The mean of n samples lies within Noise / sqrt n of the truth, their deviation within
// Noise / sqrt 2n; in the difference of two images each is sqrt 2 larger.
TEST_F(Scenes, HaveTheirMeanAndNoise)
{
    for (const tarn::Scene scene : {tarn::Scene::Flat, tarn::Scene::Dark}) {
        settings.scene = scene;
        const auto first = Expose(), second = Expose();
        const Statistics statistics = StatisticsOf(CountSamples(*ViewOf(*second)));
        const auto n = static_cast<double>(statistics.count);
        const double level = Truth("dark_value") - Truth("signal");
        EXPECT_NEAR(statistics.mean, level, Far * Noise() / std::sqrt(n));
        EXPECT_NEAR(statistics.standardDeviation, Noise(), Far * Noise() / std::sqrt(2 * n));
        const auto difference = DifferenceOf(*ViewOf(*first), *ViewOf(*second));
        EXPECT_NEAR(difference->mean, 0, Far * Noise() * std::sqrt(2 / n));
        EXPECT_NEAR(difference->noise, Noise(), Far * Noise() / std::sqrt(2 * n));
    }
    EXPECT_EQ(Truth("signal"), 0);
}

// What is left of the signal brings its own noise of photons: its share of the flat's variance.
TEST_F(Scenes, LeaveAShareOfTheSignalInTheNextImage)
{
    settings.lag = 4;
    settings.scene = tarn::Scene::Flat;
    Expose();
    const double signal = Truth("signal"), flatNoise = Noise();
    settings.scene = tarn::Scene::Dark;
    const Statistics dark = StatisticsOf(CountSamples(*ViewOf(*Expose())));
    const double lag = Truth("lag") / 100;
    const double noise = std::hypot(Noise(), std::sqrt(lag) * flatNoise);
    EXPECT_NEAR(dark.mean, Truth("dark_value") - lag * signal,
                Far * noise / std::sqrt(static_cast<double>(dark.count)));
}

// Forty flats leave 17.3 / sqrt 40 of 1,700, 0.16 %, and shading of 2 % bends the surroundings of a
// corner by 0.1 %: the narrowest rule, 1 %, is five deviations away. A noisy pixel has 15 times the
// noise: that thirty darks show less than 6 times has a probability of 1e-9.
TEST_F(Scenes, HaveThePlantedDefectsAndNoOthers)
{
    settings.deadPixels = 25;
    settings.hotPixels = 20;
    settings.noisyPixels = 15;
    settings.deadLines = 2;
    settings.shading = 2;
    const Defects defects =
        FindDefects(Sum(tarn::Scene::Flat, 40), Sum(tarn::Scene::Dark, DarksForNoise));

    std::map<std::pair<std::uint32_t, std::uint32_t>, std::uint8_t> planted, found;
    const auto plant = [&](const char* list, std::uint8_t rule) {
        for (const Json& place : truth.at(list)) {
            planted[{place[0], place[1]}] = rule;
        }
        return truth.at(list).size();
    };
    EXPECT_EQ(plant("dead", Dead), 25u);
    EXPECT_EQ(plant("hot", OverResponding), 20u);
    EXPECT_EQ(plant("noisy", Noisy), 15u);
    for (const Json& line : truth.at("lines")) {
        for (std::uint32_t y = line[1]; y < settings.imageHeight; ++y) {
            planted[{line[0], y}] = Dead;
        }
    }
    EXPECT_EQ(defects.decidedRules,
              Dead | UnderResponding | OverResponding | Noisy | NonUniformPixel);
    for (const DefectivePixel& pixel : defects.pixels) {
        // Larger faults are non-uniform too, and noisy pixels may be.
        found[{pixel.x, pixel.y}] = static_cast<std::uint8_t>(pixel.rules & ~NonUniformPixel);
    }
    EXPECT_EQ(found, planted);
    EXPECT_EQ(std::ranges::count_if(defects.groups, &DefectGroup::isLine), 2);
    ASSERT_TRUE(defects.responseNoise);
    EXPECT_NEAR(*defects.responseNoise, Noise() / std::sqrt(40.0) / 1700, 0.0001);
}

// Each square is the mean of 400 pixels, of which the truth is known in closed form: over a side of
// n pixels the mean square of the distance to a point is the middle's and (n^2 - 1) / 12.
TEST_F(Scenes, HaveTheirShading)
{
    settings.scene = tarn::Scene::Flat;
    settings.shading = 20;
    const auto image = Expose();
    constexpr std::uint32_t Side = 20; // pixels in 10 mm
    const Uniformity uniformity = UniformityOf(*ViewOf(*image), 10.0 / Side);
    ASSERT_EQ(uniformity.squares.size(), 8u * 6u);
    for (const UniformitySquare& square : uniformity.squares) {
        const double across = square.rect.x + Side / 2.0 - 100;
        const double down = square.rect.y + Side / 2.0 - 80;
        const double distance = across * across + down * down + 2 * (Side * Side - 1) / 12.0;
        const double loss = Truth("shading") / 100 * distance / (100 * 100 + 80 * 80);
        EXPECT_NEAR(square.signal, Truth("dark_value") - Truth("signal") * (1 - loss),
                    Far * Noise() / Side);
    }
}

// Of m bins, each the mean of rows / 10 pixels, the differences have at frequency f a noise of
// 2 sin(pi f / 10) sqrt(m) Noise / sqrt(rows / 10) over the step, and the step itself, the
// difference of the first and the last bin, has one of sqrt 2.
TEST_F(Scenes, HaveTheMtfOfTheirBlur)
{
    settings.scene = tarn::Scene::Edge;
    settings.imageHeight = 1000;
    for (const double blur : {0.7, 1.5}) {
        settings.edgeBlur = blur;
        const auto image = Expose();
        const Json edge = truth.at("edge");
        std::string reason;
        const auto response = EdgeResponseOf(*ViewOf(*image), reason);
        ASSERT_TRUE(response) << reason;
        const double step = edge.at("step"), sigma = edge.at("blur");
        const double pixels = settings.imageHeight / double{EdgeOversampling};
        const double bins = static_cast<double>(response->edge.size());
        for (const MtfPoint& point : response->mtf) {
            const double value =
                std::exp(-2 * std::pow(std::numbers::pi * sigma * point.frequency, 2));
            const double sine = std::sin(std::numbers::pi * point.frequency / EdgeOversampling);
            const double noise = (2 * sine * std::sqrt(bins) + value * std::numbers::sqrt2) *
                                 Noise() / std::sqrt(pixels) / step;
            ASSERT_NEAR(point.value, value, Far * noise) << blur << " at " << point.frequency;
        }
        EXPECT_NEAR(std::abs(response->angle), edge.at("angle").get<double>(), 0.05);
        EXPECT_NEAR(response->step, step, Far * Noise());
    }
}

} // namespace
