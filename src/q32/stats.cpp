// q32 stats: the numbers of a picture or of a part of it.
#include "measure/histogram.h"
#include "q32/command.h"

#include <memory>

std::function<int()> SetUpStats(CLI::App& command)
{
    struct Options : Session
    {
        std::vector<double> region;
    };
    const auto options = std::make_shared<Options>();
    options->AddReportOptions(command);
    AddRegionOption(command, options->region);
    return [options] {
        return options->ReportEachPicture([&](const CImage&, const GrayView& view, Report& report) {
            const GrayView part = RegionOf(view, options->region);
            const Histogram histogram = CountSamples(part);
            const Statistics statistics = StatisticsOf(histogram);
            const ClippedShares clipped = ClippedSharesOf(histogram, part.MaxValue());
            const auto corner = [&](std::size_t i) {
                return options->region.empty() ? 0 : static_cast<std::uint32_t>(options->region[i]);
            };
            const PixelPosition lowest = *FindValue(part, statistics.minimum);
            const PixelPosition highest = *FindValue(part, statistics.maximum);
            report.fields = {{"samples", statistics.count},
                             {"mean", statistics.mean},
                             {"sd", statistics.standardDeviation},
                             {"snr", OrNull(statistics.signalToNoise)},
                             {"median", statistics.median},
                             {"min", statistics.minimum},
                             {"min x", corner(0) + lowest.x},
                             {"min y", corner(1) + lowest.y},
                             {"max", statistics.maximum},
                             {"max x", corner(0) + highest.x},
                             {"max y", corner(1) + highest.y},
                             {"share at 0", clipped.atZero},
                             {"share at maximum", clipped.atMaximum}};
        });
    };
}
