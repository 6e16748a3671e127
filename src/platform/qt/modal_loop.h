// The nested message loops of dialogs and boxes, and the order in which their windows stand.
#pragma once

#include <QEventLoop>
#include <QPointer>
#include <QWidget>

class CDialog;

// The loop of one open dialog or box, on the stack of the function that opened it. While it runs,
// timers and posted messages are served, and input of the topmost window.
class ModalLoop
{
public:
    // dialog: null for a box. The window may be destroyed before the loop.
    explicit ModalLoop(QWidget& window, CDialog* dialog = nullptr);
    ~ModalLoop(); // the keyboard goes to the window below
    ModalLoop(const ModalLoop&) = delete;
    ModalLoop& operator=(const ModalLoop&) = delete;

    void Open(); // shows the window above all others and gives it the keyboard
    void Run();  // until Quit; returns at once when Quit came before
    void Quit(); // also ends the loops that run inside this one: they would keep it from returning

    // The window that takes input, also one that the toolkit opened by itself; null for none.
    static QWidget* TopmostWindow();
    // What the next window belongs to. Null when the topmost is minimized or not shown yet: window
    // managers would hide the next one with it.
    static QWidget* NextOwner();

    // Ends every loop but the outermost dialog's, also those that the toolkit runs by itself. That
    // dialog gets WM_QUERYENDSESSION when the handlers inside it have returned.
    static void AskToEnd();

    static void TellDisplayLost(); // tells the application object

private:
    void PlaceAboveParent();
    bool IsOutermost() const;
    static void AskDialogSoon();
    void AskDialogToEnd();
    void CloseWindowsOfToolkit() const;
    void Leave();

    QPointer<QWidget> m_window;
    CDialog* m_dialog;
    QPoint m_place; // of the frame, as the window was opened
    QEventLoop m_loop;
    bool m_quit = false;
};
