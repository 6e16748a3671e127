// An operator for tests: works a real dialog and the boxes it opens, from inside its message loop.
#pragma once

#include "platform/dialog.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

// A message box as it stood on the screen.
struct ShownBox
{
    std::string text, caption;
    UINT style; // MB_... of the buttons, the icon and topmost
};

// One at a time. Boxes are answered as WhenBox has said; one that nobody expected fails the test
// and is left by Escape. All controls are those of the innermost open dialog; while a box is open
// over it, clicks are lost and keys go to the box.
class Operator
{
public:
    enum class Key
    {
        Enter,
        Escape,
        Help,
        Space,
        Left,
        Right,
        Up,
        Down,
        PageUp,
        PageDown,
        Home,
        End
    };

    Operator();
    ~Operator();
    Operator(const Operator&) = delete;
    Operator& operator=(const Operator&) = delete;

    // Runs the dialog and, once it is shown, the script; ends the dialog after it when the script
    // has not. Returns what DoModal returned. Expectations of boxes that never came fail the test.
    int Run(CDialog& dialog, const std::function<void()>& script);

    // The next box whose text holds this part (in the order of the calls where several fit) gets
    // this answer: IDOK, IDYES, ...; 0 presses Escape. meanwhile runs while the box is open.
    void WhenBox(std::string part, int answer, std::function<void()> meanwhile = {});
    // The same for as many as come from now on, also none.
    void WhenEveryBox(std::string part, int answer, std::function<void()> meanwhile = {});
    const std::vector<ShownBox>& Boxes() const; // all so far, in the order they came
    // Presses a button of the open box with this text as an accessibility tool does, whatever
    // stands over it. False when it is not open.
    bool TryToAnswer(const std::string& text, int answer);
    bool IsBoxOpen(const std::string& text) const;
    std::pair<int, int> PlaceOfBox(const std::string& text) const; // left and top of its frame

    // Runs the script in the loop of the next dialog with this title, as Run does.
    void WhenDialog(std::string title, std::function<void()> script);
    // Into the next open-file dialog this name or path is typed; an empty one cancels it.
    void WhenFileDialog(std::string path, std::function<void()> meanwhile = {});

    // Serves messages until the condition holds; false when it did not within the time.
    void DeleteInFileDialog(const std::string& path); // as the list's context menu does
    bool Wait(const std::function<bool()>& condition, int milliseconds = 5000);
    // Serves messages for that long.
    void Serve(int milliseconds)
    {
        Wait([] { return false; }, milliseconds);
    }
    void Later(int milliseconds, std::function<void()> action);

    // A button, check or radio button, as the mouse does: it takes the focus first. A control that
    // is disabled or hidden does nothing.
    void Click(int id);
    void Type(int id, const std::string& text); // replaces the field's text, key by key
    void Focus(int id);                         // as Tab does
    void PressEnter() { Press(Key::Enter); }
    void PressEscape() { Press(Key::Escape); }
    void PressHelp() { Press(Key::Help); }
    void Press(Key key);         // where the keyboard is
    void Press(int id, Key key); // after moving the keyboard to the control
    void PressLetter(char letter, bool withAlt = false);
    void Invoke(int id); // a button, by the first action that an accessibility tool is offered
    void Drag(int id, int position); // a thumb, and lets it go there
    void CloseWindow();              // the close button
    void Minimize(bool minimized = true)
    {
        Dialog().ShowWindow(minimized ? SW_MINIMIZE : SW_RESTORE);
    }
    void Drop(const std::string& path); // a file onto the window

    CDialog& Dialog() const; // the innermost open one
    // Of the dialog or box that has the keyboard; empty when none of the program has it.
    std::string ActiveTitle() const;
    std::string Title() const { return Dialog().GetWindowText(); }
    std::string Text(int id) const { return Dialog().GetDlgItem(id).GetWindowText(); }
    bool IsEnabled(int id) const { return Dialog().GetDlgItem(id).IsWindowEnabled() != FALSE; }
    bool IsVisible(int id) const { return Dialog().GetDlgItem(id).IsWindowVisible() != FALSE; }
    bool IsChecked(int id) const
    {
        return CButton(Dialog().GetDlgItem(id).GetSafeHwnd()).GetCheck() != 0;
    }
    bool HasFocus(int id) const;
    int Position(int id) const; // of a scroll bar or track bar
    // What stands on the screen at x, y of the control's client area, 0xRRGGBB.
    unsigned Pixel(int id, int x, int y) const;
    unsigned MinimizedPixel(int x, int y) const; // of what stands for the minimized window

private:
    struct Desk;
    std::unique_ptr<Desk> m_desk;
};
