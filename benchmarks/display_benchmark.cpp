// Times range, table and render, reference and fast, and one plain read pass over the same pixels.
#include "benchmarks/reference_display.h"
#include "display/lut.h"
#include "display/range.h"
#include "display/resample.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <cmath>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

constexpr std::uint32_t AreaWidth = 740, AreaHeight = 480;
constexpr std::int32_t Bins = 65536;

// One image and what is made of it.
struct Picture
{
    Picture(std::uint32_t width, std::uint32_t height) : display(width, height, 8, 0, 1) {}

    std::string name;
    std::unique_ptr<CImage> image;
    std::vector<std::uint32_t> histogram = std::vector<std::uint32_t>(Bins);
    CImage display;
    std::vector<std::uint8_t> lut = std::vector<std::uint8_t>(DisplayLutSize);
};

// The reference functions and the fast ones under one set of names.
struct Algorithms
{
    const char* name;
    std::function<ScaleRange(const CImage&, double)> fitScaleRange;
    RangeFunction fitWindow;
    decltype(&BuildDisplayLut) buildDisplayLut;
    decltype(&RenderToDisplay) renderToDisplay;
    int rendersOfNewImage; // in the reference, resetting the zoom draws the picture a first time
};

const Algorithms AlgorithmSets[] = {
    {"reference", reference::FitScaleRange, reference::MMFitWindow, reference::BuildDisplayLut,
     reference::RenderToDisplay, 2},
    {"fast", [](const CImage& image, double share) { return *FitScaleRange(image, share); },
     MMFitWindow, BuildDisplayLut, RenderToDisplay, 1},
};

std::unique_ptr<Picture> MakePicture(const std::string& name, std::uint32_t width,
                                     std::uint32_t height, std::uint32_t bits,
                                     std::uint32_t areaWidth = AreaWidth,
                                     std::uint32_t areaHeight = AreaHeight);
void Register(Picture& picture);

void ReadPass(benchmark::State& state, const Picture& picture);
void NewImage(benchmark::State& state, const Algorithms& algorithms, Picture& picture);
void Range(benchmark::State& state, const Algorithms& algorithms, Picture& picture, double share);
void FitWindow(benchmark::State& state, const Algorithms& algorithms, Picture& picture);
void Table(benchmark::State& state, const Algorithms& algorithms, Picture& picture);
void Render(benchmark::State& state, const Algorithms& algorithms, Picture& picture, double zoom);
void Pan(benchmark::State& state, const Algorithms& algorithms, Picture& picture, double zoom);

// A radiograph's shape: a bright field, an absorbing body that fades to its edges, noise.
std::unique_ptr<Picture> MakePicture(const std::string& name, std::uint32_t width,
                                     std::uint32_t height, std::uint32_t bits,
                                     std::uint32_t areaWidth, std::uint32_t areaHeight)
{
    auto picture = std::make_unique<Picture>(areaWidth, areaHeight);
    picture->name = name;
    picture->image = std::make_unique<CImage>(width, height, bits, 2, 1);
    std::mt19937 random(bits);
    const double white = MaxSampleValue(bits);
    std::vector<std::uint16_t> row(width);
    for (std::uint32_t y = 0; y < height; ++y) {
        for (std::uint32_t x = 0; x < width; ++x) {
            const double u = 2.0 * x / width - 1, v = 2.0 * y / height - 1;
            const double body = std::max(0.0, 1 - u * u * 1.6 - v * v * 1.1);
            const double signal = white * std::exp(-2.6 * body - 0.05) * (0.95 + 0.05 * u);
            const double noise = (static_cast<double>(random() % 2001) - 1000) / 1000;
            const double value = signal + noise * std::sqrt(signal * white) * 0.03;
            row[x] = static_cast<std::uint16_t>(std::clamp(value, 0.0, white));
            ++picture->histogram[row[x]];
        }
        picture->image->PutPixels(row.data(), width, y * width);
    }
    const std::uint16_t ends[] = {0, static_cast<std::uint16_t>(white)};
    picture->image->PutPixels(ends, 2, 0);
    ++picture->histogram[ends[0]];
    ++picture->histogram[ends[1]];
    const ScaleRange range = *FitScaleRange(*picture->image, 100);
    BuildDisplayLut(picture->lut.data(), DisplayLutSize, range.center, range.width, 1.0, false,
                    4095);
    return picture;
}

