// Writes into a pipe when a signal comes.
#include "platform/posix/end_signals.h"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace {

std::array<int, 2> pipeEnds = {-1, -1};

// Calls only what a signal's handler may call, and leaves errno to the code that it interrupts.
void OnSignal(int)
{
    const int error = errno;
    const char byte = 0;
    [[maybe_unused]] const ssize_t written = write(pipeEnds[1], &byte, 1);
    errno = error;
}

} // namespace

EndSignals::EndSignals()
{
    if (pipe2(pipeEnds.data(), O_CLOEXEC | O_NONBLOCK) != 0) {
        return;
    }
    struct sigaction action
    {
    };
    action.sa_handler = OnSignal;
    action.sa_flags = SA_RESTART | static_cast<int>(SA_RESETHAND);
    for (std::size_t i = 0; i < Signals.size(); ++i) {
        sigaction(Signals[i], nullptr, &m_former[i]);
        if (m_former[i].sa_handler != SIG_IGN) {
            sigaction(Signals[i], &action, nullptr);
        }
    }
}

EndSignals::~EndSignals()
{
    if (Descriptor() < 0) {
        return;
    }
    for (std::size_t i = 0; i < Signals.size(); ++i) {
        sigaction(Signals[i], &m_former[i], nullptr);
    }
    close(pipeEnds[0]);
    close(pipeEnds[1]);
    pipeEnds = {-1, -1};
}

int EndSignals::Descriptor() const
{
    return pipeEnds[0];
}

void EndSignals::Clear()
{
    char byte = 0;
    while (read(pipeEnds[0], &byte, 1) == 1) {
    }
}
