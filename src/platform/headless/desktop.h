// The records behind the handles. Private to the implementation.
#pragma once

#include "platform/field_text.h"
#include "platform/headless/headless.h"

#include <functional>
#include <map>
#include <memory>
#include <semaphore>
#include <set>
#include <unordered_map>
#include <vector>

namespace headless {

// A dialog's own window, or one of its controls.
struct Window
{
    HWND handle = nullptr;
    CDialog* dialog = nullptr;                // whose window or control it is
    const ControlTemplate* control = nullptr; // null for the dialog's own window
    std::map<int, HWND> controls;             // by id, of the dialog's own window
    std::string text;
    RECT place{}; // of a control: in the dialog's client area; of a dialog: on the screen
    bool enabled = true;
    bool visible = false;
    bool iconic = false;
    bool invalid = false;  // waits to be painted
    bool rejected = false; // the operator was told that the text cannot be taken
    int checked = 0;
    int minimum = 0;
    int maximum = 100;
    int position = 0;
};

struct Timer
{
    HWND window;
    UINT_PTR id;
    std::uint32_t period;
    std::uint64_t due;
};

struct Desktop
{
    std::counting_semaphore<> posted{0}; // released with the first message of each queue
    std::shared_ptr<const Screen> screen = std::make_shared<const Screen>();
    std::unordered_map<HWND, Window> windows;
    std::vector<std::function<void()>> soon;
    std::vector<Timer> timers;
    std::uintptr_t lastHandle = 0; // never used again, so a stale handle names no window
    std::uint64_t now = 0;
    int baseWidth = BaseUnitX;
    int baseHeight = BaseUnitY;
    HWND focus = nullptr;
    HWND painted = nullptr;    // the dialog whose paint request is being served
    std::set<HWND> paintBegun; // windows that it has painted
    Picture picture;
    std::size_t beeps = 0;
    std::string clipboard;
};

extern Desktop desktop;

// Null for a handle that names no live window.
Window* Find(HWND handle);
Window* FindControl(const CDialog& dialog, int id);

// Moves the focus; the edit field that loses it tells its dialog.
void MoveFocus(HWND target);

void RunSoonActions();

} // namespace headless
