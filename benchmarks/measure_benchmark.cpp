// Times the measures of whole images against one that only reads the samples.
#include "measure/defects.h"
#include "measure/difference.h"
#include "measure/histogram.h"
#include "measure/moments.h"
#include "measure/uniformity.h"

#include <benchmark/benchmark.h>
#include <cmath>
#include <memory>
#include <random>
#include <string>

namespace {

constexpr std::uint32_t Images = 16; // flats, and darks

struct Pictures
{
    std::unique_ptr<CImage> flat;
    ImageSums flats, darks;
};

// A flat with noise of 1 %, sums of more with 0.15 %, shading of 10 % and 1 pixel in 10,000 dead.
Pictures MakePictures(std::uint32_t width, std::uint32_t height)
{
    Pictures pictures;
    std::mt19937 random(1);
    std::normal_distribution<float> normal;
    pictures.flat = std::make_unique<CImage>(width, height, 12, 2, 1);
    auto* const samples = reinterpret_cast<std::uint16_t*>(pictures.flat->m_data);
    pictures.flats.width = pictures.darks.width = width;
    pictures.flats.height = pictures.darks.height = height;
    pictures.flats.images = pictures.darks.images = Images;
    for (std::size_t i = 0; i < std::size_t{width} * height; ++i) {
        const double x = static_cast<double>(i % width) / width - 0.5;
        const double y = static_cast<double>(i / width) / height - 0.5;
        const double level = i % 9973 == 0 ? 0 : 2000 * (1 - 0.2 * (x * x + y * y));
        samples[i] = static_cast<std::uint16_t>(200 + level + 20 * normal(random));
        pictures.flats.sums.push_back(
            static_cast<std::uint32_t>(Images * (200 + level) + 4 * 12 * normal(random)));
        pictures.darks.sums.push_back(
            static_cast<std::uint32_t>(Images * 200 + 4 * 3 * normal(random)));
        pictures.flats.total += pictures.flats.sums.back();
        pictures.darks.total += pictures.darks.sums.back();
    }
    return pictures;
}

void Read(benchmark::State& state, const Pictures& pictures)
{
    const auto* const samples = reinterpret_cast<const std::uint16_t*>(pictures.flat->m_data);
    const std::size_t count = std::size_t{pictures.flat->m_width} * pictures.flat->m_height;
    for ([[maybe_unused]] auto _ : state) {
        std::uint32_t sum = 0;
        for (std::size_t i = 0; i < count; ++i) {
            sum += samples[i];
        }
        benchmark::DoNotOptimize(sum);
    }
}

template <typename Measure>
void Time(benchmark::State& state, Measure measure)
{
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(measure());
    }
}

} // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    std::vector<std::unique_ptr<Pictures>> all;
    for (const auto& [width, height] : {std::pair{1500u, 2000u}, {4096u, 4096u}}) {
        all.push_back(std::make_unique<Pictures>(MakePictures(width, height)));
        const Pictures& pictures = *all.back();
        const GrayView view = *ViewOf(*pictures.flat);
        const std::string size = std::to_string(width) + "x" + std::to_string(height);
        const auto add = [&](const char* name, auto measure) {
            benchmark::RegisterBenchmark(
                (std::string(name) + size).c_str(),
                [measure](benchmark::State& state) { Time(state, measure); })
                ->Unit(benchmark::kMillisecond);
        };
        benchmark::RegisterBenchmark(("samples/" + size).c_str(), [&](benchmark::State& state) {
            Read(state, pictures);
        })->Unit(benchmark::kMillisecond);
        add("histogram/", [view] { return StatisticsOf(CountSamples(view)); });
        add("region/", [view] { return MomentsOf(view); });
        add("difference/", [view] { return DifferenceOf(view, view); });
        add("uniformity/", [view] { return UniformityOf(view, 0.1); });
        add("defects/", [&pictures] { return FindDefects(pictures.flats, pictures.darks); });
    }
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
