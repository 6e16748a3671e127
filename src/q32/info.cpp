// q32 info: what a file says of its picture.
#include "q32/command.h"
#include "q32/picture_format.h"
#include "storage/header_fields.h"

#include <algorithm>
#include <memory>

namespace {

// The value of the field that begins with the key; a key inside a longer one or in a value is none.
Value FieldOf(std::string_view text, std::string_view key)
{
    std::string value;
    for (std::size_t position = 0; position < text.size(); ++position) {
        position = std::min(text.find_first_not_of(" \t\r\n", position), text.size());
        if (text.substr(position).starts_with(key)) {
            GetHeaderValue(text.substr(position), key, HeaderSeparator, "", value);
            return value;
        }
        ExtractValue(text, position, HeaderSeparator, "", value, true, true);
    }
    return {};
}

} // namespace

std::function<int()> SetUpInfo(CLI::App& command)
{
    const auto session = std::make_shared<Session>();
    session->AddReportOptions(command);
    return [session] {
        return session->ReportEach([&session](const std::string& name, Report& report) {
            const CLinkedPtr<CImage> image = LoadPicture(name);
            report.fields = {
                {"width", image->ViewRowLength()}, {"height", image->ViewRowCount()},
                {"bits", image->m_bitsPerSample},  {"bytes per pixel", image->m_pixelBytes},
                {"image id", image->m_imageId},    {"width divisor", image->m_widthDivisor},
                {"user id", image->m_userId},      {"header text", image->m_headerText}};
            for (std::size_t i = 1; i < HeaderVocabulary.size(); ++i) {
                const std::string key(HeaderVocabulary[i]);
                const Value value = FieldOf(image->m_headerText, key);
                // Lines of CSV have the same columns for every file.
                if (!value.is_null() || session->form == ReportForm::Csv) {
                    report.fields.emplace_back(key.substr(0, key.size() - 1), value);
                }
            }
        });
    };
}
