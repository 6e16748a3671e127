// A person at the screen, for tests: works the dialogs that a program opens, and the boxes over
// them, from inside their message loops. The test links the window system that it runs over.
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

// One at a time. Boxes, dialogs and open-file dialogs are met as the When operations have said;
// those that nobody expected fail the test and are left. All controls are those of the innermost
// open dialog; while a box is open over it, clicks are lost and keys go to the box.
class Operator
{
public:
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
    const std::vector<ShownBox>& Boxes() const { return m_shown; } // all so far, as they came

    // Runs the script in the loop of the next dialog with this title, as Run does.
    void WhenDialog(std::string title, std::function<void()> script);
    // Into the next open-file dialog this name or path is typed; an empty one cancels it.
    void WhenFileDialog(std::string path, std::function<void()> meanwhile = {});

    // What an operator who decides when it comes does with whatever nobody expected.
    struct Improvisation
    {
        std::function<void(CDialog& dialog)> useDialog;
        std::function<int(const ShownBox& box)> answerBox;
        std::function<std::string()> chooseFile;
    };
    void Improvise(Improvisation improvisation) { m_improvisation = std::move(improvisation); }

    // Serves messages until the condition holds; false when it did not within the time.
    bool Wait(const std::function<bool()>& condition, int milliseconds = 5000);
    // Serves messages for that long.
    void Serve(int milliseconds)
    {
        Wait([] { return false; }, milliseconds);
    }

    // A button, check or radio button, as the mouse does: it takes the focus first. False when the
    // click is lost: the control is disabled, hidden, behind a box, or does not get the focus.
    bool Click(int id);
    bool Focus(int id);                         // as Tab does; false when it is lost
    void Type(int id, const std::string& text); // replaces the field's text
    void Drag(int id, int position);            // a thumb, and lets it go there
    void PressEnter();
    void PressEscape();
    void CloseWindow(); // the close button
    void Minimize(bool minimized = true);
    // The mouse on a frame that takes input, at a point of its client area. what: a press, release,
    // double click or move as WM_...; flags: MK_SHIFT, MK_CONTROL.
    void Mouse(int id, UINT what, int x, int y, UINT flags = 0);
    void TurnWheel(int id, int turn, int x, int y);
    void Drop(const std::string& path); // a file onto the window

    CDialog& Dialog() const; // the innermost open one
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

protected:
    struct Expectation
    {
        std::string part; // of a box's text; a dialog's title; a file's path
        int answer = 0;
        std::function<void()> meanwhile = {};
        bool stays = false; // for every such box
    };
    struct Desk; // what the window system keeps for the operator

    bool TakesInput() const; // the innermost dialog: nothing is open over it
    void Use(CDialog& dialog);
    // What each is met with: runs what was to happen meanwhile and returns the answer, the path.
    int Meet(const ShownBox& box);
    std::string MeetFileDialog();

    std::vector<Expectation> m_boxes, m_dialogs, m_files;
    std::vector<ShownBox> m_shown;
    Improvisation m_improvisation;
    std::unique_ptr<Desk> m_desk;
};
