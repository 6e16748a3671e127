// A storm of events, which floods the window.
#pragma once

#include "simulator/tarn/settings.h"

#include <cstdint>
#include <vector>

namespace tarn {

class EventStorm
{
public:
    // Lets real seconds pass. A new storm begins when settings were given one.
    void Advance(const Settings& settings, double seconds);
    // The events that are due, but no more at once than calls can wait for.
    std::vector<std::uint32_t> TakeDue(const Settings& settings);

private:
    std::uint32_t m_serial = 0;
    double m_owed = 0;
    std::uint64_t m_posted = 0;
};

} // namespace tarn
