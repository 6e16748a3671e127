// Follows the sensor.
#include "simulator/quillet/sensor_watch.h"

#include <algorithm>
#include <cmath>
#include <string_view>

void SensorWatch::Expose()
{
    if (m_sensor.expose != nullptr) {
        m_sensor.expose();
    }
}

void SensorWatch::Follow()
{
    double secondsLeft = -1.0;
    const std::uint32_t phase = m_sensor.phase != nullptr ? m_sensor.phase(&secondsLeft) : m_phase;
    if (phase != m_phase || m_phaseLength < secondsLeft) {
        m_phase = phase;
        m_phaseLength = secondsLeft;
    }
    m_secondsLeft = secondsLeft;
}

const PhaseLook& SensorWatch::Look() const
{
    return m_sensor.phase != nullptr ? LookOf(m_phase) : UnknownLook;
}

std::string SensorWatch::Countdown() const
{
    if (!IsCounting()) {
        return {};
    }
    constexpr std::string_view Place = "%1";
    const long tenths = std::lround(m_secondsLeft * 10.0);
    std::string text = Look().countdown;
    return text.replace(text.find(Place), Place.size(),
                        std::to_string(tenths / 10) + '.' + std::to_string(tenths % 10));
}

double SensorWatch::ShareLeft() const
{
    return IsCounting() && m_phaseLength > 0.0 ? std::min(m_secondsLeft / m_phaseLength, 1.0) : 0.0;
}

bool SensorWatch::IsCounting() const
{
    return m_secondsLeft >= 0.0 && *Look().countdown != 0;
}
