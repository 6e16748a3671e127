// q32 convert: pictures from one file format to another.
#include "q32/bad_file.h"
#include "q32/command.h"
#include "q32/picture_format.h"
#include "q32/shown_picture.h"
#include "q32/system.h"

#include <filesystem>
#include <memory>
#include <set>

namespace {

struct Options : Session
{
    std::vector<double> window;
    Appearance appearance;
    bool isShown = false, isScaled = false, mayReplace = false;
    std::string formatName;
};

// The samples spread over the whole range of their bytes, rounded to the nearest.
CLinkedPtr<CImage> ScaleToFullRange(const CImage& picture)
{
    CLinkedPtr<CImage> scaled = picture.Clone();
    const std::uint64_t from = (1u << picture.m_bitsPerSample) - 1;
    const std::uint64_t to = picture.m_pixelBytes == 1 ? 255 : 65535;
    const auto scale = [&](auto* samples) {
        for (std::size_t i = 0; i < std::size_t{picture.m_width} * picture.m_height; ++i) {
            const std::uint64_t value = std::min<std::uint64_t>(samples[i], from);
            samples[i] = static_cast<std::remove_reference_t<decltype(*samples)>>(
                (value * to + from / 2) / from);
        }
    };
    if (picture.m_pixelBytes == 1) {
        scale(scaled->m_data);
    } else {
        scale(reinterpret_cast<std::uint16_t*>(scaled->m_data));
    }
    scaled->m_bitsPerSample = 8 * picture.m_pixelBytes;
    return scaled;
}

std::string TargetFile(const std::string& source, const std::string& target,
                       const PictureFormat& format)
{
    if (!IsFolder(target)) {
        return target;
    }
    const std::filesystem::path name =
        source == StandardStream ? "image" : std::filesystem::path(source).stem();
    return std::filesystem::path(target) / (name.string() + format.extension);
}

// written: the files of this run, which none of it may replace.
void Convert(const Options& options, const std::string& source, const std::string& target,
             const PictureFormat& format, std::set<std::string>& written)
{
    CLinkedPtr<CImage> picture = LoadPicture(source);
    RequireView(*picture);
    if (options.isShown) {
        picture = ShowPicture(*picture, options.appearance, picture->m_width, picture->m_height);
    } else if (options.isScaled) {
        picture = ScaleToFullRange(*picture);
    }
    const std::string name = TargetFile(source, target, format);
    if (written.contains(name)) {
        throw BadNamedFile(name, "was written from another file already");
    }
    try {
        OutputPath output(name, options.mayReplace);
        format.write(output.Get(), *picture);
        output.Commit();
        written.insert(name);
    } catch (const BadFile& error) {
        throw BadNamedFile(name, error.what());
    }
}

int Run(const Options& options)
{
    std::vector<std::string> sources = options.files;
    const std::string target = sources.back();
    sources.pop_back();
    if (sources.size() > 1 && !IsFolder(target)) {
        throw CLI::ValidationError("TARGET", target + " must be a folder for several files");
    }
    const PictureFormat* const format =
        options.formatName.empty() ? FormatOfExtension(target) : FormatNamed(options.formatName);
    if (format == nullptr) {
        throw CLI::ValidationError("--to", "names the format, one of " + FormatNames());
    }
    std::set<std::string> written;
    return options.ForEach(sources, [&](const std::string& source) {
        Convert(options, source, target, *format, written);
    });
}

} // namespace

std::function<int()> SetUpConvert(CLI::App& command)
{
    const auto options = std::make_shared<Options>();
    command
        .add_option("FILE", options->files,
                    "Files to read, then the file to write or the folder to write into")
        ->required()
        ->expected(2, -1)
        ->type_name("");
    command.add_option("--to", options->formatName, "Format: " + FormatNames())
        ->type_name("FORMAT");
    command.add_flag("--force", options->mayReplace, "Replace files that exist");
    auto* const scale = command.add_flag("--scale", options->isScaled,
                                         "Spread the values over the full range of 8 or 16 bits");
    auto* const window =
        AddNumbersOption(command, "--window", 2, "CENTER,WIDTH",
                         "Write the gray levels that the window shows at this center and width",
                         options->window, true)
            ->excludes(scale);
    CLI::Option* const shown[] = {
        window,
        AddNumberOption(
            command, "--fit", "PERCENT",
            "Gray levels, with a window of this percent of the occupied range of values",
            options->appearance.fit)
            ->check(CLI::Range(0.0, 100.0))
            ->excludes(scale)
            ->excludes(window),
        AddNumberOption(command, "--gamma", "GAMMA", "Gray levels, bent by this gamma",
                        options->appearance.gamma)
            ->excludes(scale),
        command.add_flag("--negative", options->appearance.isNegative, "Gray levels, inverted")
            ->excludes(scale),
    };
    return [options, shown = std::vector(std::begin(shown), std::end(shown))] {
        for (const CLI::Option* option : shown) {
            options->isShown = options->isShown || option->count() > 0;
        }
        if (!options->window.empty()) {
            options->appearance.window = ScaleRange{static_cast<std::uint32_t>(options->window[0]),
                                                    static_cast<std::uint32_t>(options->window[1])};
        }
        return Run(*options);
    };
}
