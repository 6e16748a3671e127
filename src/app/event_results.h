// Results that the library reports by events, shown without burying the window in boxes.
#pragma once

#include "platform/types.h"

#include <cstdint>
#include <string>

// One box at a time: results that come while it is open wait, and of those that waited only the
// last is shown, with the number of the others.
class EventResults
{
public:
    // Shows the result, and then what came meanwhile. While a box is open it returns at once.
    void Report(std::uint32_t result, HWND owner, const std::string& caption);

private:
    bool m_boxOpen = false;
    std::uint32_t m_last = 0; // of those that wait
    std::uint32_t m_waiting = 0;
};
