// q32 uniformity: the evenness of flat images.
#include "measure/uniformity.h"

#include "q32/bad_file.h"
#include "q32/command.h"

#include <memory>

std::function<int()> SetUpUniformity(CLI::App& command)
{
    struct Options : Session
    {
        double pitch = DefaultPixelPitch;
    };
    const auto options = std::make_shared<Options>();
    options->AddReportOptions(command);
    AddPitchOption(command, options->pitch);
    return [options] {
        return options->ReportEachPicture([&](const CImage&, const GrayView& view, Report& report) {
            const Uniformity uniformity = UniformityOf(view, options->pitch);
            if (uniformity.squares.empty()) {
                throw BadFile("is too small for a square of 10 mm within a border of 10 mm");
            }
            report.fields = {{"columns", uniformity.columns},
                             {"rows", uniformity.rows},
                             {"signal local", uniformity.signal.local},
                             {"signal global", uniformity.signal.global},
                             {"noise local", uniformity.noise.local},
                             {"noise global", uniformity.noise.global},
                             {"snr local", uniformity.signalToNoise.local},
                             {"snr global", uniformity.signalToNoise.global}};
            report.tableName = "squares";
            report.columns = {"x", "y", "signal", "noise", "snr", "local"};
            for (const UniformitySquare& square : uniformity.squares) {
                report.rows.push_back({square.rect.x, square.rect.y, square.signal, square.noise,
                                       square.signalToNoise, square.localSignal});
            }
        });
    };
}
