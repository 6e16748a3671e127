// The plain types and message numbers that windows, files and loaded libraries share.
#pragma once

#include <cstddef>
#include <cstdint>

using BOOL = int;
using BYTE = std::uint8_t;
using WORD = std::uint16_t;
using DWORD = std::uint32_t;
using UINT = std::uint32_t;
using LONG = std::int32_t;
using UINT_PTR = std::uintptr_t;
using WPARAM = std::uintptr_t;
using LPARAM = std::intptr_t;
using LRESULT = std::intptr_t;

inline constexpr BOOL FALSE = 0;
inline constexpr BOOL TRUE = 1;

// The key of a live window. It is looked up in a table and never dereferenced, so a stale handle
// names no window instead of a dead one.
using HWND = struct HWND__*;

// Pixels; right and bottom are exclusive.
struct RECT
{
    LONG left, top, right, bottom;
};

struct POINT
{
    LONG x, y;
};

// The client area has another size: lParam, width and height like a point. wParam: SIZE_...
inline constexpr UINT WM_SIZE = 0x0005;
inline constexpr UINT WM_PAINT = 0x000F;
inline constexpr UINT WM_CLOSE = 0x0010;
// The program is asked to end. A dialog without a handler for it ends with IDCANCEL.
inline constexpr UINT WM_QUERYENDSESSION = 0x0011;
inline constexpr UINT WM_ICONERASEBKGND = 0x0027;
inline constexpr UINT WM_QUERYDRAGICON = 0x0037;
inline constexpr UINT WM_NOTIFY = 0x004E;

// Keys, while a frame that takes input has the focus. WM_KEYDOWN: wParam is a VK_... of below,
// other keys send none; WM_CHAR: wParam is the character, and those typed with Ctrl or Alt are
// none.
inline constexpr UINT WM_KEYDOWN = 0x0100;
inline constexpr UINT WM_CHAR = 0x0102;
// wParam: the low 16 bits are the control's id, the next 16 its notification code.
inline constexpr UINT WM_COMMAND = 0x0111;
// wParam: the timer's id.
inline constexpr UINT WM_TIMER = 0x0113;
// wParam: the low 16 bits are the scroll code, the bits above them the thumb's position;
// lParam: the scroll bar's HWND.
inline constexpr UINT WM_HSCROLL = 0x0114;
inline constexpr UINT WM_VSCROLL = 0x0115;

// The mouse over a frame that takes input. wParam: MK_..., what is held down after the event;
// lParam: the point in the frame's client area. A button pressed there gives the frame the focus
// and captures the mouse until all buttons are up; a second press soon after the first is a double
// click instead of a press.
inline constexpr UINT WM_MOUSEMOVE = 0x0200;
inline constexpr UINT WM_LBUTTONDOWN = 0x0201;
inline constexpr UINT WM_LBUTTONUP = 0x0202;
inline constexpr UINT WM_LBUTTONDBLCLK = 0x0203;
inline constexpr UINT WM_RBUTTONDOWN = 0x0204;
inline constexpr UINT WM_RBUTTONUP = 0x0205;
inline constexpr UINT WM_RBUTTONDBLCLK = 0x0206;
// wParam: MK_..., in the next 16 bits the turn, WHEEL_DELTA a notch and positive away from the
// operator; lParam: the point on the screen.
inline constexpr UINT WM_MOUSEWHEEL = 0x020A;
// The capture was taken away, as by a box that opened: the buttons' release is not reported.
inline constexpr UINT WM_CAPTURECHANGED = 0x0215;
inline constexpr UINT WM_MOUSELEAVE = 0x02A3;
// lParam: pointer to the dropped file's path, a zero-terminated text that lives for the call.
inline constexpr UINT WM_DROPFILES = 0x0233;
inline constexpr UINT WM_USER = 0x0400;

// Notification codes of WM_COMMAND.
inline constexpr UINT BN_CLICKED = 0;
inline constexpr UINT EN_KILLFOCUS = 0x0200;

// Notification codes of a track bar's WM_NOTIFY (lParam: pointer to an NMHDR).
inline constexpr UINT NM_CUSTOMDRAW = static_cast<UINT>(-12);
inline constexpr UINT NM_RELEASEDCAPTURE = static_cast<UINT>(-16);

struct NMHDR
{
    HWND hwndFrom;
    UINT_PTR idFrom;
    UINT code;
};

// Scroll codes.
inline constexpr UINT SB_LINEUP = 0;
inline constexpr UINT SB_LINEDOWN = 1;
inline constexpr UINT SB_PAGEUP = 2;
inline constexpr UINT SB_PAGEDOWN = 3;
inline constexpr UINT SB_THUMBPOSITION = 4;
inline constexpr UINT SB_THUMBTRACK = 5;
inline constexpr UINT SB_TOP = 6;
inline constexpr UINT SB_BOTTOM = 7;
inline constexpr UINT SB_ENDSCROLL = 8;

// Buttons and keys held down with a mouse message.
inline constexpr UINT MK_LBUTTON = 0x01;
inline constexpr UINT MK_RBUTTON = 0x02;
inline constexpr UINT MK_SHIFT = 0x04;
inline constexpr UINT MK_CONTROL = 0x08;
inline constexpr int WHEEL_DELTA = 120;

// Keys.
inline constexpr UINT VK_PRIOR = 0x21; // Page Up
inline constexpr UINT VK_NEXT = 0x22;  // Page Down
inline constexpr UINT VK_END = 0x23;
inline constexpr UINT VK_HOME = 0x24;
inline constexpr UINT VK_LEFT = 0x25;
inline constexpr UINT VK_UP = 0x26;
inline constexpr UINT VK_RIGHT = 0x27;
inline constexpr UINT VK_DOWN = 0x28;
inline constexpr UINT VK_DELETE = 0x2E;

inline constexpr UINT SIZE_RESTORED = 0;
inline constexpr UINT SIZE_MAXIMIZED = 2;

inline constexpr int SW_HIDE = 0;
inline constexpr int SW_MAXIMIZE = 3;
inline constexpr int SW_SHOW = 5;
inline constexpr int SW_MINIMIZE = 6;
inline constexpr int SW_RESTORE = 9;

inline constexpr UINT SWP_NOSIZE = 0x0001;
inline constexpr UINT SWP_NOMOVE = 0x0002;
inline constexpr UINT SWP_NOZORDER = 0x0004;

// Ids of the commands and answers that every dialog and box knows.
inline constexpr int IDOK = 1;
inline constexpr int IDCANCEL = 2;
inline constexpr int IDYES = 6;
inline constexpr int IDNO = 7;
inline constexpr int ID_HELP = 0xE146; // F1, a command of the application object

constexpr WPARAM MAKEWPARAM(UINT low, UINT high)
{
    return (static_cast<WPARAM>(high) << 16) | (low & 0xFFFF);
}

// A point of a mouse message: signed, 16 bits a coordinate.
constexpr LPARAM MAKELPARAM(int x, int y)
{
    return static_cast<LPARAM>(MAKEWPARAM(static_cast<UINT>(x), static_cast<UINT>(y) & 0xFFFF));
}

constexpr POINT PointOf(LPARAM lParam)
{
    return {static_cast<std::int16_t>(lParam & 0xFFFF),
            static_cast<std::int16_t>(lParam >> 16 & 0xFFFF)};
}
