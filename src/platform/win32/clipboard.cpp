// The clipboard of the system.
#include "platform/clipboard.h"

#include "platform/win32/native.h"
#include "platform/win32/text.h"

// The clipboard takes nothing from nobody: a window of ours opens it. What is put there belongs to
// the system from then on.
void SetClipboardText(const std::string& text)
{
    const std::wstring wide = Wide(text);
    const std::size_t bytes = (wide.size() + 1) * sizeof(wchar_t);
    const win::HGLOBAL block = win::GlobalAlloc(GMEM_MOVEABLE, bytes);
    if (block == nullptr || win::OpenClipboard(win::GetActiveWindow()) == FALSE) {
        win::GlobalFree(block);
        return;
    }
    std::memcpy(win::GlobalLock(block), wide.c_str(), bytes);
    win::GlobalUnlock(block);
    win::EmptyClipboard();
    if (win::SetClipboardData(CF_UNICODETEXT, block) == nullptr) {
        win::GlobalFree(block);
    }
    win::CloseClipboard();
}
