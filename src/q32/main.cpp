// q32, the command for image files: reads, measures and converts them without a window.
#include "q32/command.h"
#include "q32/help.h"

#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <iostream>

namespace {

constexpr Command Commands[] = {
    {"info", "Show what a file says of its picture",
     "q32 info image.q32\nq32 info --json TmpImages/*.Q32\n", SetUpInfo},
    {"stats", "Mean, noise, median, extremes and clipped shares of a picture or region",
     "q32 stats image.q32\nq32 stats --region 100,100,50,50 --csv *.q32\n", SetUpStats},
    {"histogram", "Count how often each sample value occurs",
     "q32 histogram --csv --bin 16 image.q32\n", SetUpHistogram},
    {"profile", "The values along a line",
     "q32 profile --line 0,100,511,100 --width 5 --csv image.q32\n", SetUpProfile},
    {"uniformity", "The evenness of flat images, in squares of 10 mm",
     "q32 uniformity --pitch 0.1 flat.q32\n", SetUpUniformity},
    {"defects", "Find defective pixels in flat images, better with darks as well",
     "q32 defects flat1.q32 flat2.q32 --dark dark1.q32 --dark dark2.q32\n", SetUpDefects},
    {"mtf", "The sharpness from the image of a slanted edge",
     "q32 mtf --region 300,200,120,200 edge.q32\n", SetUpMtf},
    {"diff", "Compare images with the first one", "q32 diff first.q32 second.q32\n", SetUpDiff},
    {"convert", "Convert pictures between q32, PGM, PNG and TIFF, and into DICOM",
     "q32 convert image.q32 image.png\nq32 convert --to tiff TmpImages/*.Q32 folder\n"
     "q32 convert --window 3700,800 --gamma 2 image.q32 shown.png\n",
     SetUpConvert},
    {"check", "Tell whether Q32 files are whole and sound", "q32 check TmpImages/*.Q32\n",
     SetUpCheck},
    {"thumbnail", "Write a small PNG of a picture as the window shows it",
     "q32 thumbnail -s 256 image.q32 small.png\n", SetUpThumbnail},
};

// The exit code, when the standard output took all that was written to it.
int WithOutput(int exitCode)
{
    if (!std::cout.flush()) {
        std::cerr << "q32: -: the output cannot be written\n";
        return ExitBadFile;
    }
    return exitCode;
}

} // namespace

int main(int argc, char** argv)
{
    CLI::App app("Read, measure and convert the image files of sensors", "q32");
    app.set_version_flag("--version", "q32 " TARNTEST_VERSION);
    app.require_subcommand(1);
    std::function<int()> chosen;
    for (const Command& entry : Commands) {
        CLI::App* const command = app.add_subcommand(entry.name, entry.summary);
        command->footer("Examples:\n" + IndentLines(entry.examples));
        command->callback([&chosen, run = entry.setup(*command)] { chosen = run; });
    }
    AddManualOptions(app);
    try {
        app.parse(argc, argv);
        return WithOutput(chosen ? chosen() : ExitDone);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == 0) {
            return WithOutput(app.exit(error));
        }
        std::cerr << "q32: " << error.what() << "\nq32 --help shows how it is used.\n";
        return ExitUsage;
    }
}
