// The windows of open dialogs and boxes, and the order in which they stand.
#pragma once

#include "platform/win32/native.h"

#include <vector>

// While it stands, the windows that were open before take no input.
class NativeWindow : public ModalWindow
{
public:
    NativeWindow();
    // The former windows take input again before this one goes, so that the system activates one of
    // them and not another program's.
    ~NativeWindow() override;

    void Show() override;
    void Serve() override;
    void Stop() override;
    void Hide() override;

    win::HWND Window() const { return m_window; }
    // Whether the window takes no notice of this input.
    virtual bool Ignores(const win::MSG&) const { return false; }

protected:
    // What its window is to belong to: the one that was topmost before. Null when that is minimized
    // or not shown yet: the system would hide this one with it.
    win::HWND Owner() const { return m_owner; }
    bool IsAboveBox() const { return m_isAboveBox; }

    win::HWND m_window = nullptr; // made by the derived class

private:
    void Unblock();

    const win::HWND m_before = win::GetActiveWindow();
    win::HWND m_owner = nullptr;
    bool m_isAboveBox = false;
    std::vector<win::HWND> m_blocked;
};

// Hands a message to its window, as the loops of dialogs do.
void DispatchToDialogs(win::MSG& message);
std::uint64_t DispatchedMessages(); // how many it has taken

// The system serves posted messages before everything else. Called with each one before its handler
// runs, this serves the timers, paint requests and input that a storm of them would starve. Nothing
// is to be done for the messages that DispatchToDialogs hands on itself.
void ServeBehindPosted(win::HWND window, win::UINT message, win::WPARAM wParam, win::LPARAM lParam);

// The window that carries RunSoon, from the program's start to its end on the thread that runs it.
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
