// Push buttons, check boxes and radio buttons: by whatever way a person presses one, it is pressed
// once, and only in the window that takes input.
#pragma once

#include "platform/dialog_template.h"

class DialogWindow;
class QAbstractButton;

// The button of a control, child of the dialog's window; not placed yet. Its group, for a radio
// button, is set by the caller.
QAbstractButton* MakeButton(DialogWindow& dialog, const ControlTemplate& control);

// Moves the focus to the button and clicks it, unless its window takes no input or a field that is
// left keeps the focus.
void PressAsTheMouseDoes(QAbstractButton& button);

// From now on mnemonics and accessibility tools press the buttons of all windows as the mouse does.
// By itself the toolkit clicks some time after a mnemonic and leaves the focus where it is; for an
// accessibility tool it only changes how a check box looks, and it presses buttons of every window.
void UnifyPresses();
