// Shows the results of events one after the other.
#include "app/event_results.h"

#include "device/results.h"
#include "platform/scope.h"

#include <utility>

void EventResults::Report(std::uint32_t result, HWND owner, const std::string& caption)
{
    if (m_boxOpen) {
        m_last = result;
        ++m_waiting;
        return;
    }
    const ScopedValue boxOpen(m_boxOpen, true);
    ReportResult(result, owner, caption);
    while (m_waiting != 0) {
        const std::uint32_t earlier = std::exchange(m_waiting, 0) - 1;
        if (earlier == 0) {
            ReportResult(m_last, owner, caption);
        } else {
            ReportLastResult(m_last, earlier, owner, caption);
        }
    }
}
