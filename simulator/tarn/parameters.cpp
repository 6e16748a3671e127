// The table of parameters and what each reads and writes.
#include "simulator/tarn/parameters.h"

#include "simulator/tarn/result_codes.h"

#include <cmath>
#include <cstring>

namespace tarn {
namespace {

// The binning as it is written, little-endian.
struct BinningBlock
{
    std::uint16_t binning;
    std::uint16_t sensorCode; // of the sensors to change, whichever device is written
};
static_assert(sizeof(BinningBlock) == 4);

constexpr std::uint32_t StartBlockSize = 12;
constexpr std::uint32_t LongestIntegration = 10000; // ms

enum class Scope
{
    Library,
    Base,
    Sensor,
    Device
};

// One parameter. Those of the library ignore the device.
struct Row
{
    Scope scope;
    std::uint32_t number;
    Value (*read)(const Registers&, const DeviceState&);
    std::uint32_t writeType = 0; // 0: cannot be written
    std::uint32_t (*write)(Registers&, DeviceState&, const Value&) = nullptr;
};

Value Integer(std::uint32_t number);
Value Flag(bool flag);
Value Text(std::string text);
std::uint32_t WriteBinning(Registers& registers, const Value& value);
const Row* Find(const DeviceState* device, std::uint32_t parameter);
std::uint32_t Write(Registers& registers, const Row* row, DeviceState& device, const Value& value);

const Row Table[] = {
    {Scope::Library, LibraryParameter::Version,
     [](auto&, auto&) { return Text("Tarn simulator 1.0\nSensor model 2, phantom 1"); }},
    {Scope::Library, LibraryParameter::StartUpBlock,
     [](auto& registers, auto&) {
         return Value{TarnTypeBlock, 0, registers.startBlock};
     },
     TarnTypeBlock,
     [](auto& registers, auto&, auto& value) {
         if (value.bytes.size() != StartBlockSize) {
             return BadValue;
         }
         registers.startBlock = value.bytes;
         return 0u;
     }},
    {Scope::Library, LibraryParameter::FilterChain,
     [](auto& registers, auto&) { return Text(registers.filterChain); }, TarnTypeText,
     [](auto& registers, auto&, auto& value) {
         registers.filterChain = value.bytes;
         return 0u;
     }},
    {Scope::Device, DeviceParameter::FaultResult,
     [](auto&, auto& device) {
         return Integer(device.faultState == StateFault ? device.faultResult : 0);
     }},
    {Scope::Device, DeviceParameter::HardwareId,
     [](auto&, auto& device) { return Text(device.HardwareId()); }},
    {Scope::Device, DeviceParameter::GainFile,
     [](auto&, auto& device) {
         return Text(device.IsSensor() ? device.HardwareId() + ".gain" : std::string());
     }},
    {Scope::Base, DeviceParameter::BaseUnitInfo,
     [](auto&, auto&) { return Text("Base unit: 2 sensor ports"); }},
    {Scope::Sensor, DeviceParameter::SensorInfo,
     [](auto&, auto& device) {
         return Text("Sensor " + std::to_string(device.number) + ": code " +
                     std::to_string(device.SensorCode()) + ", " + device.HardwareId());
     }},
    {Scope::Device, DeviceParameter::OtherFaultResult,
     [](auto&, auto& device) {
         return Integer(device.faultState == StateOtherFault ? device.faultResult : 0);
     }},
    {Scope::Device, DeviceParameter::GainResult,
     [](auto& registers, auto& device) {
         return Integer(device.IsSensor() && !registers.gainCheck ? GainCheckOff : 0);
     }},
    {Scope::Device, DeviceParameter::Version,
     [](auto&, auto& device) {
         return Text(device.IsSensor() ? "Sensor firmware 2.4\nFPGA 17" : "Base firmware 3.1");
     }},
    {Scope::Device, DeviceParameter::SpecificInfo,
     [](auto&, auto& device) {
         if (!device.IsSensor()) {
             return Text("");
         }
         return Text("Binning " + std::to_string(device.binning) + "\nIntegration time " +
                     std::to_string(device.integrationTime) + " ms\nBattery " +
                     std::to_string(std::lround(device.battery.charge)) + " %");
     }},
    {Scope::Sensor, DeviceParameter::Binning,
     [](auto&, auto& device) { return Integer(device.binning); }, TarnTypeBlock,
     [](auto& registers, auto&, auto& value) { return WriteBinning(registers, value); }},
    {Scope::Sensor, DeviceParameter::IntegrationTime,
     [](auto&, auto& device) { return Integer(device.integrationTime); }, TarnTypeInteger,
     [](auto&, auto& device, auto& value) {
         if (value.number > LongestIntegration) {
             return BadValue;
         }
         device.integrationTime = value.number;
         return 0u;
     }},
    {Scope::Sensor, DeviceParameter::InactivityTimeout,
     [](auto&, auto& device) { return Integer(device.inactivityTimeout); }, TarnTypeInteger,
     [](auto&, auto& device, auto& value) {
         device.inactivityTimeout = value.number;
         return 0u;
     }},
    {Scope::Device, DeviceParameter::EnableState,
     [](auto& registers, auto& device) { return Integer(EnableCode(registers, device)); }},
    {Scope::Device, DeviceParameter::AbortState,
     [](auto& registers, auto& device) { return Integer(AbortCode(registers, device)); }},
    {Scope::Sensor, DeviceParameter::BatteryStatus,
     [](auto&, auto& device) {
         return Value{TarnTypeBlock, 0, device.battery.Status()};
     }},
    {Scope::Base, DeviceParameter::TestImageMode,
     [](auto& registers, auto&) { return Flag(registers.testImageMode); }, TarnTypeFlag,
     [](auto& registers, auto&, auto& value) {
         registers.testImageMode = value.number != 0;
         return 0u;
     }},
    {Scope::Base, DeviceParameter::RawFilesFolder,
     [](auto& registers, auto&) { return Text(registers.rawFolder); }, TarnTypeText,
     [](auto& registers, auto&, auto& value) {
         registers.rawFolder = value.bytes;
         return 0u;
     }},
    {Scope::Base, DeviceParameter::GainCheck,
     [](auto& registers, auto&) { return Flag(registers.gainCheck); }, TarnTypeFlag,
     [](auto& registers, auto&, auto& value) {
         registers.gainCheck = value.number != 0;
         return 0u;
     }},
};

} // namespace

std::string DeviceState::HardwareId() const
{
    return IsSensor() ? "TLV-" + std::to_string(SensorCode()) + "-" + std::to_string(1000 + number)
                      : "TLV-BASE-1000";
}

std::uint32_t EnableCode(const Registers& registers, const DeviceState& device)
{
    if (registers.phase == Phase::Reading) {
        return CommandForbidden;
    }
    const bool usable = device.IsSensor() && device.faultState == 0;
    return usable && registers.phase == Phase::Idle ? CommandPossible : CommandNeedless;
}

std::uint32_t AbortCode(const Registers& registers, const DeviceState& device)
{
    if (registers.phase == Phase::Reading) {
        return CommandForbidden;
    }
    return device.IsSensor() && registers.phase != Phase::Idle ? CommandPossible : CommandNeedless;
}

std::uint32_t ListState(const Registers& registers, const DeviceState& device)
{
    if (device.faultState != 0) {
        return device.faultState;
    }
    switch (registers.phase) {
    case Phase::Idle:
        return StateStandBy;
    case Phase::Arming:
        return StateActive;
    case Phase::Armed:
        return StateCaptureEnabled;
    case Phase::Reading:
        return StateWaiting;
    }
    return 0;
}

std::uint32_t ReadLibraryParameter(const Registers& registers, std::uint32_t parameter,
                                   Value& value)
{
    const Row* row = Find(nullptr, parameter);
    if (row == nullptr) {
        return NoSuchParameter;
    }
    value = row->read(registers, {});
    value.parameter = parameter;
    return 0;
}

std::uint32_t WriteLibraryParameter(Registers& registers, std::uint32_t parameter,
                                    const Value& value)
{
    DeviceState none;
    return Write(registers, Find(nullptr, parameter), none, value);
}

std::uint32_t ReadDeviceParameter(const Registers& registers, std::uint32_t device,
                                  std::uint32_t parameter, Value& value)
{
    const auto found = registers.devices.find(device);
    if (found == registers.devices.end() || !found->second.present) {
        return NoSuchDevice;
    }
    const Row* row = Find(&found->second, parameter);
    if (row == nullptr) {
        return NoSuchParameter;
    }
    value = row->read(registers, found->second);
    value.parameter = parameter;
    return 0;
}

std::uint32_t WriteDeviceParameter(Registers& registers, std::uint32_t device,
                                   std::uint32_t parameter, const Value& value)
{
    const auto found = registers.devices.find(device);
    if (found == registers.devices.end() || !found->second.present) {
        return NoSuchDevice;
    }
    return Write(registers, Find(&found->second, parameter), found->second, value);
}

namespace {

Value Integer(std::uint32_t number)
{
    return {TarnTypeInteger, number, {}};
}

Value Flag(bool flag)
{
    return {TarnTypeFlag, flag ? 1u : 0u, {}};
}

Value Text(std::string text)
{
    return {TarnTypeText, 0, std::move(text)};
}

std::uint32_t WriteBinning(Registers& registers, const Value& value)
{
    BinningBlock block{};
    if (value.bytes.size() != sizeof block) {
        return BadValue;
    }
    std::memcpy(&block, value.bytes.data(), sizeof block);
    if (block.binning != 1 && block.binning != 2 && block.binning != 4) {
        return BadValue;
    }
    bool taken = false;
    for (auto& [number, device] : registers.devices) {
        if (device.IsSensor() && device.present && device.SensorCode() == block.sensorCode) {
            device.binning = block.binning;
            taken = true;
        }
    }
    return taken ? 0 : NoSuchDevice;
}

// device: null for a parameter of the library.
const Row* Find(const DeviceState* device, std::uint32_t parameter)
{
    for (const Row& row : Table) {
        if (row.number != parameter) {
            continue;
        }
        const bool fits = device == nullptr
                              ? row.scope == Scope::Library
                              : row.scope == Scope::Device ||
                                    row.scope == (device->IsSensor() ? Scope::Sensor : Scope::Base);
        if (fits) {
            return &row;
        }
    }
    return nullptr;
}

std::uint32_t Write(Registers& registers, const Row* row, DeviceState& device, const Value& value)
{
    if (row == nullptr) {
        return NoSuchParameter;
    }
    if (row->writeType == 0) {
        return ReadOnlyParameter;
    }
    if (row->writeType != value.type) {
        return BadValue;
    }
    return row->write(registers, device, value);
}

} // namespace
} // namespace tarn
