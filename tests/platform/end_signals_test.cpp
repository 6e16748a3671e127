// Signals that ask the program to end: one asks, the second ends it at once.
#include "platform/posix/end_signals.h"

#include <cerrno>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

TEST(EndSignals, TheFirstAsksAndLeavesErrnoAlone)
{
    EndSignals signals;
    pollfd state{signals.Descriptor(), POLLIN, 0};
    EXPECT_EQ(poll(&state, 1, 0), 0);
    errno = ERANGE;
    std::raise(SIGHUP);
    EXPECT_EQ(errno, ERANGE);
    EXPECT_EQ(poll(&state, 1, 0), 1);
    signals.Clear();
    EXPECT_EQ(poll(&state, 1, 0), 0);
}

TEST(EndSignals, TheSecondOfItsKindEndsTheProcessWithItsStatus)
{
    const pid_t child = fork();
    if (child == 0) {
        const EndSignals signals;
        for (const int signal : {SIGTERM, SIGHUP, SIGINT, SIGHUP}) {
            std::raise(signal);
        }
        _exit(0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGHUP) << status;
}

} // namespace
