// Painting: the transfer of an 8-bit bitmap to a window, and icons.
#pragma once

#include "platform/controls.h"
#include "platform/dialog.h"
#include "platform/types.h"

#include <memory>

struct BITMAPINFOHEADER
{
    DWORD biSize;
    LONG biWidth;
    LONG biHeight; // positive: the first row of the block is the bottom line
    WORD biPlanes;
    WORD biBitCount;
    DWORD biCompression;
    DWORD biSizeImage;
    LONG biXPelsPerMeter;
    LONG biYPelsPerMeter;
    DWORD biClrUsed;
    DWORD biClrImportant;
};
static_assert(sizeof(BITMAPINFOHEADER) == 40);

struct RGBQUAD
{
    BYTE rgbBlue, rgbGreen, rgbRed, rgbReserved;
};

struct BITMAPINFO256
{
    BITMAPINFOHEADER bmiHeader;
    RGBQUAD bmiColors[256];
};
static_assert(sizeof(BITMAPINFO256) == 1064);

inline constexpr DWORD BI_RGB = 0;
inline constexpr UINT DIB_RGB_COLORS = 0;
inline constexpr int COLORONCOLOR = 3;
inline constexpr int SM_CXSCREEN = 0; // of the screen, less the bars of the desktop
inline constexpr int SM_CYSCREEN = 1;
inline constexpr int SM_CXICON = 11;
inline constexpr int SM_CYICON = 12;

class CPaintDC;
using HDC = CPaintDC*;

// Paints on the window while its paint request is being served, clipped to what must be drawn. On
// a window that is not being painted, or painted a second time in one request, it draws nothing.
class CPaintDC
{
public:
    explicit CPaintDC(CWnd* window);
    ~CPaintDC();
    CPaintDC(const CPaintDC&) = delete;
    CPaintDC& operator=(const CPaintDC&) = delete;

    void DrawIcon(int x, int y, HICON icon);

    struct Surface;
    Surface* GetSurface() const { return m_surface.get(); }

private:
    std::unique_ptr<Surface> m_surface;
};

// A transfer never stretches, so that the mode has no effect. Returns it.
inline int SetStretchBltMode(HDC, int mode)
{
    return mode;
}

// Transfers height scan lines of an 8-bit bottom-up bitmap to x, y of the window; its rows are
// padded to 4 bytes. Returns the number of lines transferred, 0 on failure. The pixels are read
// where they stand; no copy of them is kept or made on the way.
int SetDIBitsToDevice(HDC dc, int x, int y, DWORD width, DWORD height, int sourceX, int sourceY,
                      UINT firstLine, UINT lines, const void* bits, const BITMAPINFO256* info,
                      UINT colorUse);

int GetSystemMetrics(int index); // SM_...: pixels
