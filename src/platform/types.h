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

inline constexpr UINT WM_PAINT = 0x000F;
inline constexpr UINT WM_CLOSE = 0x0010;
// The program is asked to end. A dialog without a handler for it ends with IDCANCEL.
inline constexpr UINT WM_QUERYENDSESSION = 0x0011;
inline constexpr UINT WM_ICONERASEBKGND = 0x0027;
inline constexpr UINT WM_QUERYDRAGICON = 0x0037;
inline constexpr UINT WM_NOTIFY = 0x004E;
// wParam: the low 16 bits are the control's id, the next 16 its notification code.
inline constexpr UINT WM_COMMAND = 0x0111;
// wParam: the timer's id.
inline constexpr UINT WM_TIMER = 0x0113;
// wParam: the low 16 bits are the scroll code, the bits above them the thumb's position;
// lParam: the scroll bar's HWND.
inline constexpr UINT WM_HSCROLL = 0x0114;
inline constexpr UINT WM_VSCROLL = 0x0115;
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

inline constexpr int SW_HIDE = 0;
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
