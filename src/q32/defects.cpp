// q32 defects: defective pixels from flat and dark images.
#include "measure/defects.h"

#include "q32/bad_file.h"
#include "q32/command.h"
#include "q32/picture_format.h"

#include <algorithm>
#include <iostream>
#include <memory>

namespace {

struct DefectsOptions : Session
{
    std::vector<std::string> darks;
};

// The names of the rules among the bits, with blanks.
std::string NamesOf(std::uint8_t rules)
{
    std::string names;
    for (const DefectRuleName& entry : DefectRuleNames) {
        if ((rules & entry.rule) != 0) {
            names += (names.empty() ? "" : " ") + std::string(entry.name);
        }
    }
    return names;
}

void Describe(const ImageSums& flats, const ImageSums& darks, Report& report)
{
    const Defects defects = FindDefects(flats, darks);
    const auto lines = std::ranges::count_if(defects.groups, &DefectGroup::isLine);
    report.fields = {{"flats", flats.images},
                     {"darks", darks.images},
                     {"response noise", OrNull(defects.responseNoise)},
                     {"defective pixels", defects.pixels.size()}};
    for (const DefectRuleName& entry : DefectRuleNames) {
        const auto hasRule = [&](const DefectivePixel& pixel) {
            return (pixel.rules & entry.rule) != 0;
        };
        // A rule that the images cannot decide has no count.
        report.fields.emplace_back(entry.name,
                                   (defects.decidedRules & entry.rule) != 0
                                       ? Value(std::ranges::count_if(defects.pixels, hasRule))
                                       : Value());
    }
    report.fields.emplace_back("lines", lines);
    report.fields.emplace_back("clusters", std::ssize(defects.groups) - lines);
    report.tableName = "defects";
    report.columns = {"kind", "x", "y", "width", "height", "pixels"};
    for (const DefectGroup& group : defects.groups) {
        report.rows.push_back({group.isLine ? "line" : "cluster", group.bounds.x, group.bounds.y,
                               group.bounds.width, group.bounds.height, group.pixels});
    }
    for (const DefectivePixel& pixel : defects.pixels) {
        report.rows.push_back({NamesOf(pixel.rules), pixel.x, pixel.y, 1, 1, 1});
    }
}

} // namespace

std::function<int()> SetUpDefects(CLI::App& command)
{
    const auto options = std::make_shared<DefectsOptions>();
    options->AddReportOptions(command);
    command.add_option("--dark", options->darks, "An image without exposure; may be repeated")
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
        ->type_name("FILE");
    return [options] {
        // All flats and darks make one result.
        ImageSums flats, darks;
        const auto add = [&](const std::vector<std::string>& names, ImageSums& sums,
                             bool withSquares) {
            return options->ForEach(names, [&](const std::string& name) {
                const CLinkedPtr<CImage> image = LoadPicture(name);
                const GrayView view = RequireView(*image);
                const bool fits =
                    flats.images == 0 || (flats.width == view.width && flats.height == view.height);
                if (!fits || !AddImage(sums, view, withSquares)) {
                    throw BadFile("has another size than the first image");
                }
            });
        };
        if (add(options->files, flats, false) != ExitDone ||
            add(options->darks, darks, options->darks.size() >= DarksForNoise) != ExitDone) {
            return ExitBadFile;
        }
        Report report;
        report.file = options->files[0];
        Describe(flats, darks, report);
        ReportWriter(std::cout, options->form).Write(report);
        return ExitDone;
    };
}
