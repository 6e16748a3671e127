// What the half of the dialogs that every implementation shares asks of the other half.
#pragma once

#include "platform/dialog.h"

#include <string>

// Tells the operator about the exception that ended a handler of this dialog.
void ReportException(HWND dialog, const std::string& text);

// The field's text was rejected for this reason: unless the operator was told so before and has not
// edited the field since, a box says it; the focus goes back to the field.
void RejectEdit(const CDataExchange& dx, HWND field, const std::string& reason);
