// The nested message loops of dialogs and boxes, and the order in which their windows stand.
#pragma once

#include "platform/win32/native.h"

#include <functional>
#include <vector>

// The loop of one open dialog or box, on the stack of the function that opened it. While it stands,
// the windows that were open before take no input.
class ModalLoop
{
public:
    // cancel: ends the dialog or box, and with it this loop, as if the operator had left it.
    // dialog: null for a box.
    explicit ModalLoop(std::function<void()> cancel, CDialog* dialog = nullptr);
    virtual ~ModalLoop();
    ModalLoop(const ModalLoop&) = delete;
    ModalLoop& operator=(const ModalLoop&) = delete;

    // What its window is to belong to: the one that was topmost before. Null when that is minimized
    // or not shown yet: the system would hide this one with it.
    win::HWND Owner() const { return m_owner; }
    bool IsAboveBox() const { return m_isAboveBox; }
    void SetWindow(win::HWND window) { m_window = window; } // as soon as it is there
    win::HWND Window() const { return m_window; }           // null before

    void Run(); // serves messages until Quit
    // Also ends the loops that run inside this one: they would keep it from returning.
    void Quit(int result = IDCANCEL);
    bool IsOver() const { return m_over; }
    int Result() const { return m_result; }

    // Lets the former windows take input again; before the loop's own window goes, so that the
    // system activates one of them.
    void Unblock();

    static ModalLoop* Of(const CDialog* dialog); // null when it is not open
    static bool IsInnermost(const CDialog* dialog);
    // Whether the topmost dialog or box takes no notice of this input.
    static bool IsIgnored(const win::MSG& message);

    // Ends every loop but the outermost dialog's; from now on no dialog and no box opens. That
    // dialog gets WM_QUERYENDSESSION when the loops inside it have returned.
    static void AskToEnd();
    // Goes on with it: asks again until the handlers that had opened the inner loops have returned.
    // They may still need what the dialog's handler is going to close.
    static void GoOnEnding();

protected:
    virtual bool Ignores(const win::MSG&) const { return false; }

private:
    std::function<void()> m_cancel;
    CDialog* m_dialog;
    win::HWND m_owner = nullptr;
    bool m_isAboveBox = false;
    win::HWND m_window = nullptr;
    std::vector<win::HWND> m_blocked;
    int m_result = IDCANCEL;
    bool m_over = false;
};

// Hands a message to its window, as the loops of dialogs do.
void DispatchToDialogs(win::MSG& message);

// The system serves posted messages before everything else. Called with each one before its handler
// runs, this serves the timers, paint requests and input that a storm of them would starve. Nothing
// is to be done for the messages that DispatchToDialogs hands on itself.
void ServeBehindPosted(win::HWND window, win::UINT message, win::WPARAM wParam, win::LPARAM lParam);

// Runs the action in the next round of whatever loop runs then, the system's own included.
void RunLater(std::function<void()> action);

// The window that carries RunLater, from the program's start to its end on the thread that runs it.
class LaterWindow
{
public:
    LaterWindow();
    ~LaterWindow();
    LaterWindow(const LaterWindow&) = delete;
    LaterWindow& operator=(const LaterWindow&) = delete;

    // Asks the program to end; from any thread.
    static void PostEnd();
};
