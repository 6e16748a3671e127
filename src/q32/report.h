// What a sub-command found out about one file, and its three written forms.
#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

using Value = nlohmann::ordered_json; // a number, text, true or false; null: not defined

inline Value OrNull(const std::optional<double>& number)
{
    return number ? Value(*number) : Value();
}

// The text with \xNN for bytes that act on a terminal instead of being shown, but the allowed ones.
std::string Printable(const std::string& text, const std::string& allowed = "");

struct Report
{
    std::string file;
    std::vector<std::pair<std::string, Value>> fields; // in the order of writing
    // A table beside the fields; without columns there is none.
    std::string tableName;
    std::vector<std::string> columns;
    std::vector<std::vector<Value>> rows;
};

enum class ReportForm
{
    Text, // for people: names and values in two columns, then the table
    Json, // one object a line for each file
    Csv   // a header line, then lines that begin with the file: the table's rows, or the fields
};

// Writes reports one after the other.
class ReportWriter
{
public:
    ReportWriter(std::ostream& stream, ReportForm form) : m_stream(stream), m_form(form) {}

    void Write(const Report& report);

private:
    void WriteText(const Report& report);
    void WriteJson(const Report& report);
    void WriteCsv(const Report& report);

    std::ostream& m_stream;
    ReportForm m_form;
    bool m_isFirst = true;
};
