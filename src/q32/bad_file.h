// The failure of one file, which ends the work on that file alone.
#pragma once

#include <stdexcept>
#include <string>

// what() is the reason, without the file's name.
class BadFile : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

// A failure that names the file itself, because the command works on more than one at once.
class BadNamedFile : public BadFile
{
public:
    BadNamedFile(std::string file, const std::string& reason)
        : BadFile(reason), m_file(std::move(file))
    {
    }

    const std::string& File() const { return m_file; }

private:
    std::string m_file;
};
