// The work on several files, and the options that sub-commands share.
#include "q32/bad_file.h"
#include "q32/command.h"
#include "q32/picture_format.h"
#include "q32/system.h"

#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <CLI/Option.hpp>
#include <charconv>
#include <chrono>
#include <cmath>
#include <iostream>
#include <new>
#include <sstream>

namespace {

// A line on a terminal's standard error, once the work has taken a while.
class Progress
{
public:
    explicit Progress(std::size_t count) : m_count(count), m_isShown(count > 1 && IsErrorTerminal())
    {
    }
    ~Progress() { Clear(); }
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void Show(std::size_t index)
    {
        if (m_isShown && std::chrono::steady_clock::now() - m_start > std::chrono::seconds(1)) {
            std::cerr << "\rq32: " << index + 1 << " of " << m_count << "\x1B[K" << std::flush;
            m_isDirty = true;
        }
    }
    void Clear()
    {
        if (m_isDirty) {
            std::cerr << "\r\x1B[K" << std::flush;
            m_isDirty = false;
        }
    }

private:
    std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
    std::size_t m_count;
    bool m_isShown, m_isDirty = false;
};

// The reason that an exception gives.
std::string ReasonOf(const std::exception& error)
{
    return dynamic_cast<const std::bad_alloc*>(&error) != nullptr ? "not enough memory"
                                                                  : error.what();
}

} // namespace

void Session::AddReportOptions(CLI::App& command)
{
    auto* const json = command.add_flag_callback(
        "--json", [this] { form = ReportForm::Json; },
        "Write one JSON object a line for each file");
    command
        .add_flag_callback(
            "--csv", [this] { form = ReportForm::Csv; }, "Write comma-separated values")
        ->excludes(json);
    command.add_option("FILE", files, "Files to read; - is the standard input")
        ->required()
        ->type_name("");
}

int Session::ForEach(const std::vector<std::string>& names,
                     const std::function<void(const std::string& name)>& work) const
{
    int result = ExitDone;
    Progress progress(names.size());
    for (std::size_t i = 0; i < names.size(); ++i) {
        progress.Show(i);
        std::string file = names[i], reason;
        try {
            work(names[i]);
            continue;
        } catch (const BadNamedFile& error) {
            file = error.File();
            reason = ReasonOf(error);
        } catch (const std::exception& error) {
            reason = ReasonOf(error);
        }
        progress.Clear();
        std::cout.flush();
        std::cerr << "q32: " << Printable(file) << ": " << Printable(reason) << '\n';
        result = ExitBadFile;
    }
    return result;
}

int Session::ReportEach(
    const std::function<void(const std::string& name, Report& report)>& work) const
{
    ReportWriter writer(std::cout, form);
    return ForEach(files, [&](const std::string& name) {
        Report report;
        report.file = name;
        work(name, report);
        writer.Write(report);
    });
}

int Session::ReportEachPicture(const std::function<void(const CImage& image, const GrayView& view,
                                                        Report& report)>& work) const
{
    return ReportEach([&work](const std::string& name, Report& report) {
        const CLinkedPtr<CImage> image = LoadPicture(name);
        work(*image, RequireView(*image), report);
    });
}

GrayView RequireView(const CImage& image)
{
    const auto view = ViewOf(image);
    if (!view || view->IsEmpty()) {
        throw BadFile(image.m_data == nullptr ? "has no pixels"
                                              : "has more than 16 bits per sample");
    }
    return *view;
}

CLI::Option* AddNumbersOption(CLI::App& command, const std::string& name, std::size_t count,
                              const std::string& typeName, const std::string& description,
                              std::vector<double>& numbers, bool areWhole)
{
    const auto parse = [&numbers, name, count, typeName, areWhole](const std::string& text) {
        numbers.clear();
        std::istringstream stream(text);
        for (std::string part; std::getline(stream, part, ',');) {
            double number = -1;
            const char* const end = part.data() + part.size();
            const auto [rest, error] = std::from_chars(part.data(), end, number);
            if (error != std::errc() || rest != end || !(number >= 0) || number > 1e9 ||
                (areWhole && number != std::floor(number))) {
                numbers.clear();
                break;
            }
            numbers.push_back(number);
        }
        if (numbers.size() != count || text.back() == ',') {
            throw CLI::ValidationError(
                name,
                "takes " + typeName + (areWhole ? " without fractions, not " : ", not ") + text);
        }
    };
    return command.add_option_function<std::string>(name, parse, description)->type_name(typeName);
}

void AddRegionOption(CLI::App& command, std::vector<double>& region)
{
    AddNumbersOption(command, "--region", 4, "X,Y,WIDTH,HEIGHT",
                     "Look only at this part, from the top left corner", region, true);
}

GrayView RegionOf(const GrayView& view, const std::vector<double>& region)
{
    if (region.empty()) {
        return view;
    }
    const auto pixels = [&region](std::size_t i) { return static_cast<std::uint32_t>(region[i]); };
    const GrayView part = Crop(view, {pixels(0), pixels(1), pixels(2), pixels(3)});
    if (part.IsEmpty() || part.width != pixels(2) || part.height != pixels(3)) {
        throw BadFile("the region does not lie in the picture");
    }
    return part;
}

CLI::Option* AddNumberOption(CLI::App& command, const std::string& name,
                             const std::string& typeName, const std::string& description,
                             double& number)
{
    const auto take = [&number, name](const double& value) {
        if (!std::isfinite(value)) {
            throw CLI::ValidationError(name, "takes a finite number");
        }
        number = value;
    };
    return command.add_option_function<double>(name, take, description)->type_name(typeName);
}

void AddPitchOption(CLI::App& command, double& pitch)
{
    AddNumberOption(command, "--pitch", "MM",
                    "Distance from pixel to pixel, " + std::to_string(pitch).substr(0, 3) +
                        " without it",
                    pitch)
        ->check(CLI::Range(0.001, 5.0));
}
