// The clipboard.
#pragma once

#include <string>

// Puts the text (UTF-8) on the clipboard, in the place of what is there.
void SetClipboardText(const std::string& text);
