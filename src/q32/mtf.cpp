// q32 mtf: the sharpness of a sensor from the image of a slanted edge.
#include "measure/edge.h"
#include "measure/uniformity.h"
#include "q32/bad_file.h"
#include "q32/command.h"

#include <memory>

namespace {

struct EdgeOptions : Session
{
    std::vector<double> region;
    double pitch = DefaultPixelPitch;
    bool isEdgeWanted = false;
};

void Describe(const EdgeResponse& edge, const EdgeOptions& options, Report& report)
{
    const auto half = FrequencyAt(edge.mtf, 0.5), tenth = FrequencyAt(edge.mtf, 0.1);
    report.fields = {{"edge", edge.isVertical ? "vertical" : "horizontal"},
                     {"angle", edge.angle},
                     {"step", edge.step},
                     {"noise", edge.noise},
                     {"mtf 50 cycles/pixel", OrNull(half)},
                     {"mtf 50 lp/mm", half ? Value(*half / options.pitch) : Value()},
                     {"mtf 10 cycles/pixel", OrNull(tenth)},
                     {"mtf 10 lp/mm", tenth ? Value(*tenth / options.pitch) : Value()},
                     {"mtf at nyquist", edge.mtf[edge.mtf.size() / 2].value}};
    if (options.isEdgeWanted) {
        report.tableName = "response";
        report.columns = {"distance", "esf", "lsf"};
        for (std::size_t i = 0; i < edge.edge.size(); ++i) {
            report.rows.push_back({edge.distances[i], edge.edge[i], edge.line[i]});
        }
        return;
    }
    report.tableName = "mtf";
    report.columns = {"cycles/pixel", "lp/mm", "mtf"};
    for (const MtfPoint& point : edge.mtf) {
        report.rows.push_back({point.frequency, point.frequency / options.pitch, point.value});
    }
}

} // namespace

std::function<int()> SetUpMtf(CLI::App& command)
{
    const auto options = std::make_shared<EdgeOptions>();
    options->AddReportOptions(command);
    AddRegionOption(command, options->region);
    AddPitchOption(command, options->pitch);
    command.add_flag("--edge", options->isEdgeWanted,
                     "Write the edge and line responses instead of the MTF");
    return [options] {
        return options->ReportEachPicture([&](const CImage&, const GrayView& view, Report& report) {
            std::string reason;
            const auto edge = EdgeResponseOf(RegionOf(view, options->region), reason);
            if (!edge) {
                throw BadFile(reason);
            }
            Describe(*edge, *options, report);
        });
    };
}
