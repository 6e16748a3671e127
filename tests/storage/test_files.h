// A folder of its own for a test, files in it, and actions that fail.
#pragma once

#include "errors/exceptions.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

// Gone, with all that is in it, at the end of the test. Open to every user.
class TestFolder
{
public:
    explicit TestFolder(const std::filesystem::path& place = std::filesystem::temp_directory_path())
    {
        std::string name = place / "storage_test_XXXXXX";
        m_path = std::string(mkdtemp(name.data())) + '/';
        std::filesystem::permissions(m_path, std::filesystem::perms{0755});
    }
    ~TestFolder() { std::filesystem::remove_all(m_path); }
    TestFolder(const TestFolder&) = delete;
    TestFolder& operator=(const TestFolder&) = delete;

    std::string operator/(const std::string& name) const { return m_path + name; }

private:
    std::string m_path;
};

inline std::string ReadBytes(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

inline void WriteBytes(const std::string& path, const std::string& bytes)
{
    std::ofstream(path, std::ios::binary) << bytes;
}

// The message that the action fails with, empty when it does not fail.
template <typename Action>
std::string FailureOf(Action action)
{
    try {
        action();
        return "";
    } catch (const eExcptAny& error) {
        return error.GetDescription();
    }
}

// Runs the action in a child process, which may give up what it needs, and returns its text.
inline std::string InChild(const std::function<std::string()>& action)
{
    int ends[2];
    if (pipe(ends) != 0) {
        return "no pipe";
    }
    const pid_t child = fork();
    if (child == 0) {
        const std::string text = action();
        const bool isSent = write(ends[1], text.data(), text.size()) >= 0;
        _exit(isSent ? 0 : 1);
    }
    close(ends[1]);
    char text[1000] = {};
    const ssize_t size = read(ends[0], text, sizeof text);
    close(ends[0]);
    int status = 0;
    waitpid(child, &status, 0);
    return status == 0 ? std::string(text, static_cast<std::size_t>(size)) : "the child died";
}
