// A storm: events posted at a given rate to flood the window.
#pragma once

#include "simulator/tarn/settings.h"

#include <cstdint>
#include <vector>

namespace tarn {

class EventStorm
{
public:
    // Adds the events of that many real seconds. Starts anew when a storm was set since.
    void Advance(const Settings& settings, double seconds);
    // Takes the events that are due, but only as many as calls of the library may wait for.
    std::vector<std::uint32_t> TakeDue(const Settings& settings);

private:
    std::uint32_t m_serial = 0;
    double m_owed = 0;
    std::uint64_t m_posted = 0;
};

} // namespace tarn
