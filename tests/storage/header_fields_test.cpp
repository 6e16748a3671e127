// Fields of a header text.
#include "storage/header_fields.h"

#include <gtest/gtest.h>

namespace {

TEST(HeaderFields, ValuesAreFoundAndDecoded)
{
    constexpr const char* Values[][2] = {
        {"Key=value;Next=1", "value"},
        {"Key=;Next=1", ""},
        {"Key= \t value;", "value"},
        {"Key=a b ;", "a b "},
        {"Key=\"a;b\";", "a"},
        {"Key=\"a\\;b\";", "a;b"},
        {"Key=\"a\\\"b\";", "a\"b"},
        {"Key=\"open", "open"},
        {"Key=\"", ""},
        {"Key=ab\"cd;", "ab\"cd"},
        {"Key=x\\ny\\rz\\t\\q;", "x\ny\rz\tq"},
        {"Key=a\\\\b;", "a\\b"},
        {"LongKey=5;Key=12;", "5"},
        {"Key=", ""},
        {"Key=  ", ""},
        {"Key=a\\", "a\\"},
    };
    for (const auto& [text, expected] : Values) {
        std::string value = "old";
        EXPECT_TRUE(GetHeaderValue(text, "Key=", HeaderSeparator, "none", value)) << text;
        EXPECT_EQ(value, expected) << text;
    }
    for (const char* text : {"", "ProgramName=P1;", "date=1;", "Date"}) {
        std::string value = "old";
        EXPECT_FALSE(GetHeaderValue(text, DateKey, HeaderSeparator, "none", value)) << text;
        EXPECT_EQ(value, "none") << text;
    }
}

TEST(HeaderFields, PositionsLeadFromOneFieldToTheNext)
{
    const std::string text = "K=\"a\"; K=b;";
    std::string value;
    std::size_t key = 0, end = 0;
    EXPECT_TRUE(FindKeyValue(text, "K=", ";", "", value, key, end));
    EXPECT_TRUE(key == 0 && end == 5 && value == "a") << "after the closing quote";
    EXPECT_TRUE(FindKeyValue(text, "K=", ";", "", value, key = end, end));
    EXPECT_TRUE(key == 7 && end == 10 && value == "b");
    EXPECT_FALSE(FindKeyValue(text, "K=", ";", "b", value, key = end, end));
    EXPECT_EQ(key, std::string::npos);

    std::size_t position = 1;
    EXPECT_TRUE(ExtractValue("xa\\;b", position, ";", "", value, false, false));
    EXPECT_TRUE(value == "ba\\" && position == 3) << "appended, no escapes";
    EXPECT_FALSE(ExtractValue("", position, ";", "none", value, true, true));
    EXPECT_EQ(value, "none");
}

} // namespace
