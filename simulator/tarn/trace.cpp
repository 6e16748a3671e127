// Writes the log of calls.
#include "simulator/tarn/trace.h"

#include "simulator/tarn/system.h"

#include <cstdio>
#include <cstring>

namespace tarn {

void Trace::SetFile(const std::string& path)
{
    const std::lock_guard lock(m_mutex);
    if (path == m_path) {
        return;
    }
    m_path = path;
    m_file.close();
    m_file.clear();
    if (path.empty()) {
        return;
    }
    m_file.open(PathOf(path), std::ios::app | std::ios::binary);
    if (!m_file) {
        Warn("cannot write the trace file " + path);
    }
}

void Trace::Reopen(const std::string& path)
{
    SetFile({});
    SetFile(path);
}

bool Trace::IsOn()
{
    const std::lock_guard lock(m_mutex);
    return m_file.is_open();
}

void Trace::Write(std::string_view name, std::string_view text)
{
    const std::lock_guard lock(m_mutex);
    if (!m_file.is_open()) {
        return;
    }
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - m_start;
    char seconds[32];
    std::snprintf(seconds, sizeof seconds, "%.6f", elapsed.count());
    m_file << seconds << ' ' << name << ' ' << text << std::endl;
}

void Warn(const std::string& text)
{
    std::fprintf(stderr, "Tarn simulator: %s\n", text.c_str());
}

std::string Quoted(const char* text)
{
    if (text == nullptr) {
        return "null";
    }
    constexpr std::size_t Longest = 200;
    std::string quoted = "\"";
    for (const char* at = text; *at != 0; ++at) {
        if (at == text + Longest) {
            return quoted + "\"...";
        }
        const auto byte = static_cast<unsigned char>(*at);
        char escaped[8] = {*at, 0};
        if (byte < 32 || byte == 127) {
            std::snprintf(escaped, sizeof escaped, "\\x%02x", static_cast<unsigned>(byte));
        } else if (byte == '"' || byte == '\\') {
            std::snprintf(escaped, sizeof escaped, "\\%c", *at);
        }
        quoted += escaped;
    }
    return quoted + "\"";
}

} // namespace tarn
