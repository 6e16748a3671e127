// The system's own interface, in a namespace: the contract carries the same names for its own
// types, constants and operations. Every contract header comes first, because the system's macros
// would rewrite it.
#pragma once

#include "platform/beeper.h"
#include "platform/boxes.h"
#include "platform/clock.h"
#include "platform/controls.h"
#include "platform/dialog.h"
#include "platform/field_text.h"
#include "platform/files.h"
#include "platform/module.h"
#include "platform/native_window.h"
#include "platform/paint.h"
#include "platform/policy.h"
#include "platform/types.h"

// What the system's headers include of the language's library stays outside the namespace.
#include <cctype>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <x86intrin.h>

#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
#ifndef UNICODE
#define UNICODE
#endif
namespace win {
#include <windows.h>
// After it:
#include <commctrl.h>
#include <commdlg.h>
#include <shellapi.h>
} // namespace win
// Members of the contract's classes.
#undef GetWindowText
#undef SetDlgItemText
#undef SetWindowText
// These name types or values of the system without the namespace.
#undef INVALID_HANDLE_VALUE
using win::COLORREF;
using win::DLGPROC;
using win::DWORD_PTR;
using win::LPWSTR;
using win::ULONG_PTR;

inline win::HWND Native(HWND window)
{
    return reinterpret_cast<win::HWND>(window);
}

inline HWND Contract(win::HWND window)
{
    return reinterpret_cast<HWND>(window);
}

// The handle that the system gives for a file that it could not open.
inline const win::HANDLE NoFile = reinterpret_cast<win::HANDLE>(static_cast<std::intptr_t>(-1));
