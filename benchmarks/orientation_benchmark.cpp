// Times every turn of a picture and its inversion, and one copy of the same block.
#include "benchmarks/reference_image.h"

#include <benchmark/benchmark.h>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

namespace {

struct PixelFormat
{
    std::uint32_t pixelBytes, bits, colorType;
};
constexpr PixelFormat Formats[] = {{1, 8, 1}, {2, 12, 1}, {3, 8, 2}, {4, 32, 1}, {6, 16, 2}};
constexpr std::uint32_t Sizes[][2] = {{1500, 2000}, {2048, 2048}, {4096, 4096}};

void Copy(benchmark::State& state, CImage& image)
{
    // Both blocks are in use before the clock starts: a page's first touch is not copying.
    std::vector<std::uint8_t> copy(image.m_dataSize, 1);
    for ([[maybe_unused]] auto _ : state) {
        std::memcpy(copy.data(), image.m_data, image.m_dataSize);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * image.m_dataSize);
}

void Run(benchmark::State& state, CImage& image, void (CImage::*change)())
{
    (image.*change)();
    for ([[maybe_unused]] auto _ : state) {
        (image.*change)();
    }
    state.SetBytesProcessed(state.iterations() * image.m_dataSize);
}

} // namespace

int main(int argc, char** argv)
{
    std::vector<CLinkedPtr<CImage>> images;
    for (const auto& [width, height] : Sizes) {
        for (const auto& [pixelBytes, bits, colorType] : Formats) {
            const CLinkedPtr image(new CImage(width, height, bits, 0, colorType));
            if (image->m_data == nullptr) {
                return 1;
            }
            reference::FillWithNoise(*image);
            std::string block;
            for (const std::uint32_t number : {width, height, pixelBytes}) {
                block.append(block.empty() ? "/" : "x").append(std::to_string(number));
            }
            const auto add = [&](const std::string& what, auto... call) {
                benchmark::RegisterBenchmark((what + block).c_str(), call...);
            };
            add("memcpy", Copy, std::ref(*image));
            add("Invert", Run, std::ref(*image), &CImage::Invert);
            for (const reference::NamedTurn& turn : reference::Turns) {
                add(turn.name, Run, std::ref(*image), turn.run);
            }
            images.push_back(image);
        }
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
