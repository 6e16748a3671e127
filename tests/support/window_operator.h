// What an operator does besides where windows stand on a screen: keys, accessibility tools, a look
// at pixels, and acts at a moment of real time.
#pragma once

#include "support/operator.h"

#include <utility>

class WindowOperator : public Operator
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

    void Press(Key key);         // where the keyboard is
    void Press(int id, Key key); // after moving the keyboard to the control
    void PressLetter(char letter, bool withAlt = false);
    // Makes the window so much larger, as a drag of its lower right corner does.
    void Resize(int wider, int higher);
    void Maximize();
    void Invoke(int id); // a button, by the first action that an accessibility tool is offered
    void Later(int milliseconds, std::function<void()> action);

    // Presses a button of the open box with this text as an accessibility tool does, whatever
    // stands over it. False when it is not open.
    bool TryToAnswer(const std::string& text, int answer);
    // Presses it with the mouse.
    void PressInBox(const std::string& text, int answer);
    bool IsBoxOpen(const std::string& text) const;
    std::pair<int, int> PlaceOfBox(const std::string& text) const; // left and top inside its frame
    void DeleteInFileDialog(const std::string& path); // as the list's context menu does

    // Of the dialog or box that has the keyboard; empty when none of the program has it.
    std::string ActiveTitle() const;
    // What stands on the screen at x, y of the control's client area, 0xRRGGBB.
    unsigned Pixel(int id, int x, int y) const;
    bool LooksRejected(int id) const;            // a field, by what stands on the screen
    unsigned MinimizedPixel(int x, int y) const; // of what stands for the minimized window
};
