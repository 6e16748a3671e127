// What all window systems share and offer to each other's code: nested loops and their end, the
// queue of posted messages, and what a dialog or box does whatever draws it.
#pragma once

#include "platform/backend.h"

#include <chrono>
#include <cstddef>
#include <vector>

// The loop of one open dialog or box, on the stack of the function that opened it.
class ModalLoop
{
public:
    explicit ModalLoop(ModalWindow& window, CDialog* dialog = nullptr); // null for a box
    ~ModalLoop();
    ModalLoop(const ModalLoop&) = delete;
    ModalLoop& operator=(const ModalLoop&) = delete;

    // Serves messages until Quit; returns at once when Quit came before. Gives the result: without
    // Quit IDCANCEL for a dialog, 0 for a box.
    int Run();
    // Hides the window. Also ends the loops inside this one: they would keep it from returning.
    void Quit(int result);

    bool IsOver() const { return m_over; }
    bool IsOutermost() const;
    ModalWindow& Window() const { return m_window; }
    CDialog* Dialog() const { return m_dialog; }

    static const std::vector<ModalLoop*>& Open();  // outermost first
    static ModalLoop* Of(const CDialog& dialog);   // null when it is not open
    static bool IsOpen(const CDialog& dialog);     // and not over; also a modeless one
    static bool TakesInput(const CDialog& dialog); // is open, and nothing stands over it
    static CDialog* TopDialog();                   // the one opened last, null when there is none

    // Asks the program to end: ends every loop but the outermost dialog's as if the operator had
    // left it. That dialog gets WM_QUERYENDSESSION when the handlers inside it have returned: they
    // may still need what it is going to close. When it refuses, boxes open again.
    static void AskToEnd();
    static void TellDisplayLost(); // tells the application object

private:
    static void AskOutermost();
    void Leave();

    ModalWindow& m_window;
    CDialog* m_dialog;
    bool m_over = false;
    int m_result;
};

// The parent of a modeless dialog that is open; null for any other.
const CDialog* ParentOfModeless(const CDialog& dialog);

// While a box about a rejected field of the dialog is open, fields lose the focus for its sake and
// do not tell their dialog.
bool IsRejectionShown(HWND dialog);

// What is typed or clicked earlier than so many milliseconds after a question came, or came back
// from under another box, and got the keyboard was meant for what stood there before.
inline constexpr int DeafTime = 300;

bool Handles(const CDialog& dialog, UINT message);
void ServeHelpKey(HWND dialog); // F1, pressed in this dialog

// From OpenQueue to CloseQueue messages may be posted to the window; what is still waiting at the
// end is dropped. Not for a system in whose own queue PostMessageA puts messages.
void OpenQueue(HWND window, CDialog& dialog);
void CloseQueue(HWND window);
std::size_t PostedMessages(); // how many wait
bool DeliverPosted();         // the oldest one; false when none waits

// So many posted messages are served, or so long, before everything else has its turn.
class DeliverySlice
{
public:
    void Count() { ++m_messages; }
    bool IsOver() const
    {
        return m_messages >= MostMessages || std::chrono::steady_clock::now() - m_start >= Longest;
    }

private:
    static constexpr int MostMessages = 64;
    static constexpr std::chrono::milliseconds Longest{8};

    int m_messages = 0;
    std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
};
