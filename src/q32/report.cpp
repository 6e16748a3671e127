// Reports as text, JSON and CSV.
#include "q32/report.h"

#include <algorithm>
#include <charconv>

namespace {

constexpr auto InvalidBytes = nlohmann::ordered_json::error_handler_t::replace;

std::string Plain(const Value& value);
std::string CsvCell(const Value& value);
void WriteCsvLine(std::ostream& stream, const std::vector<Value>& cells);

} // namespace

std::string Printable(const std::string& text, const std::string& allowed)
{
    std::string printable;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto byte = static_cast<std::uint8_t>(text[i]);
        const auto next = static_cast<std::uint8_t>(i + 1 < text.size() ? text[i + 1] : 0);
        // U+0080 to U+009F begin sequences for terminals, too.
        const bool isLongControl = byte == 0xC2 && 0x80 <= next && next < 0xA0;
        const bool isControl = byte < 0x20 || byte == 0x7F || isLongControl;
        if (!isControl || allowed.find(text[i]) != std::string::npos) {
            printable += text[i];
            continue;
        }
        constexpr char Digits[] = "0123456789ABCDEF";
        const std::uint8_t code = isLongControl ? next : byte;
        printable += std::string("\\x") + Digits[code >> 4] + Digits[code & 15];
        i += isLongControl ? 1 : 0;
    }
    return printable;
}

void ReportWriter::Write(const Report& report)
{
    switch (m_form) {
    case ReportForm::Text:
        WriteText(report);
        break;
    case ReportForm::Json:
        WriteJson(report);
        break;
    case ReportForm::Csv:
        WriteCsv(report);
        break;
    }
    m_stream.flush();
    m_isFirst = false;
}

void ReportWriter::WriteText(const Report& report)
{
    std::size_t width = 0;
    for (const auto& [name, value] : report.fields) {
        width = std::max(width, name.size());
    }
    m_stream << (m_isFirst ? "" : "\n") << Printable(report.file) << ":\n";
    for (const auto& [name, value] : report.fields) {
        m_stream << "  " << name << std::string(width + 2 - name.size(), ' ')
                 << Printable(Plain(value)) << '\n';
    }
    if (report.columns.empty()) {
        return;
    }
    std::vector<std::size_t> widths;
    for (const std::string& column : report.columns) {
        widths.push_back(column.size());
    }
    for (const auto& row : report.rows) {
        for (std::size_t i = 0; i < row.size(); ++i) {
            widths[i] = std::max(widths[i], Plain(row[i]).size());
        }
    }
    const auto writeLine = [&](auto cell) {
        for (std::size_t i = 0; i < widths.size(); ++i) {
            const std::string text = cell(i);
            m_stream << std::string(widths[i] + 2 - text.size(), ' ') << text;
        }
        m_stream << '\n';
    };
    writeLine([&](std::size_t i) { return report.columns[i]; });
    for (const auto& row : report.rows) {
        writeLine([&row](std::size_t i) { return Plain(row[i]); });
    }
}

void ReportWriter::WriteJson(const Report& report)
{
    Value object = {{"file", report.file}};
    for (const auto& [name, value] : report.fields) {
        object[name] = value;
    }
    if (!report.columns.empty()) {
        Value table = Value::array();
        for (const auto& row : report.rows) {
            Value entry;
            for (std::size_t i = 0; i < row.size(); ++i) {
                entry[report.columns[i]] = row[i];
            }
            table.push_back(std::move(entry));
        }
        object[report.tableName] = std::move(table);
    }
    m_stream << object.dump(-1, ' ', false, InvalidBytes) << '\n';
}

void ReportWriter::WriteCsv(const Report& report)
{
    const bool isTable = !report.columns.empty();
    std::vector<Value> names = {"file"}, values = {report.file};
    for (const auto& [name, value] : report.fields) {
        names.emplace_back(name);
        values.push_back(value);
    }
    if (isTable) {
        names.assign({"file"});
        names.insert(names.end(), report.columns.begin(), report.columns.end());
    }
    if (m_isFirst) {
        WriteCsvLine(m_stream, names);
    }
    if (!isTable) {
        WriteCsvLine(m_stream, values);
    }
    for (const auto& row : report.rows) {
        std::vector<Value> line = {report.file};
        line.insert(line.end(), row.begin(), row.end());
        WriteCsvLine(m_stream, line);
    }
}

namespace {

// Numbers have the shortest form that reads back to the same value.
std::string Plain(const Value& value)
{
    if (value.is_null()) {
        return "";
    }
    if (value.is_number_float()) {
        char text[40];
        const auto end = std::to_chars(text, text + sizeof text, value.get<double>()).ptr;
        return {text, end};
    }
    return value.is_string() ? value.get<std::string>() : value.dump(-1, ' ', false, InvalidBytes);
}

std::string CsvCell(const Value& value)
{
    // Line breaks and tabs are data between quotes.
    std::string text = Printable(Plain(value), "\t\r\n");
    if (text.find_first_of(",\"\r\n") == std::string::npos) {
        return text;
    }
    std::string quoted = "\"";
    for (const char c : text) {
        quoted.append(c == '"' ? 2 : 1, c);
    }
    return quoted + '"';
}

void WriteCsvLine(std::ostream& stream, const std::vector<Value>& cells)
{
    for (std::size_t i = 0; i < cells.size(); ++i) {
        stream << (i == 0 ? "" : ",") << CsvCell(cells[i]);
    }
    stream << '\n';
}

} // namespace
