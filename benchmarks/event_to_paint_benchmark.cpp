// Times the real main window from the library's event to the finished paint of the new image, and
// what of that is paint alone and range, table and render alone.
#include "app/main_dialog.h"
#include "device/libraries.h"
#include "display/lut.h"
#include "display/resample.h"
#include "platform/posix/allocator.h"
#include "resources/resource.h"
#include "support/operator.h"

#include <benchmark/benchmark.h>
#include <string>
#include <vector>

namespace {

// The picture that the library hands out.
TarnImageRecord record{};
std::vector<std::uint8_t> pixels;
constexpr char HeaderText[] = "ProgramName=Benchmark;ExposureTime=100;mA=8;kV=60;Date=24.11.2026;";

// A capture library that always has that picture, and does nothing else.
LibraryExports OnePictureLibrary()
{
    LibraryExports library;
    library.open = [](HWND, const char*) { return 0u; };
    library.close = [] { return 0u; };
    library.setNotifyWindow = [](HWND, std::uint32_t) { return 0u; };
    library.clearNotifyWindow = [](HWND) { return 0u; };
    library.enableCapture = [](std::uint32_t, const char*, std::uint32_t) { return 0u; };
    library.disableCapture = [](std::uint32_t, std::uint32_t) { return 0u; };
    library.getLibraryParam = [](std::uint32_t, TarnValue**) { return 0u; };
    library.setLibraryParam = [](std::uint32_t, const TarnValue*) { return 0u; };
    library.getImage = [](const char*, std::uint32_t, TarnImageRecord** out) {
        *out = &record;
        return 0u;
    };
    library.removeImage = [](const char*, std::uint32_t) { return 0u; };
    library.getImageCount = [](std::uint32_t*) { return 0u; };
    library.getDeviceList = [](DeviceList**) { return 0u; };
    library.getDeviceParam = [](std::uint32_t, std::uint32_t, TarnValue**) { return 0u; };
    library.setDeviceParam = [](std::uint32_t, std::uint32_t, const TarnValue*) { return 0u; };
    library.describeResult = [](std::uint32_t result, char*, std::uint32_t) { return result; };
    library.freeObject = [](void*) {};
    library.quilletOpen = [](HWND, std::uint32_t, const RECT*, std::uint32_t, std::uintptr_t*) {
        return 0u;
    };
    library.quilletClose = [](std::uintptr_t) { return 0u; };
    library.quilletShow = [](std::uintptr_t, std::uint32_t) { return 0u; };
    return library;
}

struct TimedWindow : CTarnTestDlg
{
    using CTarnTestDlg::autoEnable;
    using CTarnTestDlg::displayImage;
    using CTarnTestDlg::imageArea;
    using CTarnTestDlg::paintTime;
};

void SetPicture(std::uint32_t width, std::uint32_t height)
{
    pixels.resize(std::size_t{width} * height * 2);
    for (std::size_t i = 0; i < pixels.size(); ++i) {
        pixels[i] = i % 2 == 0 ? static_cast<std::uint8_t>(i * 2654435761u >> 24) : i / 2 % 16;
    }
    record = {width, height, 2, 12, 0, 1, 0, pixels.data(), HeaderText, ""};
}

void WaitForPaint(TimedWindow& window, Operator& hand)
{
    hand.Wait([&] { return window.paintTime != 0.0; });
}

void Pipeline(benchmark::State& state, TimedWindow& window)
{
    CImage image(record.width, record.height, 12, 2, 1);
    image.PutPixels(pixels.data(), record.width * record.height, 0);
    std::vector<std::uint8_t> lut(DisplayLutSize);
    for ([[maybe_unused]] auto _ : state) {
        const ScaleRange range = *FitScaleRange(image, 100.0);
        BuildDisplayLut(lut.data(), DisplayLutSize, range.center, range.width, 1.0, false, 4095);
        window.displayImage->Fill(DisplayBackground);
        RenderToDisplay(&image, lut.data(), 1.0, image.m_width / 2, image.m_height / 2,
                        window.displayImage.Get());
    }
}

void Paint(benchmark::State& state, TimedWindow& window, Operator& hand)
{
    for ([[maybe_unused]] auto _ : state) {
        window.paintTime = 0.0;
        window.imageArea.Invalidate();
        WaitForPaint(window, hand);
    }
}

void EventToPaint(benchmark::State& state, TimedWindow& window, Operator& hand, bool isInspected)
{
    window.autoEnable = TRUE; // no question stands between two images
    if (isInspected) {
        window.Send(WM_COMMAND, MAKEWPARAM(IdInspect, BN_CLICKED));
    }
    for ([[maybe_unused]] auto _ : state) {
        window.paintTime = 0.0;
        window.Send(WM_TARN_EVENT, 1, EventImageReady);
        WaitForPaint(window, hand);
    }
    if (isInspected) {
        window.Inspector().Send(WM_CLOSE);
    }
}

// All that a closed inspector adds between the event and the paint.
void AskClosedInspector(benchmark::State& state, TimedWindow& window)
{
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(window.Inspector().IsOpen());
    }
}

} // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    KeepFreedBlocks();
    const LibraryExports library = OnePictureLibrary();
    UseLibraryExports(&library);
    TimedWindow window;
    Operator hand;
    for (const auto& [width, height] : {std::pair{1500u, 2000u}, {2048u, 2048u}, {4096u, 4096u}}) {
        const std::string size = std::to_string(width) + "x" + std::to_string(height);
        const auto use = [width = width, height = height] { SetPicture(width, height); };
        benchmark::RegisterBenchmark(("Pipeline/" + size).c_str(), [&, use](auto& state) {
            use();
            Pipeline(state, window);
        })->UseRealTime();
        benchmark::RegisterBenchmark(("Paint/" + size).c_str(), [&, use](auto& state) {
            use();
            Paint(state, window, hand);
        })->UseRealTime();
        benchmark::RegisterBenchmark(("EventToPaint/" + size).c_str(), [&, use](auto& state) {
            use();
            EventToPaint(state, window, hand, false);
        })->UseRealTime();
        benchmark::RegisterBenchmark(("InspectedEventToPaint/" + size).c_str(), [&,
                                                                                 use](auto& state) {
            use();
            EventToPaint(state, window, hand, true);
        })->UseRealTime();
        benchmark::RegisterBenchmark(("ClosedInspector/" + size).c_str(), [&](auto& state) {
            AskClosedInspector(state, window);
        })->UseRealTime();
    }
    hand.Run(window, [] { benchmark::RunSpecifiedBenchmarks(); });
    return 0;
}
