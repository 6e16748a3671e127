// The nested message loops of dialogs and boxes.
#pragma once

#include <QEventLoop>

#include <functional>

class CDialog;

// The loop of one open dialog or box, on the stack of the function that opened it. While it runs,
// input, timers and posted messages are served.
class ModalLoop
{
public:
    // cancel: ends the dialog or box, and with it this loop, as if the operator had left it.
    // dialog: null for a box.
    explicit ModalLoop(std::function<void()> cancel, CDialog* dialog = nullptr);
    ~ModalLoop();
    ModalLoop(const ModalLoop&) = delete;
    ModalLoop& operator=(const ModalLoop&) = delete;

    void Run();  // until Quit; returns at once when Quit came before
    void Quit(); // also ends the loops that run inside this one: they would keep it from returning

    static bool IsInnermost(const CDialog* dialog);

    // Ends every loop but the outermost dialog's; from now on no dialog and no box opens. That
    // dialog gets WM_QUERYENDSESSION when the loops inside it have returned.
    static void AskToEnd();

private:
    static void EndOutermost();

    QEventLoop m_loop;
    std::function<void()> m_cancel;
    CDialog* m_dialog;
    bool m_quit = false;
};
