// The table of parameters and what each reads and writes.
#include "simulator/tarn/parameters.h"

#include "simulator/tarn/result_codes.h"

#include <cmath>
#include <cstring>

namespace tarn {
namespace {

// The battery status as parameter 34 gives it, little-endian.
struct BatteryBlock
{
    std::uint32_t refreshWear;  // exposures since the last full charge
    std::uint32_t totalWear;    // exposures in all
    std::uint16_t voltage;      // mV
    std::uint16_t percent;      // of the capacity
    std::uint32_t ok;           // 1: enough for an exposure
    std::uint32_t needRefresh;  // 1: charge fully soon
    std::uint32_t needChange;   // 1: worn out
    std::uint16_t temperature;  // degrees Celsius
    std::int16_t charge;        // mA, negative while draining
    std::uint8_t state;         // 1 draining, 2 charging, 3 full, 4 empty
    std::uint8_t externalPower; // 1: connected
    std::uint8_t unused[2];     // 0
    std::uint32_t capacityLeft; // mAh
};
static_assert(sizeof(BatteryBlock) == 36);
static_assert(offsetof(BatteryBlock, charge) == 26);
static_assert(offsetof(BatteryBlock, capacityLeft) == 32);

// The binning as parameter 10 takes it, little-endian.
struct BinningBlock
{
    std::uint16_t binning;
    std::uint16_t sensorCode; // of the sensors it is meant for, whichever device is written
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

// One parameter. device is none's for the library's own.
struct Row
{
    Scope scope;
    std::uint32_t number;
    std::uint32_t type;
    Value (*read)(const Registers&, const DeviceState& device);
    std::uint32_t writeType; // 0: cannot be written
    std::uint32_t (*write)(Registers&, DeviceState& device, const Value&);
};

Value Integer(std::uint32_t number);
Value Flag(bool flag);
Value Text(std::string text);
Value Battery(const DeviceState& device);
std::uint32_t WriteBinning(Registers& registers, const Value& value);
const Row* Find(const DeviceState* device, std::uint32_t parameter);
std::uint32_t Write(Registers& registers, const Row* row, DeviceState& device, const Value& value);

constexpr std::uint32_t I = TarnTypeInteger, F = TarnTypeFlag, T = TarnTypeText, B = TarnTypeBlock;

using R = const Registers&;
using D = const DeviceState&;

const Row Table[] = {
    {Scope::Library, 8, T,
     [](R, D) { return Text("Tarn simulator 1.0\nSensor model 2, phantom 1"); }, 0, nullptr},
    {Scope::Library, 16, B,
     [](R r, D) {
         return Value{B, 0, r.startBlock};
     },
     B,
     [](Registers& r, DeviceState&, const Value& value) {
         if (value.bytes.size() != StartBlockSize) {
             return BadValue;
         }
         r.startBlock = value.bytes;
         return 0u;
     }},
    {Scope::Library, 17, T, [](R r, D) { return Text(r.filterChain); }, T,
     [](Registers& r, DeviceState&, const Value& value) {
         r.filterChain = value.bytes;
         return 0u;
     }},
    {Scope::Device, 1, I, [](R, D d) { return Integer(d.faultState == 100 ? d.faultResult : 0); },
     0, nullptr},
    {Scope::Device, 2, T, [](R, D d) { return Text(d.HardwareId()); }, 0, nullptr},
    {Scope::Device, 3, T,
     [](R, D d) { return Text(d.IsSensor() ? d.HardwareId() + ".gain" : std::string()); }, 0,
     nullptr},
    {Scope::Base, 4, T, [](R, D) { return Text("Base unit: 2 sensor ports"); }, 0, nullptr},
    {Scope::Sensor, 5, T,
     [](R, D d) {
         return Text("Sensor " + std::to_string(d.number) + ": code " +
                     std::to_string(d.SensorCode()) + ", " + d.HardwareId());
     },
     0, nullptr},
    {Scope::Device, 6, I, [](R, D d) { return Integer(d.faultState == 101 ? d.faultResult : 0); },
     0, nullptr},
    {Scope::Device, 7, I,
     [](R r, D d) { return Integer(d.IsSensor() && !r.gainCheck ? GainCheckOff : 0); }, 0, nullptr},
    {Scope::Device, 8, T,
     [](R, D d) {
         return Text(d.IsSensor() ? "Sensor firmware 2.4\nFPGA 17" : "Base firmware 3.1");
     },
     0, nullptr},
    {Scope::Device, 9, T,
     [](R, D d) {
         if (!d.IsSensor()) {
             return Text("");
         }
         return Text("Binning " + std::to_string(d.binning) + "\nIntegration time " +
                     std::to_string(d.integrationTime) + " ms\nBattery " +
                     std::to_string(std::lround(d.charge)) + " %");
     },
     0, nullptr},
    {Scope::Sensor, 10, I, [](R, D d) { return Integer(d.binning); }, B,
     [](Registers& r, DeviceState&, const Value& value) { return WriteBinning(r, value); }},
    {Scope::Sensor, 11, I, [](R, D d) { return Integer(d.integrationTime); }, I,
     [](Registers&, DeviceState& d, const Value& value) {
         if (value.number > LongestIntegration) {
             return BadValue;
         }
         d.integrationTime = value.number;
         return 0u;
     }},
    {Scope::Sensor, 12, I, [](R, D d) { return Integer(d.inactivityTimeout); }, I,
     [](Registers&, DeviceState& d, const Value& value) {
         d.inactivityTimeout = value.number;
         return 0u;
     }},
    {Scope::Device, 14, I, [](R r, D d) { return Integer(EnableCode(r, d)); }, 0, nullptr},
    {Scope::Device, 15, I, [](R r, D d) { return Integer(AbortCode(r, d)); }, 0, nullptr},
    {Scope::Sensor, 34, B, [](R, D d) { return Battery(d); }, 0, nullptr},
    {Scope::Base, 80, F, [](R r, D) { return Flag(r.testImageMode); }, F,
     [](Registers& r, DeviceState&, const Value& value) {
         r.testImageMode = value.number != 0;
         return 0u;
     }},
    {Scope::Base, 81, T, [](R r, D) { return Text(r.rawFolder); }, T,
     [](Registers& r, DeviceState&, const Value& value) {
         r.rawFolder = value.bytes;
         return 0u;
     }},
    {Scope::Base, 82, F, [](R r, D) { return Flag(r.gainCheck); }, F,
     [](Registers& r, DeviceState&, const Value& value) {
         r.gainCheck = value.number != 0;
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
        return 2;
    }
    if (!device.IsSensor() || device.faultState != 0) {
        return 1;
    }
    return registers.phase == Phase::Idle ? 0 : 1;
}

std::uint32_t AbortCode(const Registers& registers, const DeviceState& device)
{
    if (registers.phase == Phase::Idle) {
        return 1;
    }
    if (registers.phase == Phase::Reading) {
        return 2;
    }
    return device.IsSensor() ? 0 : 1;
}

std::uint32_t ListState(const Registers& registers, const DeviceState& device)
{
    if (device.faultState != 0) {
        return device.faultState;
    }
    switch (registers.phase) {
    case Phase::Idle:
        return 1;
    case Phase::Arming:
        return 2;
    case Phase::Armed:
        return 4;
    case Phase::Reading:
        return 3;
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
    return {I, number, {}};
}

Value Flag(bool flag)
{
    return {F, flag ? 1u : 0u, {}};
}

Value Text(std::string text)
{
    return {T, 0, std::move(text)};
}

Value Battery(const DeviceState& device)
{
    BatteryBlock block{};
    block.refreshWear = device.exposures % 500;
    block.totalWear = device.exposures;
    block.voltage = static_cast<std::uint16_t>(1050 + std::lround(2.5 * device.charge));
    block.percent = static_cast<std::uint16_t>(std::lround(device.charge));
    block.ok = device.charge > 0 || device.externalPower ? 1 : 0;
    block.needRefresh = block.refreshWear > 400 ? 1 : 0;
    block.needChange = device.exposures > 5000 ? 1 : 0;
    block.temperature = device.externalPower ? 38 : 35;
    const bool full = device.charge >= 100, empty = device.charge <= 0;
    if (device.externalPower) {
        block.charge = full ? 0 : 450;
        block.state = full ? 3 : 2;
    } else {
        block.charge = empty ? 0 : -80;
        block.state = empty ? 4 : 1;
    }
    block.externalPower = device.externalPower ? 1 : 0;
    block.capacityLeft =
        static_cast<std::uint32_t>(std::lround(device.charge / 100 * BatteryCapacity));
    return {B, 0, std::string(reinterpret_cast<const char*>(&block), sizeof block)};
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
