// q32 check: whether a Q32 file is whole and says what it should.
#include "measure/histogram.h"
#include "q32/bad_file.h"
#include "q32/command.h"
#include "q32/q32_findings.h"
#include "q32/system.h"
#include "storage/q32_file.h"

#include <iostream>
#include <memory>

namespace {

// Samples above the maximum of the stated depth.
std::string ExamineSamples(const CImage& image)
{
    const auto view = ViewOf(image);
    if (!view) {
        return "";
    }
    const std::uint32_t maximum = StatisticsOf(CountSamples(*view)).maximum;
    if (maximum <= view->MaxValue()) {
        return "";
    }
    return "samples up to " + std::to_string(maximum) + " in a picture of " +
           std::to_string(image.m_bitsPerSample) + " bits";
}

} // namespace

std::function<int()> SetUpCheck(CLI::App& command)
{
    const auto session = std::make_shared<Session>();
    session->AddReportOptions(command);
    return [session] {
        return session->ReportEach([&](const std::string& name, Report& report) {
            const InputPath path(name);
            Q32Findings findings = ExamineQ32File(path.Get());
            if (findings.missingPixelBytes == 0) {
                const std::string samples = ExamineSamples(*ReadQ32File(path.Get()));
                if (!samples.empty()) {
                    findings.texts.push_back(samples);
                }
            }
            if (findings.texts.empty()) {
                report.fields = {{"result", "sound"}};
                return;
            }
            std::string all;
            for (const std::string& text : findings.texts) {
                all += (all.empty() ? "" : "; ") + text;
            }
            throw BadFile(all);
        });
    };
}
