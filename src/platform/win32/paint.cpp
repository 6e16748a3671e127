// Painting with the system's calls, and icons.
#include "platform/paint.h"

#include "platform/win32/dialog_window.h"

struct CPaintDC::Surface
{
    win::HWND window = nullptr; // null: nothing is drawn
    win::HDC dc = nullptr;
    win::PAINTSTRUCT paint{};
};

namespace {

PaintRequest* innermost = nullptr;

win::LRESULT CALLBACK FrameProc(win::HWND window, win::UINT message, win::WPARAM wParam,
                                win::LPARAM lParam);
void FillRest(win::HDC dc, const win::RECT& area);

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

void CDialog::SetIcon(HICON icon, BOOL big)
{
    if (m_hWnd == nullptr || icon == nullptr) {
        return;
    }
    const auto former = reinterpret_cast<win::HICON>(
        win::SendMessageW(Native(m_hWnd), WM_SETICON, big != FALSE ? ICON_BIG : ICON_SMALL,
                          reinterpret_cast<win::LPARAM>(NativeIcon(*icon))));
    if (former != nullptr) {
        win::DestroyIcon(former);
    }
}

PaintRequest::PaintRequest(win::HWND window) : m_window(window), m_outer(innermost)
{
    innermost = this;
}

PaintRequest::~PaintRequest()
{
    innermost = m_outer;
}

PaintRequest* PaintRequest::Take(win::HWND window)
{
    if (innermost == nullptr || innermost->m_window != window || innermost->m_taken) {
        return nullptr;
    }
    innermost->m_taken = true;
    return innermost;
}

bool PaintRequest::IsAnyServed()
{
    return innermost != nullptr;
}

void RegisterFrameClass()
{
    win::WNDCLASSW frame{};
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
    if (message != WM_PAINT) {
        return win::DefWindowProcW(window, message, wParam, lParam);
    }
    const PaintRequest request(window);
    CDialog* const dialog = DialogOf(window);
    if (dialog != nullptr && ModalLoop::Of(dialog) != nullptr && !ModalLoop::Of(dialog)->IsOver()) {
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

} // namespace
