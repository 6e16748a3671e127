// What each system supplies to the simulated preview: a live picture over the image area that is
// also the hand switch, and the way into the loaded capture library.
#pragma once

#include "simulator/quillet/sensor_watch.h"

#include <memory>

// Screen pixels.
struct ScreenArea
{
    int left, top, width, height;
};

// A child of the owner's window, so that it moves, hides and ends with it and leaves the rest of it
// usable. A click or Space exposes; the press does, not the release.
class Preview
{
public:
    Preview() = default;
    virtual ~Preview() = default; // closes it; may be called from inside its own press
    Preview(const Preview&) = delete;
    Preview& operator=(const Preview&) = delete;

    virtual bool Exists() const = 0; // false once the owner's window has ended
    virtual bool IsOver(const void* owner) const = 0;

    // Shows the picture in front of its siblings and gives it the focus, so that Space exposes at
    // once, unless the focus is in a field or on an option. These two only while it exists.
    virtual void Arm() = 0;
    virtual void Disarm() = 0;
};

// owner: the window's HWND. Not shown yet; null when there is no such window.
std::unique_ptr<Preview> OpenPreview(void* owner, const ScreenArea& area, const SensorLink& sensor);

// A function of the capture library that the program has loaded; null when there is none. Does not
// load the library.
void* FindInTarn(const char* name);
