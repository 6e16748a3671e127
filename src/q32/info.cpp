// q32 info: what a file says of its picture.
#include "q32/command.h"
#include "q32/picture_format.h"
#include "storage/header_fields.h"

#include <memory>

std::function<int()> SetUpInfo(CLI::App& command)
{
    const auto session = std::make_shared<Session>();
    session->AddReportOptions(command);
    return [session] {
        return session->ReportEach([](const std::string& name, Report& report) {
            const CLinkedPtr<CImage> image = LoadPicture(name);
            report.fields = {
                {"width", image->ViewRowLength()}, {"height", image->ViewRowCount()},
                {"bits", image->m_bitsPerSample},  {"bytes per pixel", image->m_pixelBytes},
                {"image id", image->m_imageId},    {"width divisor", image->m_widthDivisor},
                {"user id", image->m_userId},      {"header text", image->m_headerText}};
            for (std::size_t i = 1; i < HeaderVocabulary.size(); ++i) {
                const std::string key(HeaderVocabulary[i]);
                std::string value;
                if (GetHeaderValue(image->m_headerText, key, HeaderSeparator, "", value)) {
                    report.fields.emplace_back(key.substr(0, key.size() - 1), value);
                }
            }
        });
    };
}
