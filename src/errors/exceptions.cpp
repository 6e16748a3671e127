// Composes the description of an exception when it is first asked for.
#include "errors/exceptions.h"

const char* eExcptAny::what() const noexcept
{
    try {
        return GetDescription().c_str();
    } catch (const std::exception&) {
        return "";
    }
}

const std::string& eExcptAny::GetDescription() const
{
    return description;
}

eExcptAnyWithMDesc::eExcptAnyWithMDesc(std::int64_t failureCode, const ModuleDesc& moduleDesc)
    : code(failureCode), module(moduleDesc)
{
}

const ModuleDesc& eExcptAnyWithMDesc::GetModuleDesc() const
{
    return module;
}

std::int64_t eExcptAnyWithMDesc::GetCode() const
{
    return code;
}

eExcptAnyWithDescStack::eExcptAnyWithDescStack(std::int64_t failureCode,
                                               const ModuleDesc& moduleDesc,
                                               const std::string& message,
                                               const std::string& argument)
    : eExcptAnyWithMDesc(failureCode, moduleDesc),
      descStack{{failureCode, moduleDesc, MsgWithArgs(message, argument)}}
{
}

const std::string& eExcptAnyWithDescStack::GetDescription() const
{
    if (description.empty() && !descStack.empty()) {
        description = descStack.back().message.Format();
    }
    return description;
}