void Register(Picture& picture)
{
    const auto add = [&](const std::string& name, auto function, auto... arguments) {
        return benchmark::RegisterBenchmark((name + "/" + picture.name).c_str(), function,
                                            arguments...);
    };
    add("read", ReadPass, std::cref(picture));
    for (const Algorithms& algorithms : AlgorithmSets) {
        const std::string set = algorithms.name;
        const auto with = std::cref(algorithms);
        const auto on = std::ref(picture);
        add(set + "/new image", NewImage, with, on);
        add(set + "/range 100", Range, with, on, 100.0);
        add(set + "/range 50", Range, with, on, 50.0);
        add(set + "/fit window", FitWindow, with, on);
        add(set + "/table", Table, with, on);
        add(set + "/render 1", Render, with, on, 1.0);
        add(set + "/render 1.5", Render, with, on, 1.5);
        add(set + "/render 5", Render, with, on, 5.0);
        add(set + "/pan 5", Pan, with, on, 5.0);
    }
}

void ReadPass(benchmark::State& state, const Picture& picture)
{
    const auto* words = reinterpret_cast<const std::uint64_t*>(picture.image->m_data);
    const std::size_t count = picture.image->m_dataSize / sizeof(std::uint64_t);
    for ([[maybe_unused]] auto _ : state) {
        std::uint64_t sum = 0;
        for (std::size_t i = 0; i < count; ++i) {
            sum += words[i];
        }
        benchmark::DoNotOptimize(sum);
    }
    state.SetBytesProcessed(state.iterations() * picture.image->m_dataSize);
}

void NewImage(benchmark::State& state, const Algorithms& algorithms, Picture& picture)
{
    const CImage& image = *picture.image;
    for ([[maybe_unused]] auto _ : state) {
        const ScaleRange range = algorithms.fitScaleRange(image, 100);
        algorithms.buildDisplayLut(picture.lut.data(), DisplayLutSize, range.center, range.width,
                                   1.0, false, 4095);
        for (int i = 0; i < algorithms.rendersOfNewImage; ++i) {
            picture.display.Fill(DisplayBackground);
            algorithms.renderToDisplay(&image, picture.lut.data(), 1.0, image.m_width / 2,
                                       image.m_height / 2, &picture.display);
        }
        benchmark::ClobberMemory();
    }
}

void Range(benchmark::State& state, const Algorithms& algorithms, Picture& picture, double share)
{
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(algorithms.fitScaleRange(*picture.image, share));
    }
}

void FitWindow(benchmark::State& state, const Algorithms& algorithms, Picture& picture)
{
    for ([[maybe_unused]] auto _ : state) {
        double lo, hi;
        algorithms.fitWindow(Bins, picture.histogram.data(), 0.5, 0.0, &lo, &hi);
        benchmark::DoNotOptimize(hi);
    }
}

void Table(benchmark::State& state, const Algorithms& algorithms, Picture& picture)
{
    const ScaleRange range = *FitScaleRange(*picture.image, 100);
    std::vector<std::uint8_t> lut(DisplayLutSize);
    for ([[maybe_unused]] auto _ : state) {
        algorithms.buildDisplayLut(lut.data(), DisplayLutSize, range.center, range.width, 1.0,
                                   false, 4095);
        benchmark::ClobberMemory();
    }
}

void Render(benchmark::State& state, const Algorithms& algorithms, Picture& picture, double zoom)
{
    const CImage& image = *picture.image;
    for ([[maybe_unused]] auto _ : state) {
        algorithms.renderToDisplay(&image, picture.lut.data(), zoom, image.m_width / 2,
                                   image.m_height / 2, &picture.display);
        benchmark::ClobberMemory();
    }
}

// Each frame another part of the picture, from its one end to the other, as a redraw does it.
void Pan(benchmark::State& state, const Algorithms& algorithms, Picture& picture, double zoom)
{
    constexpr std::uint32_t Frames = 16;
    const CImage& image = *picture.image;
    std::uint32_t frame = 0;
    for ([[maybe_unused]] auto _ : state) {
        picture.display.Fill(DisplayBackground);
        algorithms.renderToDisplay(&image, picture.lut.data(), zoom, image.m_width * frame / Frames,
                                   image.m_height * frame / Frames, &picture.display);
        benchmark::ClobberMemory();
        frame = (frame + 1) % Frames;
    }
}

} // namespace

int main(int argc, char** argv)
{
    const std::unique_ptr<Picture> pictures[] = {
        MakePicture("1500x2000", 1500, 2000, 12),
        MakePicture("2048x2048", 2048, 2048, 12),
        MakePicture("4096x4096", 4096, 4096, 12),
        MakePicture("16-bit", 2048, 2048, 16),
        MakePicture("2560x1440", 4096, 4096, 12, 2560, 1440),
        MakePicture("3840x2000", 4096, 4096, 12, 3840, 2000),
    };
    for (const auto& picture : pictures) {
        Register(*picture);
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
