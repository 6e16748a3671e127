// The exports of the simulated preview library on Windows.
#include "device/tarn_abi.h"
#include "simulator/quillet/win32/preview.h"
#include "simulator/tarn/hand_switch.h"

#include <map>
#include <memory>

namespace {

constexpr std::uint32_t BadArgument = ResultError | 1;
constexpr std::uint32_t NoSuchPreview = ResultError | 2;

std::map<std::uintptr_t, std::unique_ptr<Preview>> openPreviews;
std::uintptr_t lastHandle = 0;

static_assert(PhaseIdle == std::uint32_t{TarnPhaseIdle});
static_assert(PhaseArming == std::uint32_t{TarnPhaseArming});
static_assert(PhaseArmed == std::uint32_t{TarnPhaseArmed});
static_assert(PhaseReading == std::uint32_t{TarnPhaseReading});

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

// Every call of this library comes on the thread of the owner's windows.
std::uint32_t TARN_CALL Quillet_1(HWND owner, std::uint32_t, const RECT* screenArea, std::uint32_t,
                                  std::uintptr_t* handle)
{
    if (const std::uint32_t fault = Begin(Export::QuilletOpen)) {
        return fault;
    }
    if (owner == nullptr || screenArea == nullptr || handle == nullptr) {
        return BadArgument;
    }
    // A window has one image area; a preview whose handle was given up must not stay in front of
    // it.
    std::erase_if(openPreviews,
                  [owner](const auto& entry) { return entry.second->Owner() == owner; });
    *handle = ++lastHandle;
    openPreviews[*handle] = std::make_unique<Preview>(
        owner,
        ScreenArea{screenArea->left, screenArea->top, screenArea->right - screenArea->left,
                   screenArea->bottom - screenArea->top},
        FindSensor());
    return 0;
}

std::uint32_t TARN_CALL Quillet_4(std::uintptr_t handle, std::uint32_t show)
{
    if (const std::uint32_t fault = Begin(Export::QuilletShow)) {
        return fault;
    }
    const auto entry = openPreviews.find(handle);
    if (entry == openPreviews.end()) {
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
