// q32 histogram: how often each value occurs.
#include "measure/histogram.h"

#include "q32/command.h"

#include <memory>

std::function<int()> SetUpHistogram(CLI::App& command)
{
    struct Options : Session
    {
        std::vector<double> region;
        std::uint32_t bin = 1;
    };
    const auto options = std::make_shared<Options>();
    options->AddReportOptions(command);
    AddRegionOption(command, options->region);
    command.add_option("--bin", options->bin, "Values counted together, from 0 on")
        ->check(CLI::Range(1u, 65536u))
        ->type_name("WIDTH");
    return [options] {
        return options->ReportEachPicture([&](const CImage&, const GrayView& view, Report& report) {
            const Histogram histogram = CountSamples(RegionOf(view, options->region));
            report.tableName = "histogram";
            report.columns = {"value", "count"};
            std::uint64_t count = 0;
            for (std::size_t v = 0; v < histogram.counts.size(); ++v) {
                count += histogram.counts[v];
                if ((v + 1) % options->bin != 0 && v + 1 != histogram.counts.size()) {
                    continue;
                }
                if (count > 0) {
                    report.rows.push_back({v / options->bin * options->bin, count});
                }
                count = 0;
            }
        });
    };
}
