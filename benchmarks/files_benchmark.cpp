// Times writing and reading a Q32 file on a RAM disk against one plain fwrite and fread of the same
// bytes.
#include "storage/q32_file.h"

#include <benchmark/benchmark.h>
#include <cstdio>
#include <memory>
#include <new>
#include <string>
#include <unistd.h>

namespace {

constexpr std::uint32_t Side = 4096; // pixels, 12 bits in two bytes

const std::string Path = "/dev/shm/tarntest-benchmark-" + std::to_string(::getpid()) + ".q32";

std::unique_ptr<CImage> Picture(std::uint32_t orientation)
{
    auto image = std::make_unique<CImage>(Side, Side, 12, 0, 1);
    for (std::uint32_t i = 0; i < image->m_dataSize; ++i) {
        image->m_data[i] = static_cast<std::uint8_t>(i * 2654435761u >> 24);
    }
    image->m_orientation = orientation;
    return image;
}

void PlainWrite(benchmark::State& state)
{
    const auto image = Picture(CImage::DefaultOrientation);
    for ([[maybe_unused]] auto _ : state) {
        std::FILE* const stream = std::fopen(Path.c_str(), "wb");
        if (std::fwrite(image->m_data, 1, image->m_dataSize, stream) != image->m_dataSize) {
            state.SkipWithError("short write");
        }
        std::fclose(stream);
    }
}

void Write(benchmark::State& state, std::uint32_t orientation)
{
    const auto image = Picture(orientation);
    for ([[maybe_unused]] auto _ : state) {
        WriteQ32File(Path.c_str(), *image);
    }
}

void PlainRead(benchmark::State& state)
{
    const auto size = std::size_t{Side} * Side * 2;
    WriteQ32File(Path.c_str(), *Picture(CImage::DefaultOrientation));
    for ([[maybe_unused]] auto _ : state) {
        const std::unique_ptr<std::uint8_t[]> block(new std::uint8_t[size]);
        std::FILE* const stream = std::fopen(Path.c_str(), "rb");
        if (std::fread(block.get(), 1, size, stream) != size) {
            state.SkipWithError("short read");
        }
        std::fclose(stream);
    }
}

void Read(benchmark::State& state)
{
    WriteQ32File(Path.c_str(), *Picture(CImage::DefaultOrientation));
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(ReadQ32File(Path.c_str())->m_data);
    }
}

} // namespace

int main(int argc, char** argv)
{
    benchmark::RegisterBenchmark("fwrite/4096x4096", PlainWrite)->UseRealTime();
    for (std::uint32_t code = 0; code < CImage::OrientationCount; ++code) {
        const std::string name = "WriteQ32File/4096x4096/code" + std::to_string(code);
        benchmark::RegisterBenchmark(name.c_str(), Write, code)->UseRealTime();
    }
    benchmark::RegisterBenchmark("fread/4096x4096", PlainRead)->UseRealTime();
    benchmark::RegisterBenchmark("ReadQ32File/4096x4096", Read)->UseRealTime();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    std::remove(Path.c_str());
    return 0;
}
