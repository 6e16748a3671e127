// What the command needs of the operating system: standard streams as files, files that appear
// whole or not at all, and whether someone is watching.
#pragma once

#include <string>

inline constexpr char StandardStream[] = "-";

// A path that can be read like a file: the path itself, or for "-" the standard input, which a copy
// of it takes the place of.
class InputPath
{
public:
    explicit InputPath(const std::string& name);

    const char* Get() const { return m_path.c_str(); }

private:
    std::string m_path;
};

// Where a new file is written before it takes its place under its name, or goes to the standard
// output for "-". Without Commit nothing remains of it and an older file is as it was.
class OutputPath
{
public:
    // Raises BadFile when the file exists and must not be replaced, or its folder takes no file.
    OutputPath(const std::string& name, bool mayReplace);
    ~OutputPath();
    OutputPath(const OutputPath&) = delete;
    OutputPath& operator=(const OutputPath&) = delete;

    const char* Get() const { return m_temporary.c_str(); }
    // Brings the file onto the disk and under its name; raises BadFile when that fails.
    void Commit();

private:
    std::string m_name, m_temporary;
    bool m_mayReplace;
    int m_file = -1; // the one for the standard output
};

bool IsFolder(const std::string& path);
bool IsErrorTerminal();
