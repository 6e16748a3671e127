// What F1 shows: the manual's list of mouse and keys.
#pragma once

#include <string>

struct HelpLine
{
    const char* input;
    const char* effect;
};

inline constexpr HelpLine PictureHelp[] = {
    {"wheel", "Zoom + and Zoom -, around the point below the mouse"},
    {"drag with the left button", "moves the picture when it is enlarged"},
    {"drag right or left with the right button", "a larger or a smaller Scale width"},
    {"drag down or up with the right button", "a larger or a smaller Scale center"},
    {"Shift and drag, Ctrl and drag", "a region, a profile, while the inspector is open"},
    {"double click, 0", "Normal"},
    {"+ and -", "Zoom + and Zoom -"},
    {"arrows, Page Up, Page Down", "one step of the scroll bars, or ten"},
    {"Home, End", "the upper left and the lower right corner"},
};

inline constexpr HelpLine WindowHelp[] = {
    {"Alt and an underlined letter", "that control"},
    {"Tab, Shift+Tab", "the next and the previous control"},
    {"Enter, Escape", "Exit"},
    {"F1", "this list"},
    {"Ctrl+C in a box", "copies its text"},
};

inline std::string HelpText()
{
    std::string text = "On the picture:\n";
    for (const HelpLine& line : PictureHelp) {
        text += std::string("  ") + line.input + ": " + line.effect + "\n";
    }
    text += "\nIn the window:\n";
    for (const HelpLine& line : WindowHelp) {
        text += std::string("  ") + line.input + ": " + line.effect + "\n";
    }
    return text;
}
