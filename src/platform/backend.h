// What a window system supplies to the half of the platform layer that all of them share. Besides
// this page it defines the operations of controls.h, paint.h and beeper.h. Everything is called on
// the user-interface thread alone where nothing else is said.
#pragma once

#include "platform/dialog.h"

#include <functional>
#include <memory>
#include <string>

class ModalLoop;

// The program's connection to the window system, with fonts and style set up; the signals that ask
// the program to end lead to ModalLoop::AskToEnd. It holds as long as the object lives.
std::shared_ptr<void> StartWindowSystem(int& argc, char** argv);

// The window of one open dialog, box or chooser, from its making to its destruction. Only the one
// made last takes input and has the keyboard; it stands lower and to the right of the one below.
class ModalWindow
{
public:
    // The window is gone, its handles are dead, and the keyboard is with the window below.
    virtual ~ModalWindow() = default;

    virtual void Show() = 0;
    // Serves messages until Stop: input of this window; timers, paint requests and posted messages
    // of all, so that a storm of one kind starves no other. May return early: it is called again.
    virtual void Serve() = 0;
    virtual void Stop() = 0; // also when Serve is not running: then it has no effect
    virtual void Hide() = 0;

    // The loop over this window, null before and after it. A box that is answered quits it with the
    // answer. Once it is over, nothing of the window is reported to its dialog any more.
    ModalLoop* m_loop = nullptr;
};

// Makes the window and the controls of the dialog's template, not shown yet, and gives its handle.
// The dialog hears of its controls through CDialog::Send. parent: the owner, null for none.
std::unique_ptr<ModalWindow> MakeDialogWindow(CDialog& dialog, CWnd* parent, HWND& handle);
// The same for a modeless dialog, over the open window of its parent. It takes input while that
// does, and keeps the parent's from nothing. The window goes with the object.
std::shared_ptr<void> MakeModelessWindow(CDialog& dialog, const CWnd& parent, HWND& handle);
HWND ControlOf(HWND dialog, int id); // null when the template does not hold it
void FocusFirst(HWND dialog);        // the first control in Tab order that takes the focus
void SetWindowIcon(HWND dialog, const IconResource& icon, bool big);

// A message box; its first button is the default one. It answers IDOK, IDCANCEL, IDYES or IDNO, or
// anything else when it was left by Escape or the close button.
std::unique_ptr<ModalWindow> MakeBox(HWND owner, const char* text, const char* caption, UINT style);

struct FileRequest
{
    std::string defaultExtension, fileName, filter, folder; // as in boxes.h
    bool mustExist;
    CWnd* parent;
};
// An open-file dialog, which answers IDOK after it has set path to the full path of the file.
std::unique_ptr<ModalWindow> MakeFileChooser(const FileRequest& request, std::string& path);

// Closes menus, drags, and windows that the system has opened by itself over those of the layer.
// None of them may count as answered with Yes.
void CloseWindowsOfSystem();

// Runs the action in the next round of whatever loop runs then.
void RunSoon(std::function<void()> action);

// Marks the field's text as rejected, with the reason for screen readers, until the text changes or
// is written again. False when it is marked already.
bool MarkRejected(HWND field, const std::string& reason);
// Gives the focus back to a rejected field after its box, the text selected. A button that was
// being pressed when the box came stands up again.
void ReturnTo(HWND field);

// True while a paint request is being served: no box may open before it is done.
bool IsPainting();

void ShowWaitCursor(bool shown);

// Has DeliverPosted called soon, and again until nothing waits. Called under the queue's lock, on
// any thread; what it throws refuses the message. Only for systems that use the layer's queue.
void AskForDelivery();
