// The exports of the simulated preview library.
#include "device/tarn_abi.h"
#include "simulator/quillet/preview.h"
#include "simulator/tarn/hand_switch.h"

#include <map>
#include <utility>

namespace {

constexpr std::uint32_t BadArgument = ResultError | 1;
constexpr std::uint32_t NoSuchPreview = ResultError | 2;

std::map<std::uintptr_t, std::unique_ptr<Preview>> openPreviews;
std::uintptr_t lastHandle = 0;

template <class Function>
Function* Find(const char* name)
{
    return reinterpret_cast<Function*>(FindInTarn(name));
}

SensorLink FindSensor()
{
    return {Find<decltype(TarnSimulatorHandSwitch)>("TarnSimulatorHandSwitch"),
            Find<decltype(TarnSimulatorArmedState)>("TarnSimulatorArmedState")};
}

std::uint32_t Begin(Export which)
{
    auto* const begin = Find<decltype(TarnSimulatorPreviewCall)>("TarnSimulatorPreviewCall");
    return begin != nullptr ? begin(which) : 0;
}

} // namespace

// Every call of this library runs on the thread of the owner's windows.
std::uint32_t TARN_CALL Quillet_1(HWND owner, std::uint32_t, const RECT* screenArea, std::uint32_t,
                                  std::uintptr_t* handle)
{
    if (const std::uint32_t fault = Begin(Export::QuilletOpen)) {
        return fault;
    }
    if (owner == nullptr || screenArea == nullptr || handle == nullptr) {
        return BadArgument;
    }
    auto preview =
        OpenPreview(owner,
                    {screenArea->left, screenArea->top, screenArea->right - screenArea->left,
                     screenArea->bottom - screenArea->top},
                    FindSensor());
    if (preview == nullptr) {
        return BadArgument;
    }
    // A window has one image area: an earlier preview that was not closed must not cover the new
    // one.
    std::erase_if(openPreviews, [owner](const auto& entry) { return entry.second->IsOver(owner); });
    *handle = ++lastHandle;
    openPreviews.emplace(*handle, std::move(preview));
    return 0;
}

std::uint32_t TARN_CALL Quillet_4(std::uintptr_t handle, std::uint32_t show)
{
    if (const std::uint32_t fault = Begin(Export::QuilletShow)) {
        return fault;
    }
    const auto entry = openPreviews.find(handle);
    if (entry == openPreviews.end() || !entry->second->Exists()) {
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
    if (const std::uint32_t fault = Begin(Export::QuilletClose)) {
        return fault;
    }
    return openPreviews.erase(handle) != 0 ? 0 : NoSuchPreview;
}
