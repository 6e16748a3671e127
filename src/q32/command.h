// A sub-command as the table of all of them names it, and what each may use.
#pragma once

#include "image/image.h"
#include "measure/gray_view.h"
#include "q32/report.h"

#include <CLI/App.hpp>
#include <functional>
#include <string>
#include <vector>

// How the command line was written, and the work on one file after the other.
class Session
{
public:
    ReportForm form = ReportForm::Text;
    std::vector<std::string> files;

    // Adds the operands FILE... and the options --json and --csv.
    void AddReportOptions(CLI::App& command);

    // Calls the work for each of the files; one that raises is named on the standard error and the
    // next one follows. Returns the program's exit code.
    int ForEach(const std::vector<std::string>& names,
                const std::function<void(const std::string& name)>& work) const;
    // The same for the files of the command line, writing the report that the work fills in.
    int ReportEach(const std::function<void(const std::string& name, Report& report)>& work) const;
    // The same over their pictures.
    int ReportEachPicture(const std::function<void(const CImage& image, const GrayView& view,
                                                   Report& report)>& work) const;
};

// Makes the command's options and returns what runs it once the line is parsed; that returns the
// exit code.
using CommandSetup = std::function<int()> (*)(CLI::App& command);

struct Command
{
    const char* name;
    const char* summary;
    const char* examples; // lines, each ending with a line feed
    CommandSetup setup;
};

inline constexpr int ExitDone = 0, ExitBadFile = 1, ExitUsage = 2;

// One for each file of the same name.
std::function<int()> SetUpInfo(CLI::App& command);
std::function<int()> SetUpStats(CLI::App& command);
std::function<int()> SetUpHistogram(CLI::App& command);
std::function<int()> SetUpProfile(CLI::App& command);
std::function<int()> SetUpUniformity(CLI::App& command);
std::function<int()> SetUpDefects(CLI::App& command);
std::function<int()> SetUpMtf(CLI::App& command);
std::function<int()> SetUpDiff(CLI::App& command);
std::function<int()> SetUpConvert(CLI::App& command);
std::function<int()> SetUpCheck(CLI::App& command);
std::function<int()> SetUpThumbnail(CLI::App& command);

// What is measured of an image. Raises BadFile when nothing can be.
GrayView RequireView(const CImage& image);

// An option whose one argument is so many numbers of 0 or above, perhaps only whole ones, with
// commas between them.
CLI::Option* AddNumbersOption(CLI::App& command, const std::string& name, std::size_t count,
                              const std::string& typeName, const std::string& description,
                              std::vector<double>& numbers, bool areWhole = false);

// An option whose one argument is a finite number.
CLI::Option* AddNumberOption(CLI::App& command, const std::string& name,
                             const std::string& typeName, const std::string& description,
                             double& number);

// The option --region X,Y,WIDTH,HEIGHT.
void AddRegionOption(CLI::App& command, std::vector<double>& region);
// The part of the view that the option names, the whole without it. Raises BadFile for a region
// that does not lie in the picture.
GrayView RegionOf(const GrayView& view, const std::vector<double>& region);

// The option --pitch, in mm from pixel to pixel.
void AddPitchOption(CLI::App& command, double& pitch);
