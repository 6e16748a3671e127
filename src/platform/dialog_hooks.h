// What the half of the dialogs that every implementation shares asks of the other half.
#pragma once

#include "platform/dialog.h"

#include <string>

// Tells the operator that this exception ended a handler of this dialog.
void ReportException(HWND dialog, const std::string& text);
// The same for the exception being handled, of any type. Throws nothing: without memory for a box
// the text goes to standard error.
void ReportCurrentException(HWND dialog) noexcept;

// Marks the rejected field and says so in a box, unless the operator was told about this text
// before and only leaves the field; otherwise the focus goes back to the field.
void RejectEdit(const CDataExchange& dx);
