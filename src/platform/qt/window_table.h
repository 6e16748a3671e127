// The live windows and controls by handle.
#pragma once

#include "platform/types.h"

class DialogWindow;
class QWidget;

// What a handle stands for. The widget and the dialog's window belong to the toolkit.
struct WindowRecord
{
    QWidget* widget;
    DialogWindow* dialog; // the dialog's window: the widget itself, or the one it is a control of
};

// The widget of a live window; null for every other handle. For the user-interface thread, as are
// all functions here.
QWidget* WidgetOf(HWND window);

// The dialog's window that the handle names, itself or by one of its controls; null for none.
DialogWindow* DialogOf(HWND window);

HWND AddWindow(const WindowRecord& record); // a handle that was never used before
void RemoveWindow(HWND window);
