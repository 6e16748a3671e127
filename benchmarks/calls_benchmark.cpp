// Times what the log of calls adds to a call of the capture library, and a run of the simulated
// library with nothing but calls.
#include "device/libraries.h"
#include "platform/messages.h"

#include <benchmark/benchmark.h>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <filesystem>
#include <thread>

namespace {

std::uint32_t GiveNothing(std::uint32_t, std::uint32_t, TarnValue**)
{
    return 0;
}

// The calls of a poll of the capture buttons and of an image that is received: 17 with 3 devices.
template <typename GetDevices, typename GetParameter, typename GetImage, typename Free>
void PollAndReceive(GetDevices getDevices, GetParameter getParameter, GetImage getImage, Free free)
{
    DeviceList* list = nullptr;
    getDevices(&list);
    for (const DeviceListEntry& entry : Entries(list)) {
        for (const std::uint32_t parameter :
             {DeviceParameter::AbortState, DeviceParameter::EnableState}) {
            TarnValue* value = nullptr;
            getParameter(entry.number, parameter, &value);
            free(value);
        }
    }
    free(list);
    TarnImageRecord* image = nullptr;
    getImage("", 0, &image);
    free(image);
}

void DirectRun(benchmark::State& state, const LibraryExports& library)
{
    for ([[maybe_unused]] auto _ : state) {
        PollAndReceive(library.getDeviceList, library.getDeviceParam, library.getImage,
                       library.freeObject);
    }
}

constexpr int CallsOfRun = 17;

void DirectCalls(benchmark::State& state, const LibraryExports& library)
{
    for ([[maybe_unused]] auto _ : state) {
        for (int i = 0; i < CallsOfRun; ++i) {
            TarnValue* value = nullptr;
            benchmark::DoNotOptimize(library.getDeviceParam(1, 2, &value));
        }
    }
}

void LoggedCalls(benchmark::State& state, const LibraryExports& library)
{
    UseLibraryExports(&library);
    for ([[maybe_unused]] auto _ : state) {
        for (int i = 0; i < CallsOfRun; ++i) {
            TarnValue* value = nullptr;
            benchmark::DoNotOptimize(TarnGetDeviceParam(1, 2, &value));
        }
    }
    UseLibraryExports(nullptr);
}

template <typename Function>
void Find(void* module, const char* name, Function*& function)
{
    function = reinterpret_cast<Function*>(dlsym(module, name));
}

} // namespace

// The libraries find it in the program that loads them.
extern "C" int PostMessageA(HWND, UINT, WPARAM, LPARAM)
{
    return 1;
}

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    LibraryExports empty;
    empty.getDeviceParam = GiveNothing;
    empty.freeObject = [](void*) {};

    const std::filesystem::path folder = std::filesystem::temp_directory_path() / "calls_benchmark";
    std::filesystem::create_directories(folder);
    std::FILE* const settings = std::fopen((folder / "Tarn.ini").c_str(), "w");
    std::fprintf(settings, "store_folder = %s\ntime_factor = 100\nexposure_delay = 0\n",
                 folder.c_str());
    std::fclose(settings);
    setenv("TARN_SIMULATOR", (folder / "Tarn.ini").c_str(), 1);
    void* const module = dlopen(SIMULATED_LIBRARY, RTLD_NOW);
    if (module == nullptr) {
        std::fprintf(stderr, "%s\n", dlerror());
        return 1;
    }
    LibraryExports simulated;
    Find(module, "Tarn_1", simulated.open);
    Find(module, "Tarn_2", simulated.close);
    Find(module, "Tarn_5", simulated.enableCapture);
    Find(module, "Tarn_20", simulated.getImage);
    Find(module, "Tarn_22", simulated.getImageCount);
    Find(module, "Tarn_30", simulated.getDeviceList);
    Find(module, "Tarn_31", simulated.getDeviceParam);
    Find(module, "Tarn_99", simulated.freeObject);
    simulated.open(nullptr, "benchmark");
    simulated.enableCapture(0, CaptureUserId, 0);
    for (std::uint32_t images = 0; images == 0;) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
        simulated.getImageCount(&images);
    }

    benchmark::RegisterBenchmark("direct/calls", DirectCalls, empty);
    benchmark::RegisterBenchmark("logged/calls", LoggedCalls, empty);
    benchmark::RegisterBenchmark("direct/run", DirectRun, simulated);
    benchmark::RunSpecifiedBenchmarks();
    simulated.close();
    std::filesystem::remove_all(folder);
    return 0;
}
