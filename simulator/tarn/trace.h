// The log of every call of the library, one line each.
#pragma once

#include <chrono>
#include <fstream>
#include <mutex>
#include <string>
#include <string_view>

namespace tarn {

class Trace
{
public:
    // An empty path writes nothing. The same path again keeps the open file.
    void SetFile(const std::string& path);
    // Opens the file anew, in case it was removed since.
    void Reopen(const std::string& path);
    bool IsOn();

    // Writes "<seconds> <name> <text>" and flushes. seconds: real, since the log began.
    void Write(std::string_view name, std::string_view text);

private:
    std::mutex m_mutex;
    std::string m_path;
    std::ofstream m_file;
    const std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
};

// Writes a message to stderr.
void Warn(const std::string& text);

// A text as the log shows it: quoted, control characters escaped, cut after 200 bytes; or "null".
std::string Quoted(const char* text);

} // namespace tarn
