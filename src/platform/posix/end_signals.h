// The signals that ask the program to end.
#pragma once

#include <array>
#include <csignal>

// While it lives, SIGTERM, SIGINT and SIGHUP make a descriptor readable instead of ending the
// process. A second one of the same kind ends it at once, with the status of the signal: a call
// into a library that never returns cannot be waited for. One of another kind only asks again, as
// the end of a session sends SIGTERM and SIGHUP together. A signal that the process was started to
// ignore stays ignored. One object at a time.
class EndSignals
{
public:
    EndSignals(); // without a descriptor the signals keep their effect
    ~EndSignals();
    EndSignals(const EndSignals&) = delete;
    EndSignals& operator=(const EndSignals&) = delete;

    int Descriptor() const; // negative for none
    void Clear();           // makes it unreadable again

private:
    static constexpr std::array Signals = {SIGTERM, SIGINT, SIGHUP};

    std::array<struct sigaction, Signals.size()> m_former{};
};
