// Fields of a header text.
#include "storage/header_fields.h"

#include <gtest/gtest.h>

namespace {

TEST(HeaderFields, ValuesAreFoundAndDecoded)
{
    struct Case
    {
        const char* text;
        const char* key;
        const char* value;
    };
    constexpr Case Cases[] = {
        {"Key=value;Next=1", "Key=", "value"},
        {"Key=;Next=1", "Key=", ""},
        {"Key= \t value;", "Key=", "value"},
        {"Key=a b ;", "Key=", "a b "},
        {"Key=\"a b\";", "Key=", "a b"},
        {"Key=\"a;b\";", "Key=", "a"},
        {"Key=\"a\\;b\";", "Key=", "a;b"},
        {"Key=\"a\\\"b\";", "Key=", "a\"b"},
        {"Key=\"open", "Key=", "open"},
        {"Key=\"", "Key=", ""},
        {"Key=ab\"cd;", "Key=", "ab\"cd"},
        {"Key=x\\ny\\rz\\t\\q;", "Key=", "x\ny\rz\tq"},
        {"Key=a\\\\b;", "Key=", "a\\b"},
        {"Key=tail without separator", "Key=", "tail without separator"},
        {"ExposureTime=5;Time=12;", "Time=", "5"},
        {"Key=", "Key=", ""},
        {"Key=  ", "Key=", ""},
        {"Key=a\\", "Key=", "a\\"},
    };
    for (const Case& row : Cases) {
        std::string value = "old";
        EXPECT_TRUE(GetHeaderValue(row.text, row.key, HeaderSeparator, "none", value)) << row.text;
        EXPECT_EQ(value, row.value) << row.text;
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
