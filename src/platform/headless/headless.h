// The windows of the platform contract without a screen: windows and controls are plain records,
// the clock stands until it is told to go, and what happens at the screen is a function.
//
// Everything here belongs to the one thread that runs the dialogs; other threads may only call
// PostMessageA. A dialog's modal loop runs what the screen does with that dialog: it serves
// messages while that says Pump or RunFor, and when it returns with the dialog still
// open, the dialog is asked to end as at the program's end.
#pragma once

#include "platform/dialog.h"
#include "platform/types.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace headless {

struct Box
{
    std::string text;
    std::string caption;
    UINT style;
};

// Who sits at the screen. Each may pump messages and use other dialogs meanwhile.
struct Screen
{
    std::function<void(CDialog& dialog)> useDialog; // missing: leaves every dialog at once
    std::function<int(const Box& box)> answerBox;   // missing: the Escape key
    std::function<std::string()> chooseFile;        // missing or an empty path: Cancel
};
void SetScreen(Screen screen);

// Forgets what is posted, shown and counted, and sets the clock to 0. With no dialog open.
void Reset();

// The size in pixels of the average character, which scales every dialog opened from now on.
void SetBaseUnits(int width, int height);

// Serves what is posted at the time of the call, each timer that is due once, and paint requests;
// returns how many messages it served.
std::size_t Pump();

// Serves the paint requests alone, as they are served before anybody looks at the screen.
void Paint();

// Moves the clock on by so many milliseconds; timers fire on the way at their times.
void RunFor(std::uint32_t milliseconds);
std::uint64_t Now(); // milliseconds since the last Reset

// Waits in real time until a message is posted; false when none came.
bool WaitForPost(std::chrono::milliseconds limit);

void EndSession(); // asks the program to end, as a signal does

// Gives a resizable dialog's client area this size, but not less than its template's.
void Resize(CDialog& dialog, int width, int height);

// The picture last transferred, topmost row first.
struct Picture
{
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> grays;
};
const Picture& LastPicture();

const std::string& Clipboard(); // the text last put on it

std::size_t LiveWindows(); // dialogs and controls
std::size_t LiveTimers();
std::size_t OpenBoxes();
std::size_t Beeps(); // since the last Reset

} // namespace headless
