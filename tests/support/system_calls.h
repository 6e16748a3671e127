// A test's place between the program and the operating system.
#pragma once

#include <functional>
#include <string_view>
#include <utility>

// Called before each open, openat, renameat, renameat2, flock, ftruncate and fsync of the process,
// with the call's name and path (empty when it has none). Returns the errno that the call fails
// with, 0 to let it happen. What it calls itself does not come here.
using SystemCallWatch = std::function<int(std::string_view call, std::string_view path)>;

extern SystemCallWatch systemCallWatch;

// Watches for the life of the object. Not for tests with threads.
class WatchedSystemCalls
{
public:
    explicit WatchedSystemCalls(SystemCallWatch watch) { systemCallWatch = std::move(watch); }
    ~WatchedSystemCalls() { systemCallWatch = nullptr; }
    WatchedSystemCalls(const WatchedSystemCalls&) = delete;
    WatchedSystemCalls& operator=(const WatchedSystemCalls&) = delete;
};
