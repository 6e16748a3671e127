// Painting with the system's calls, and icons.
#include "platform/paint.h"

#include "platform/win32/dialog_window.h"

#include <utility>

struct CPaintDC::Surface
{
    win::HWND window = nullptr; // null: nothing is drawn
    win::HDC dc = nullptr;
    win::PAINTSTRUCT paint{};
};

namespace {

win::LRESULT CALLBACK FrameProc(win::HWND window, win::UINT message, win::WPARAM wParam,
                                win::LPARAM lParam);
void FillRest(win::HDC dc, const win::RECT& area);
bool SendInput(CDialog& dialog, win::HWND frame, win::UINT message, win::WPARAM wParam,
               win::LPARAM lParam);

bool captured = false; // by the frame that the mouse was pressed on
bool watched = false;  // a frame waits for the mouse to leave it

} // namespace

CPaintDC::CPaintDC(CWnd* window) : m_surface(new Surface)
{
    const win::HWND target = Native(window->GetSafeHwnd());
    if (PaintRequest::Take(target) != nullptr) {
        m_surface->window = target;
        m_surface->dc = win::BeginPaint(target, &m_surface->paint);
    }
}

CPaintDC::~CPaintDC()
{
    if (m_surface->window != nullptr) {
        FillRest(m_surface->dc, m_surface->paint.rcPaint);
        win::EndPaint(m_surface->window, &m_surface->paint);
    }
}

void CPaintDC::DrawIcon(int x, int y, HICON icon)
{
    const win::HDC dc = m_surface->dc;
    if (dc == nullptr || icon == nullptr) {
        return;
    }
    FillRest(dc, m_surface->paint.rcPaint);
    const win::HICON native = NativeIcon(*icon);
    win::DrawIcon(dc, x, y, native);
    win::DestroyIcon(native);
    win::IntersectClipRect(dc, 0, 0, 0, 0);
}

// What was drawn is taken out of the clip, so that the background goes only around it and no pixel
// is drawn twice.
int SetDIBitsToDevice(HDC dc, int x, int y, DWORD width, DWORD height, int sourceX, int sourceY,
                      UINT firstLine, UINT lines, const void* bits, const BITMAPINFO256* info,
                      UINT colorUse)
{
    const win::HDC native = dc->GetSurface()->dc;
    if (native == nullptr || bits == nullptr) {
        return 0;
    }
    const int transferred =
        win::SetDIBitsToDevice(native, x, y, width, height, sourceX, sourceY, firstLine, lines,
                               bits, reinterpret_cast<const win::BITMAPINFO*>(info), colorUse);
    if (transferred > 0) {
        win::ExcludeClipRect(native, x, y, x + static_cast<int>(width),
                             y + static_cast<int>(height));
    }
    return transferred;
}

int GetSystemMetrics(int index)
{
    return win::GetSystemMetrics(index);
}

void SetWindowIcon(HWND dialog, const IconResource& icon, bool big)
{
    if (dialog == nullptr) {
        return;
    }
    const auto former = reinterpret_cast<win::HICON>(
        win::SendMessageW(Native(dialog), WM_SETICON, big ? ICON_BIG : ICON_SMALL,
                          reinterpret_cast<win::LPARAM>(NativeIcon(icon))));
    if (former != nullptr) {
        win::DestroyIcon(former);
    }
}

bool IsPainting()
{
    return !PaintRequest::IsEmpty();
}

void RegisterFrameClass()
{
    win::WNDCLASSW frame{};
    frame.style = CS_DBLCLKS;
    frame.lpfnWndProc = &FrameProc;
    frame.hInstance = win::GetModuleHandleW(nullptr);
    frame.hCursor = win::LoadCursorW(nullptr, IDC_ARROW);
    frame.lpszClassName = FrameClass;
    win::RegisterClassW(&frame);
}

win::HICON NativeIcon(const IconResource& icon)
{
    const std::size_t size = icon.rows.size();
    std::vector<std::uint32_t> pixels;
    for (const char* row : icon.rows) {
        for (std::size_t x = 0; x < size; ++x) {
            std::uint32_t pixel = 0;
            for (const IconColor& color : icon.palette) {
                if (color.key == row[x]) {
                    pixel = 0xFF000000 | color.rgb;
                }
            }
            pixels.push_back(pixel);
        }
    }
    const std::vector<std::uint8_t> mask((size + 15) / 16 * 2 * size);
    const int side = static_cast<int>(size);
    win::ICONINFO parts{};
    parts.fIcon = TRUE;
    parts.hbmMask = win::CreateBitmap(side, side, 1, 1, mask.data());
    parts.hbmColor = win::CreateBitmap(side, side, 1, 32, pixels.data());
    const win::HICON made = win::CreateIconIndirect(&parts);
    win::DeleteObject(parts.hbmMask);
    win::DeleteObject(parts.hbmColor);
    return made;
}

