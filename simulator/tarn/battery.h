// The battery of a sensor.
#pragma once

#include <cstdint>
#include <string>

namespace tarn {

struct Battery
{
    double charge = 100; // percent
    bool externalPower = false;
    std::uint32_t exposures = 0;

    bool IsEmpty() const { return charge <= 0 && !externalPower; }
    // Charges for that many simulated seconds while there is external power.
    void Charge(double seconds);
    // One exposure. percent: its drain without external power. Returns whether the battery became
    // low by it.
    bool Expose(double percent);

    // The bytes of the parameter BatteryStatus.
    std::string Status() const;
};

} // namespace tarn
