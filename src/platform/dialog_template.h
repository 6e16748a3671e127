// What a dialog looks like: a constant table in dialog units that the layer turns into a window.
#pragma once

#include <span>

// Dialog units: a quarter of the average character's width, an eighth of a character's height.
struct DialogUnits
{
    int x, y, width, height;
};

enum class ControlKind
{
    PushButton,
    DefaultButton, // the push button that Enter presses
    CheckBox,      // toggles itself when clicked
    RadioButton,   // one of the group that the last GroupStart began
    Label,         // static text; it names the edit field that follows it in the table
    Edit,          // one line of text
    GroupBox,
    Frame, // sunken frame; its painting is the dialog's WM_PAINT
    HorizontalScrollBar,
    VerticalScrollBar,
    TrackBar, // horizontal, ticks above
};

enum ControlFlags : unsigned
{
    ControlHidden = 1,
    ControlDisabled = 2,
    GroupStart = 4,      // first radio button of its group
    FrameTakesInput = 8, // a frame, at most one a dialog: it takes the focus, and its mouse and
                         // keys are the dialog's messages
    // How far a control of a resizable dialog goes with the lower right corner; by default not.
    MovesAcross = 16,
    MovesDown = 32,
    GrowsAcross = 64,
    GrowsDown = 128,
};

struct ControlTemplate
{
    int id; // 0 for a control that nobody asks for
    ControlKind kind;
    const char* text; // "&" stands before the mnemonic letter
    DialogUnits place;
    unsigned flags = 0;
    const char* accessibleName = nullptr; // where the text alone does not name the control
};

// What a control is for, in one sentence: its tool tip, and for screen readers.
struct ControlHint
{
    int id;
    const char* text;
};

struct DialogTemplate
{
    int id;
    const char* title;
    int width, height; // of the client area, in dialog units
    const char* fontName;
    int fontPoints;
    std::span<const ControlTemplate> controls; // in Tab order
    bool minimizable = false;
    bool resizable = false; // from the size of the template on; sends WM_SIZE
    std::span<const ControlHint> hints = {};
};

// A square icon drawn in characters: palette[i].key stands for one color, ' ' is transparent.
struct IconColor
{
    char key;
    unsigned rgb; // 0xRRGGBB
};

struct IconResource
{
    int id;
    std::span<const IconColor> palette;
    std::span<const char* const> rows; // top to bottom, all as long as there are rows
};
