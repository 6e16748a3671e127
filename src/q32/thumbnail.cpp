// q32 thumbnail: a small picture for a file manager.
#include "q32/bad_file.h"
#include "q32/command.h"
#include "q32/picture_format.h"
#include "q32/shown_picture.h"
#include "q32/system.h"

#include <algorithm>
#include <memory>

std::function<int()> SetUpThumbnail(CLI::App& command)
{
    struct Options : Session
    {
        std::string source, target;
        std::uint32_t size = 256;
        bool mayReplace = false;
    };
    const auto options = std::make_shared<Options>();
    command.add_option("-s,--size", options->size, "Longest side of the thumbnail in pixels")
        ->check(CLI::Range(1u, 4096u))
        ->type_name("PIXELS");
    command.add_flag("--force", options->mayReplace, "Replace a file that exists");
    command.add_option("IN", options->source, "File to read")->required()->type_name("");
    command.add_option("OUT", options->target, "PNG file to write")->required()->type_name("");
    return [options] {
        return options->ForEach({options->source}, [&](const std::string& name) {
            const CLinkedPtr<CImage> picture = LoadPicture(name);
            RequireView(*picture);
            const std::uint64_t longest = std::max(picture->m_width, picture->m_height);
            const std::uint64_t size = std::min<std::uint64_t>(options->size, longest);
            const auto side = [&](std::uint32_t extent) {
                return static_cast<std::uint32_t>(
                    std::max<std::uint64_t>(1, (extent * size + longest / 2) / longest));
            };
            const CLinkedPtr<CImage> small =
                ShowPicture(*picture, {}, side(picture->m_width), side(picture->m_height));
            try {
                OutputPath output(options->target, options->mayReplace);
                WritePng(output.Get(), *small);
                output.Commit();
            } catch (const BadFile& error) {
                throw BadNamedFile(options->target, error.what());
            }
        });
    };
}
