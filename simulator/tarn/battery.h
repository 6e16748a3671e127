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
    // With external power, charges for that many simulated seconds.
    void Charge(double seconds);
    // Counts an exposure; without external power it drains by percent. Returns whether the charge
    // thereby became low.
    bool Expose(double percent);

    // The bytes of the parameter BatteryStatus.
    std::string Status() const;
};

} // namespace tarn
