// The exports of the simulated preview library.
#include "device/tarn_abi.h"
#include "platform/native_window.h"
#include "simulator/quillet/preview.h"
#include "simulator/tarn/hand_switch.h"

#include <QPointer>

#include <dlfcn.h>
#include <map>

namespace {

constexpr std::uint32_t BadArgument = ResultError | 1;
constexpr std::uint32_t NoSuchPreview = ResultError | 2;

SensorLink FindSensor();
std::uint32_t Begin(Export which);

// The open previews; an entry is null once its owner has destroyed the preview.
std::map<std::uintptr_t, QPointer<Preview>> openPreviews;
std::uintptr_t lastHandle = 0;

std::uint32_t Close(std::uintptr_t handle);

} // namespace

// Every call of this library runs on the thread of the owner's windows.
std::uint32_t TARN_CALL Quillet_1(HWND owner, std::uint32_t, const RECT* screenArea, std::uint32_t,
                                  std::uintptr_t* handle)
{
    if (const std::uint32_t fault = Begin(Export::QuilletOpen)) {
        return fault;
    }
    auto* const window = static_cast<QWidget*>(NativeWindowOf(owner));
    if (window == nullptr || screenArea == nullptr || handle == nullptr) {
        return BadArgument;
    }
    const QRect area(screenArea->left, screenArea->top, screenArea->right - screenArea->left,
                     screenArea->bottom - screenArea->top);
    // A window has one image area: an earlier preview that was not closed must not cover the new
    // one.
    for (auto entry = openPreviews.begin(); entry != openPreviews.end();) {
        const auto [earlier, preview] = *entry++;
        if (preview != nullptr && preview->parentWidget() == window) {
            Close(earlier);
        }
    }
    *handle = ++lastHandle;
    openPreviews[*handle] = new Preview(window, area, FindSensor());
    return 0;
}

std::uint32_t TARN_CALL Quillet_4(std::uintptr_t handle, std::uint32_t show)
{
    if (const std::uint32_t fault = Begin(Export::QuilletShow)) {
        return fault;
    }
    const auto entry = openPreviews.find(handle);
    if (entry == openPreviews.end() || entry->second == nullptr) {
        return NoSuchPreview;
    }
    if (show != 0) {
        entry->second->Arm();
    } else {
        entry->second->Disarm();
    }
    return 0;
}

std::uint32_t TARN_CALL Quillet_2(std::uintptr_t handle)
{
    const std::uint32_t fault = Begin(Export::QuilletClose);
    return fault != 0 ? fault : Close(handle);
}

namespace {

std::uint32_t Close(std::uintptr_t handle)
{
    const auto entry = openPreviews.find(handle);
    if (entry == openPreviews.end()) {
        return NoSuchPreview;
    }
    // The close may be nested in the preview's own press, so it is deleted after that has returned.
    if (Preview* preview = entry->second) {
        preview->Disarm();
        preview->deleteLater();
    }
    openPreviews.erase(entry);
    return 0;
}

// A function of the capture library that the program has loaded; null when there is none. Does not
// load the library.
template <class Function>
Function* FindInTarn(const char* name)
{
    void* const tarn = dlopen("libTarn.so", RTLD_NOW | RTLD_NOLOAD);
    if (tarn == nullptr) {
        return nullptr;
    }
    auto* const function = reinterpret_cast<Function*>(dlsym(tarn, name));
    dlclose(tarn);
    return function;
}

SensorLink FindSensor()
{
    SensorLink sensor;
    sensor.expose = FindInTarn<decltype(TarnSimulatorHandSwitch)>("TarnSimulatorHandSwitch");
    sensor.phase = FindInTarn<decltype(TarnSimulatorArmedState)>("TarnSimulatorArmedState");
    return sensor;
}

std::uint32_t Begin(Export which)
{
    auto* const begin = FindInTarn<decltype(TarnSimulatorPreviewCall)>("TarnSimulatorPreviewCall");
    return begin != nullptr ? begin(which) : 0;
}

} // namespace