namespace {

// The frame's inside is painted by its dialog; a request that it did not take gets the background.
win::LRESULT CALLBACK FrameProc(win::HWND window, win::UINT message, win::WPARAM wParam,
                                win::LPARAM lParam)
{
    if (message == WM_ERASEBKGND) {
        return TRUE;
    }
    CDialog* const dialog = DialogOf(window);
    const bool lives = dialog != nullptr && ModalLoop::IsOpen(*dialog);
    const bool takesInput = (win::GetWindowLongW(window, GWL_STYLE) & WS_TABSTOP) != 0;
    if (message == WM_GETDLGCODE && takesInput) {
        return DLGC_WANTARROWS | DLGC_WANTCHARS;
    }
    if (message == WM_SETFOCUS || message == WM_KILLFOCUS) {
        win::RedrawWindow(window, nullptr, nullptr, RDW_FRAME | RDW_INVALIDATE);
    }
    if (lives && takesInput && SendInput(*dialog, window, message, wParam, lParam)) {
        return 0;
    }
    if (message != WM_PAINT) {
        return win::DefWindowProcW(window, message, wParam, lParam);
    }
    const PaintRequest request(window);
    if (lives) {
        dialog->Send(WM_PAINT);
    }
    if (!request.IsTaken()) {
        CWnd frame(Contract(window));
        const CPaintDC background(&frame);
    }
    return 0;
}

void FillRest(win::HDC dc, const win::RECT& area)
{
    win::FillRect(dc, &area, win::GetSysColorBrush(COLOR_BTNFACE));
}

// The field that a press takes the focus from may speak up and keep it.
bool Press(win::HWND frame)
{
    if (captured) { // the second button
        return true;
    }
    win::SetFocus(frame);
    if (win::GetFocus() != frame) {
        return false;
    }
    win::SetCapture(frame);
    captured = true;
    return true;
}

void WatchLeaving(win::HWND frame)
{
    if (!watched) {
        win::TRACKMOUSEEVENT wanted{};
        wanted.cbSize = sizeof wanted;
        wanted.dwFlags = TME_LEAVE;
        wanted.hwndTrack = frame;
        watched = win::TrackMouseEvent(&wanted) != FALSE;
    }
}

// The frame's mouse and keys as messages of its dialog; false for everything else.
bool SendInput(CDialog& dialog, win::HWND frame, win::UINT message, win::WPARAM wParam,
               win::LPARAM lParam)
{
    constexpr win::WPARAM Buttons = MK_LBUTTON | MK_RBUTTON;
    switch (message) {
    case WM_LBUTTONDOWN:
    case WM_LBUTTONDBLCLK:
    case WM_RBUTTONDOWN:
    case WM_RBUTTONDBLCLK:
        if (ModalLoop::TakesInput(dialog) && Press(frame)) {
            dialog.Send(message, wParam, lParam);
        }
        return true;
    case WM_LBUTTONUP:
    case WM_RBUTTONUP:
        if (!captured) {
            return true;
        }
        if ((wParam & Buttons) == 0) {
            captured = false; // before the system tells that it goes
            win::ReleaseCapture();
        }
        dialog.Send(message, wParam, lParam);
        return true;
    case WM_CAPTURECHANGED:
        if (std::exchange(captured, false)) {
            dialog.Send(WM_CAPTURECHANGED);
        }
        return true;
    case WM_MOUSEMOVE:
        WatchLeaving(frame);
        dialog.Send(message, wParam, lParam);
        return true;
    case WM_MOUSELEAVE:
        watched = false;
        dialog.Send(message);
        return true;
    case WM_MOUSEWHEEL:
        dialog.Send(message, wParam, lParam);
        return true;
    case WM_KEYDOWN:
        if ((wParam >= VK_PRIOR && wParam <= VK_DOWN) || wParam == VK_DELETE) {
            dialog.Send(message, wParam);
            return true;
        }
        return false;
    case WM_CHAR:
        if (wParam >= ' ') {
            dialog.Send(message, wParam);
        }
        return true;
    default:
        return false;
    }
}

} // namespace
