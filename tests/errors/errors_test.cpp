// Messages with placeholders and the exceptions that carry them.
#include "errors/exceptions.h"

#include <gtest/gtest.h>

namespace {

TEST(MsgWithArgs, ReplacesPlaceholdersByTheirArgument)
{
    constexpr const char* Cases[][3] = {
        {"File %1% not found.", "a.q32", "File a.q32 not found."},
        {"no placeholder", "x", "no placeholder"},
        {"%1%%1%", "x", "xx"},
        {"%1%%1%", "", ""},
        {"%1%", "%1%", "%1%"},     // an argument is not expanded again
        {"%1%%1%", "x%", "x%%1%"}, // and its last "%" keeps the next from opening
        {"%01% %a% %2%", "x", "%01% %a% %2%"},
        {"100% of %1%", "x", "100% of %1%"}, // the lone "%" takes the next for its end
        {"%% %1%", "x", "%% x"},
        {"%1", "x", "%1"},
        {"a%%%1%", "x", "a%%%1%"},
    };
    for (const auto& [text, argument, formatted] : Cases) {
        EXPECT_EQ(MsgWithArgs(text, argument).Format(), formatted) << text;
    }
    EXPECT_EQ(MsgWithArgs("File %1%").Format(), "File %1%");
}

TEST(Exceptions, SayWhatFailedAndWhere)
{
    constexpr ModuleDesc Module = {7, "Test"};
    try {
        throw eQ32FileExcpt(OutOfMemoryFailure, Module, "File %1%", "a");
    } catch (const std::exception& error) {
        EXPECT_STREQ(error.what(), "File a");
        const auto& described = dynamic_cast<const eExcptAnyWithMDesc&>(error);
        EXPECT_TRUE(described.GetCode() == 2162686 && described.GetModuleDesc().id == 7);
    }
    EXPECT_STREQ(eExcptAnyWithMDesc(3, Module).what(), "");
}

} // namespace
