// Painting into the picture that a test reads.
#include "platform/paint.h"

#include "platform/headless/desktop.h"

using namespace headless;

struct CPaintDC::Surface
{
};

CPaintDC::CPaintDC(CWnd* window)
{
    const Window* const target = Find(window->GetSafeHwnd());
    const bool asked = target != nullptr && desktop.painted != nullptr &&
                       target->dialog->GetSafeHwnd() == desktop.painted;
    if (asked && desktop.paintBegun.insert(target->handle).second) {
        m_surface = std::make_unique<Surface>();
    }
}

CPaintDC::~CPaintDC() = default;

void CPaintDC::DrawIcon(int, int, HICON) {}

int SetDIBitsToDevice(HDC dc, int, int, DWORD width, DWORD height, int sourceX, int sourceY,
                      UINT firstLine, UINT lines, const void* bits, const BITMAPINFO256* info, UINT)
{
    const BITMAPINFOHEADER& header = info->bmiHeader;
    const bool whole = sourceX == 0 && sourceY == 0 && firstLine == 0 && lines == height &&
                       header.biWidth == static_cast<LONG>(width) &&
                       header.biHeight == static_cast<LONG>(height);
    if (dc->GetSurface() == nullptr || bits == nullptr || header.biBitCount != 8 || !whole) {
        return 0;
    }
    const std::size_t rowBytes = (std::size_t{width} + 3) / 4 * 4;
    Picture& picture = desktop.picture;
    picture.width = static_cast<int>(width);
    picture.height = static_cast<int>(height);
    picture.grays.clear();
    for (std::size_t line = height; line-- > 0;) {
        const auto* row = static_cast<const std::uint8_t*>(bits) + line * rowBytes;
        for (std::size_t column = 0; column < width; ++column) {
            picture.grays.push_back(info->bmiColors[row[column]].rgbRed);
        }
    }
    return static_cast<int>(lines);
}

int GetSystemMetrics(int index)
{
    switch (index) {
    case SM_CXSCREEN:
        return 1600;
    case SM_CYSCREEN:
        return 1000;
    default:
        return 32;
    }
}
