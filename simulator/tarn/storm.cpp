// Counts which events of a storm are due.
#include "simulator/tarn/storm.h"

#include <algorithm>

namespace tarn {
namespace {

constexpr std::size_t Batch = 256;  // events
constexpr double LongestStep = 0.1; // real seconds; a process that was stopped does not catch up

} // namespace

void EventStorm::Advance(const Settings& settings, double seconds)
{
    if (settings.stormSerial != m_serial) {
        *this = {};
        m_serial = settings.stormSerial;
    }
    m_owed += std::min(seconds, LongestStep) * settings.storm;
}

std::vector<std::uint32_t> EventStorm::TakeDue(const Settings& settings)
{
    std::vector<std::uint32_t> due;
    const std::vector<std::uint32_t>& events = settings.stormEvents;
    const auto isOver = [&] {
        return settings.storm <= 0 || events.empty() ||
               (settings.stormCount != 0 && m_posted >= settings.stormCount);
    };
    for (; m_owed >= 1 && due.size() < Batch && !isOver(); m_owed -= 1) {
        due.push_back(events[static_cast<std::size_t>(m_posted++ % events.size())]);
    }
    return due;
}

} // namespace tarn
