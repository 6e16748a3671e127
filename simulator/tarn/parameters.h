// The numbered parameters of the simulated library and its devices.
#pragma once

#include "simulator/tarn/battery.h"
#include "simulator/tarn/hand_switch.h"
#include "simulator/tarn/objects.h"

#include <cstdint>
#include <map>
#include <string>

namespace tarn {

enum class Phase : std::uint32_t
{
    Idle = TarnPhaseIdle,
    Arming = TarnPhaseArming,
    Armed = TarnPhaseArmed,
    Reading = TarnPhaseReading
};

struct DeviceState
{
    std::uint32_t number = 0; // 0 is the base unit, the others are sensors
    bool present = false;
    std::uint32_t faultState = 0; // a DeviceListState; 0: no fault
    std::uint32_t faultResult = 0;
    std::uint32_t binning = 1;
    std::uint32_t integrationTime = 300;      // ms
    std::uint32_t inactivityTimeout = 300000; // ms
    Battery battery;

    bool IsSensor() const { return number != 0; }
    // 12 for odd numbers, 20 for even ones.
    std::uint32_t SensorCode() const { return number % 2 == 1 ? 12 : 20; }
    std::string HardwareId() const;
};

// What parameters read and write.
struct Registers
{
    std::string startBlock; // as written once after opening
    std::string filterChain;
    bool testImageMode = false;
    bool gainCheck = true;
    std::string rawFolder;
    Phase phase = Phase::Idle;
    std::map<std::uint32_t, DeviceState> devices; // by number, also absent ones
};

// What the program polls for its capture buttons, a CommandState each.
std::uint32_t EnableCode(const Registers& registers, const DeviceState& device);
std::uint32_t AbortCode(const Registers& registers, const DeviceState& device);
// The state in the device list, a DeviceListState.
std::uint32_t ListState(const Registers& registers, const DeviceState& device);

// Each returns a result. A write that fails changes nothing.
std::uint32_t ReadLibraryParameter(const Registers& registers, std::uint32_t parameter,
                                   Value& value);
std::uint32_t WriteLibraryParameter(Registers& registers, std::uint32_t parameter,
                                    const Value& value);
std::uint32_t ReadDeviceParameter(const Registers& registers, std::uint32_t device,
                                  std::uint32_t parameter, Value& value);
std::uint32_t WriteDeviceParameter(Registers& registers, std::uint32_t device,
                                   std::uint32_t parameter, const Value& value);

} // namespace tarn
