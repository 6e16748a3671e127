// q32 profile: the values along a line.
#include "measure/profile.h"

#include "q32/bad_file.h"
#include "q32/command.h"

#include <memory>

std::function<int()> SetUpProfile(CLI::App& command)
{
    struct Options : Session
    {
        std::vector<double> line;
        std::uint32_t width = 1;
    };
    const auto options = std::make_shared<Options>();
    options->AddReportOptions(command);
    AddNumbersOption(command, "--line", 4, "X0,Y0,X1,Y1", "From pixel (X0, Y0) to (X1, Y1)",
                     options->line)
        ->required();
    command.add_option("--width", options->width, "Pixels across the line that are averaged")
        ->check(CLI::Range(1u, 1000u))
        ->type_name("PIXELS");
    return [options] {
        return options->ReportEachPicture([&](const CImage&, const GrayView& view, Report& report) {
            const std::vector<double>& line = options->line;
            for (std::size_t i = 0; i < line.size(); ++i) {
                if (!(line[i] >= 0) ||
                    !(line[i] <= (i % 2 == 0 ? view.width : view.height) - 1.0)) {
                    throw BadFile("the line does not lie in the picture");
                }
            }
            report.tableName = "profile";
            report.columns = {"x", "y", "mean", "samples"};
            for (const ProfilePoint& point :
                 ProfileAlong(view, line[0], line[1], line[2], line[3], options->width)) {
                report.rows.push_back({point.x, point.y, point.mean, point.samples});
            }
        });
    };
}
