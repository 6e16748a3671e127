// Push buttons, check boxes and radio buttons: by whatever way a person presses one, the dialog is
// told once.
#pragma once

#include "platform/dialog_template.h"

class DialogWindow;
class QAbstractButton;

// The button of a control, child of the dialog's window; not placed yet. Its group, for a radio
// button, is set by the caller.
QAbstractButton* MakeButton(DialogWindow& dialog, const ControlTemplate& control);

// Lets accessibility tools press these buttons as the mouse does. By itself the toolkit would only
// change how a check box looks, and would press the buttons of a dialog that takes no input.
void InstallButtonAccess();
