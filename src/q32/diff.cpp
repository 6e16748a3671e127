// q32 diff: how images differ from the first one.
#include "measure/difference.h"
#include "q32/bad_file.h"
#include "q32/command.h"
#include "q32/picture_format.h"

#include <memory>

std::function<int()> SetUpDiff(CLI::App& command)
{
    struct Options : Session
    {
        std::string first;
        std::vector<double> region;
        CLinkedPtr<CImage> image;
    };
    const auto options = std::make_shared<Options>();
    command.add_option("FIRST", options->first, "File to compare with")->required()->type_name("");
    options->AddReportOptions(command);
    AddRegionOption(command, options->region);
    return [options] {
        const int result = options->ForEach({options->first}, [&](const std::string& name) {
            options->image = LoadPicture(name);
            RegionOf(RequireView(*options->image), options->region);
        });
        if (result != ExitDone) {
            return result;
        }
        return options->ReportEachPicture([&](const CImage&, const GrayView& view, Report& report) {
            const auto difference =
                DifferenceOf(RegionOf(RequireView(*options->image), options->region),
                             RegionOf(view, options->region));
            if (!difference) {
                throw BadFile("has another size than " + options->first);
            }
            report.fields = {{"pixels", difference->count}, {"unequal", difference->unequal},
                             {"mean", difference->mean},    {"sd", difference->standardDeviation},
                             {"noise", difference->noise},  {"min", difference->minimum},
                             {"max", difference->maximum}};
        });
    };
}
