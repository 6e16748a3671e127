// The exceptions of file operations: a message, a code and the component that raised them.
//
//   std::exception <- eExcptAny <- eExcptAnyWithMDesc <- eExcptAnyWithDescStack
//                                                          <- eQ32FileExcpt, eFileAccessExcpt
#pragma once

#include "errors/message.h"

#include <cstdint>
#include <exception>
#include <list>
#include <string>

// A component that raises exceptions. The records are constants, so the name is never freed.
struct ModuleDesc
{
    std::uint32_t id;
    const char* name;
};

struct DescEntry
{
    std::int64_t code;
    ModuleDesc module;
    MsgWithArgs message;
};

// The codes follow the layout of the capture library's results: category 0x200000 is an error.
inline constexpr std::int64_t OrdinaryFailure = 0; // the message says which
inline constexpr std::int64_t OutOfMemoryFailure = 0x20FFFE;
inline constexpr std::int64_t UnexpectedFailure = 0x20FFFF;

class eExcptAny : public std::exception
{
public:
    eExcptAny() = default;
    eExcptAny(const eExcptAny&) = default;
    eExcptAny& operator=(const eExcptAny&) = default;
    ~eExcptAny() override = default;

    // The description; empty, never null, when there is none or no memory left to compose it.
    const char* what() const noexcept override;
    virtual const std::string& GetDescription() const;

protected:
    // Composed when first asked for, also by a const exception; copies carry the composed text.
    mutable std::string description;
};

class eExcptAnyWithMDesc : public eExcptAny
{
public:
    eExcptAnyWithMDesc(std::int64_t failureCode, const ModuleDesc& moduleDesc);

    virtual const ModuleDesc& GetModuleDesc() const;
    virtual std::int64_t GetCode() const;

protected:
    std::int64_t code;
    ModuleDesc module;
};

class eExcptAnyWithDescStack : public eExcptAnyWithMDesc
{
public:
    // The argument, a file's path, takes the place of "%1%" in the message.
    eExcptAnyWithDescStack(std::int64_t failureCode, const ModuleDesc& moduleDesc,
                           const std::string& message, const std::string& argument);

    // The message of the newest entry.
    const std::string& GetDescription() const override;

protected:
    std::list<DescEntry> descStack; // oldest first
};

// Raised by the image file reader and writer.
class eQ32FileExcpt : public eExcptAnyWithDescStack
{
public:
    using eExcptAnyWithDescStack::eExcptAnyWithDescStack;
};

// Raised by the file-access check.
class eFileAccessExcpt : public eExcptAnyWithDescStack
{
public:
    using eExcptAnyWithDescStack::eExcptAnyWithDescStack;
};
