// The records behind the handles. Private to the implementation.
#pragma once

#include "platform/headless/headless.h"

#include <condition_variable>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <unordered_map>
#include <utility>
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

struct Message
{
    HWND window;
    UINT number;
    WPARAM wParam;
    LPARAM lParam;
};

// What other threads reach.
struct MessageQueue
{
    static constexpr std::size_t Capacity = 10'000;

    std::mutex mutex;
    std::condition_variable posted;
    std::deque<Message> messages;
    std::set<HWND> windows; // that messages may be posted to
};

// The loop of an open dialog or box. It stands on the stack of the function that opened it.
class ModalLoop
{
public:
    // Takes the focus while the loop stands. dialog: null for a box.
    explicit ModalLoop(CDialog* dialog = nullptr);
    ~ModalLoop();
    ModalLoop(const ModalLoop&) = delete;
    ModalLoop& operator=(const ModalLoop&) = delete;

    // Also ends the loops inside this one, as if the operator had left them.
    void Quit(int result = IDCANCEL);
    bool IsOver() const { return m_over; }
    int Result() const { return m_result; }
    CDialog* Dialog() const { return m_dialog; }

private:
    HWND m_formerFocus;
    CDialog* m_dialog;
    bool m_over = false;
    int m_result = IDCANCEL;
};

struct Desktop
{
    MessageQueue queue;
    std::shared_ptr<const Screen> screen = std::make_shared<const Screen>();
    std::unordered_map<HWND, Window> windows;
    std::vector<ModalLoop*> loops; // outermost first
    std::vector<Timer> timers;
    std::uintptr_t lastHandle = 0; // never used again, so a stale handle names no window
    std::uint64_t now = 0;
    int baseWidth = StandardBaseWidth;
    int baseHeight = StandardBaseHeight;
    bool sessionEnded = false;
    HWND focus = nullptr;
    HWND painted = nullptr;    // the dialog whose paint request is being served
    std::set<HWND> paintBegun; // windows that it has painted
    Picture picture;
    std::size_t beeps = 0;
};

extern Desktop desktop;

// Null for a handle that names no live window.
Window* Find(HWND handle);
Window* FindControl(const CDialog& dialog, int id);

// Moves the focus; the edit field that loses it tells its dialog.
void MoveFocus(HWND target);

// The loop of an open dialog, null when it has none.
ModalLoop* LoopOf(const CDialog& dialog);

// With the session ended and only the outermost dialog left: asks it to end.
void AskOutermostToEnd();

} // namespace headless
