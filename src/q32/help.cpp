// Writes the manual page and the completion script.
#include "q32/help.h"

#include "q32/picture_format.h"

#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <iostream>
#include <sstream>

namespace {

constexpr char ExitText[] = ".SH \"EXIT STATUS\"\n"
                            "0 when all went well, 1 when a file could not be read, written or "
                            "measured, 2 when the command line is wrong. After a bad file the "
                            "others are still worked on.\n";
constexpr char FilesText[] =
    ".SH FILES\nWhere a file is read, \\- stands for the standard input; where one is written, for "
    "the standard output. A file is written whole or not at all. Pictures are read from q32, PGM, "
    "PNG and TIFF files, told by how they begin. Positions count from the top left corner.\n";

// Text without the meaning that a dash, a backslash or a dot at the start of a line has in roff.
std::string Roff(const std::string& text)
{
    std::string escaped;
    for (const char c : text) {
        if (c == '\\') {
            escaped += "\\e";
        } else if (c == '-') {
            escaped += "\\-";
        } else if (c == '.' && (escaped.empty() || escaped.back() == '\n')) {
            escaped += "\\&.";
        } else {
            escaped += c;
        }
    }
    return escaped;
}

void WriteOptions(const CLI::App& app)
{
    for (const CLI::Option* option : app.get_options()) {
        const std::string type = option->get_type_name();
        std::cout << ".TP\n\\fB" << Roff(option->get_name(false, true)) << "\\fR "
                  << (option->get_items_expected() > 0 ? Roff(type) : "") << '\n'
                  << Roff(option->get_description()) << ".\n";
    }
}

void WriteManual(const CLI::App& app)
{
    std::cout << ".TH Q32 1\n.SH NAME\nq32 \\- " << Roff(app.get_description())
              << "\n.SH SYNOPSIS\n.B q32\n.I COMMAND\n[\\fIOPTION\\fR]... \\fIFILE\\fR...\n"
              << ".SH OPTIONS\n";
    WriteOptions(app);
    std::cout << ".SH COMMANDS\n";
    for (const CLI::App* command : app.get_subcommands({})) {
        std::cout << ".SS " << command->get_name() << '\n'
                  << Roff(command->get_description()) << ".\n";
        WriteOptions(*command);
        std::cout << ".PP\n.nf\n" << Roff(command->get_footer()) << ".fi\n";
    }
    std::cout << FilesText << ExitText;
}

// The long names, each followed by a blank.
std::string LongOptions(const CLI::App& app)
{
    std::string names;
    for (const CLI::Option* option : app.get_options()) {
        for (const std::string& name : option->get_lnames()) {
            names += "--" + name + ' ';
        }
    }
    return names;
}

void WriteCompletion(const CLI::App& app)
{
    std::cout << "# Completion of q32 in bash.\n_q32()\n{\n"
                 "    local current=${COMP_WORDS[COMP_CWORD]} words=\n"
                 "    if [ \"$COMP_CWORD\" -gt 1 ]; then\n"
                 "        case ${COMP_WORDS[1]} in\n";
    std::string names;
    for (const CLI::App* command : app.get_subcommands({})) {
        names += command->get_name() + ' ';
        std::cout << "        " << command->get_name() << ") words='" << LongOptions(*command)
                  << "' ;;\n";
    }
    std::string formats = FormatNames();
    std::erase(formats, ',');
    std::cout << "        esac\n        [[ $current == -* ]] || words=\n"
                 "        [ \"${COMP_WORDS[COMP_CWORD - 1]}\" != --to ] || words='"
              << formats << "'\n    elif [[ $current == -* ]]; then\n        words='"
              << LongOptions(app) << "'\n    else\n        words='" << names
              << "'\n    fi\n"
                 "    mapfile -t COMPREPLY < <(compgen -W \"$words\" -- \"$current\")\n"
                 "}\ncomplete -o default -F _q32 q32\n";
}

} // namespace

std::string IndentLines(const std::string& lines)
{
    std::istringstream stream(lines);
    std::string indented;
    for (std::string line; std::getline(stream, line);) {
        indented += "  " + line + '\n';
    }
    return indented;
}

void AddManualOptions(CLI::App& app)
{
    const auto add = [&app](const char* name, void (*write)(const CLI::App&), const char* text) {
        app.add_flag_callback(
            name,
            [&app, write] {
                write(app);
                throw CLI::Success();
            },
            text);
    };
    add("--manual", WriteManual, "Print the manual page q32(1)");
    add("--bash-completion", WriteCompletion, "Print the completion script for bash");
}
