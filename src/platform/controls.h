// Windows and controls by handle. A control object does not own its control: the dialog does, and
// on a handle that names no live window every operation does nothing and every read gives 0.
#pragma once

#include "platform/dispatch.h"
#include "platform/types.h"

#include <string>

class CDataExchange;

class CWnd : public CCmdTarget
{
public:
    CWnd() = default;
    explicit CWnd(HWND window) : m_hWnd(window) {}

    HWND GetSafeHwnd() const { return m_hWnd; }

    // UTF-8; bytes that are not show as U+FFFD. Of a frame: what a screen reader says about it.
    void SetWindowText(const std::string& text);
    std::string GetWindowText() const;

    void EnableWindow(BOOL enable = TRUE);
    BOOL IsWindowEnabled() const;
    void ShowWindow(int command); // SW_...
    BOOL IsWindowVisible() const;
    BOOL IsIconic() const;
    void SetFocus();

    void GetWindowRect(RECT* rect) const; // screen pixels
    void GetClientRect(RECT* rect) const; // left and top are 0
    void ScreenToClient(POINT* point) const;
    // x, y: pixels in the parent's client area; flags: SWP_...
    void SetWindowPos(int x, int y, int width, int height, UINT flags);

    // Asks for a paint; with erase the background is drawn first.
    void Invalidate(BOOL erase = TRUE);

    // Starts or restarts the timer of this id: WM_TIMER every period milliseconds, until killed or
    // until the window is destroyed.
    void SetTimer(UINT_PTR id, UINT period);
    void KillTimer(UINT_PTR id);

protected:
    friend class CDialog;
    friend void DDX_Control(CDataExchange* dx, int id, CWnd& control);
    HWND m_hWnd = nullptr;
};

class CStatic : public CWnd
{
public:
    using CWnd::CWnd;
};

class CEdit : public CWnd
{
public:
    using CWnd::CWnd;
};

class CButton : public CWnd
{
public:
    using CWnd::CWnd;

    int GetCheck() const; // 0 or 1
    void SetCheck(int check);
};

class CScrollBar : public CWnd
{
public:
    using CWnd::CWnd;

    void GetScrollRange(int* minimum, int* maximum) const;
    void SetScrollRange(int minimum, int maximum, BOOL redraw = TRUE);
    int GetScrollPos() const;
    void SetScrollPos(int position, BOOL redraw = TRUE); // clamped to the range
};

class CSliderCtrl : public CWnd
{
public:
    using CWnd::CWnd;

    void SetRange(int minimum, int maximum, BOOL redraw = FALSE); // moves the thumb into the range
    void SetTicFreq(int frequency);
    int GetPos() const;
    void SetPos(int position); // clamped to the range
};
