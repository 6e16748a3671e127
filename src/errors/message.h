// MsgWithArgs, a message template with numbered placeholders and the arguments that fill them.
#pragma once

#include <cstdint>
#include <map>
#include <string>

// "File %1% not found." with the argument "a.q32" formats to "File a.q32 not found.". There is no
// escape form: a placeholder without an argument, and any other "%", stays as it is.
class MsgWithArgs
{
public:
    explicit MsgWithArgs(std::string text);
    MsgWithArgs(std::string text, const std::string& argument); // the argument becomes "%1%"
    MsgWithArgs(const MsgWithArgs&) = default;
    MsgWithArgs& operator=(const MsgWithArgs&) = default;
    virtual ~MsgWithArgs() = default;

    // The template with its placeholders replaced; an inserted argument is not searched again.
    std::string Format() const;

private:
    void AddArgument(const std::string& argument);

    std::string m_template;
    std::map<std::string, std::string> m_arguments; // "1", "2", .. in decimal
    std::int32_t m_argumentCount = 0;
};
