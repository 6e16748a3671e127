// What the files of this implementation share about dialogs and the painting of their windows.
#pragma once

#include "platform/paint_stack.h"
#include "platform/win32/modal_window.h"

#include <string>
#include <string_view>

// The dialog whose window, or whose control, this is; null for any other window.
CDialog* DialogOf(win::HWND window);

// The control kinds that are windows of classes of their own or are treated apart.
inline constexpr wchar_t FrameClass[] = L"TarnTestFrame";
inline constexpr wchar_t ScrollBarClass[] = L"ScrollBar";
inline constexpr wchar_t EditClass[] = L"Edit";
inline constexpr wchar_t ButtonClass[] = L"Button";
bool IsOfClass(win::HWND window, std::wstring_view className);

// Creates a window for a dialog or box without controls, not shown; its messages go to procedure,
// WM_INITDIALOG with argument as lParam first. client: its size in pixels.
struct WindowForm
{
    std::wstring title;
    win::SIZE client;
    win::DWORD style;
    win::DWORD extendedStyle;
    win::HWND owner; // may be null
};
win::HWND CreateDialogWindow(const WindowForm& form, win::DLGPROC procedure, win::LPARAM argument);

// Texts that are only shown, and titles, see shown_text.h.
std::wstring ShownText(std::string_view text);
std::wstring ShownTitle(std::string_view text);

// From now on clicks of the button are lost while its window takes no input and, when a field of
// the window has taken the focus back, until the next round of the loop.
void GuardClicks(win::HWND button);

// The font of dialogs: that of the templates, made once for the life of the process.
win::HFONT DialogFont();
// The size of the average character in it, in pixels: 6 x 13, times the screen's scale.
win::SIZE BaseUnits();

// What windows may cover of the screen that the window is on.
win::RECT ScreenOf(win::HWND window);

// Puts the window in the middle of the owner, or of the screen without one, and wholly on screen.
void CenterWindow(win::HWND window, win::HWND owner);

// Stands while a window's paint request is served.
class PaintRequest : public PaintStack<PaintRequest, win::HWND>
{
public:
    explicit PaintRequest(win::HWND window) : PaintStack(window) {}
};

void RegisterFrameClass();
win::HICON NativeIcon(const IconResource& icon); // to be destroyed by the caller
bool IsWaitCursorShown();
