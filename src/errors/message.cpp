// Fills the placeholders of a message template.
#include "errors/message.h"

#include <string_view>
#include <utility>

MsgWithArgs::MsgWithArgs(std::string text) : m_template(std::move(text)) {}

MsgWithArgs::MsgWithArgs(std::string text, const std::string& argument)
    : m_template(std::move(text))
{
    AddArgument(argument);
}

void MsgWithArgs::AddArgument(const std::string& argument)
{
    ++m_argumentCount;
    m_arguments.emplace(std::to_string(m_argumentCount), argument);
}

std::string MsgWithArgs::Format() const
{
    std::string result;
    std::string_view rest = m_template;
    for (;;) {
        const std::size_t opening = rest.find('%');
        if (opening == std::string_view::npos) {
            break;
        }
        result += rest.substr(0, opening);
        rest.remove_prefix(opening);
        // A "%" right after another one, be it the end of an inserted argument, opens nothing.
        if (!result.empty() && result.back() == '%') {
            result += '%';
            rest.remove_prefix(1);
            continue;
        }
        const std::size_t closing = rest.find('%', 1);
        if (closing == std::string_view::npos) {
            break;
        }
        const auto argument = m_arguments.find(std::string(rest.substr(1, closing - 1)));
        result += argument != m_arguments.end() ? std::string_view(argument->second)
                                                : rest.substr(0, closing + 1);
        rest.remove_prefix(closing + 1);
    }
    return result.append(rest);
}
