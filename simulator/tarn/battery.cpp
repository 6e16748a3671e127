// Charges and drains the battery and tells its status.
#include "simulator/tarn/battery.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace tarn {
namespace {

// Little-endian.
struct StatusBlock
{
    std::uint32_t refreshWear;  // exposures since the last full charge
    std::uint32_t totalWear;    // exposures in all
    std::uint16_t voltage;      // mV
    std::uint16_t percent;      // of the capacity
    std::uint32_t ok;           // 1: enough for an exposure
    std::uint32_t needRefresh;  // 1: charge fully soon
    std::uint32_t needChange;   // 1: worn out
    std::uint16_t temperature;  // degrees Celsius
    std::int16_t current;       // mA, negative while draining
    std::uint8_t state;         // 1 draining, 2 charging, 3 full, 4 empty
    std::uint8_t externalPower; // 1: connected
    std::uint8_t unused[2];     // 0
    std::uint32_t capacityLeft; // mAh
};
static_assert(sizeof(StatusBlock) == 36);
static_assert(offsetof(StatusBlock, current) == 26);
static_assert(offsetof(StatusBlock, capacityLeft) == 32);

constexpr double Capacity = 1000;           // mAh
constexpr double LowCharge = 10;            // percent
constexpr double ChargeRate = 100.0 / 3600; // percent a simulated second

} // namespace

void Battery::Charge(double seconds)
{
    if (externalPower) {
        charge = std::min(charge + seconds * ChargeRate, 100.0);
    }
}

bool Battery::Expose(double percent)
{
    ++exposures;
    const bool wasLow = charge < LowCharge;
    if (!externalPower) {
        charge = std::max(charge - percent, 0.0);
    }
    return !wasLow && charge < LowCharge;
}

std::string Battery::Status() const
{
    StatusBlock block{};
    block.refreshWear = exposures % 500;
    block.totalWear = exposures;
    block.voltage = static_cast<std::uint16_t>(1050 + std::lround(2.5 * charge));
    block.percent = static_cast<std::uint16_t>(std::lround(charge));
    block.ok = IsEmpty() ? 0 : 1;
    block.needRefresh = block.refreshWear > 400 ? 1 : 0;
    block.needChange = exposures > 5000 ? 1 : 0;
    block.temperature = externalPower ? 38 : 35;
    const bool full = charge >= 100, empty = charge <= 0;
    if (externalPower) {
        block.current = full ? 0 : 450;
        block.state = full ? 3 : 2;
    } else {
        block.current = empty ? 0 : -80;
        block.state = empty ? 4 : 1;
    }
    block.externalPower = externalPower ? 1 : 0;
    block.capacityLeft = static_cast<std::uint32_t>(std::lround(charge / 100 * Capacity));
    return {reinterpret_cast<const char*>(&block), sizeof block};
}

} // namespace tarn
