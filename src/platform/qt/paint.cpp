// Painting: the transfer of a bitmap straight into the window's surface, and icons.
#include "platform/paint.h"

#include "platform/backend.h"
#include "platform/qt/frame_control.h"
#include "platform/qt/icon.h"
#include "platform/qt/paint_request.h"
#include "platform/qt/window_table.h"

#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QScreen>

#include <algorithm>
#include <array>

struct CPaintDC::Surface
{
    PaintRequest* request; // null: nothing is drawn
};

namespace {

// The part of a bitmap that is transferred: its scan lines count from the bottom.
struct Bitmap
{
    const BYTE* pixels; // of scan line firstLine
    std::size_t pitch;  // bytes from one scan line to the next
    int firstLine, endLine;
    int sourceX, topLine; // of what is shown at the target's left and top

    const BYTE* At(int x, int line) const
    {
        return pixels + static_cast<std::size_t>(line - firstLine) * pitch + x;
    }
};

using Colors = std::array<QRgb, 256>;

Colors ColorsOf(const BITMAPINFO256& info);
QImage* WritableImage(QPaintDevice* device);
void WriteRows(const Bitmap& bitmap, const Colors& colors, QRect part, QPoint target, QImage& image,
               QPoint imageOrigin);
void DrawRows(const Bitmap& bitmap, const Colors& colors, QRect part, QPoint target,
              const PaintRequest& request);

} // namespace

CPaintDC::CPaintDC(CWnd* window) : m_surface(new Surface{PaintRequest::Take(window->GetSafeHwnd())})
{
}

CPaintDC::~CPaintDC() = default;

void CPaintDC::DrawIcon(int x, int y, HICON icon)
{
    PaintRequest* const request = m_surface->request;
    if (request == nullptr || icon == nullptr) {
        return;
    }
    QPainter painter(request->m_widget);
    painter.translate(request->m_clientOrigin);
    painter.setClipRegion(request->m_region);
    painter.fillRect(request->m_region.boundingRect(), request->m_widget->palette().window());
    painter.drawImage(x, y, ImageOf(*icon));
    request->m_drawn += request->m_region;
}

int SetDIBitsToDevice(HDC dc, int x, int y, DWORD width, DWORD height, int sourceX, int sourceY,
                      UINT firstLine, UINT lines, const void* bits, const BITMAPINFO256* info,
                      UINT colorUse)
{
    const BITMAPINFOHEADER& header = info->bmiHeader;
    PaintRequest* const request = dc->GetSurface()->request;
    if (request == nullptr || bits == nullptr || header.biBitCount != 8 || header.biWidth <= 0 ||
        header.biHeight <= 0 || header.biCompression != BI_RGB || colorUse != DIB_RGB_COLORS ||
        sourceX < 0 || sourceY < 0 || sourceX >= header.biWidth || sourceY >= header.biHeight ||
        firstLine >= static_cast<UINT>(header.biHeight)) {
        return 0;
    }

    // What the target shows is clamped to the bitmap, then to the lines that were given.
    const int columns =
        std::min<int>(header.biWidth - sourceX, static_cast<int>(std::min<DWORD>(width, 0x7FFF)));
    const int asked = static_cast<int>(std::min<DWORD>(height, 0x7FFF));
    const int endLine =
        static_cast<int>(std::min<std::int64_t>(header.biHeight, std::int64_t(firstLine) + lines));
    const Bitmap bitmap{static_cast<const BYTE*>(bits),
                        (static_cast<std::size_t>(header.biWidth) + 3) / 4 * 4,
                        static_cast<int>(firstLine),
                        endLine,
                        sourceX,
                        sourceY + asked - 1};
    const int top = std::min(bitmap.topLine, endLine - 1);
    const int bottom = std::max(sourceY, bitmap.firstLine);
    if (top < bottom || columns <= 0) {
        return 0;
    }
    const QRect target(x, y + bitmap.topLine - top, columns, top - bottom + 1);

    const Colors colors = ColorsOf(*info);
    QImage* const image = WritableImage(request->m_device);
    const QRegion visible = request->m_region & target;
    for (const QRect& part : visible) {
        if (image != nullptr) {
            WriteRows(bitmap, colors, part, {x, y}, *image, request->m_deviceOrigin);
        } else {
            DrawRows(bitmap, colors, part, {x, y}, *request);
        }
    }
    request->m_drawn += visible;
    return target.height();
}

bool IsPainting()
{
    return !PaintRequest::IsEmpty();
}

int GetSystemMetrics(int index)
{
    const QScreen* const screen = QGuiApplication::primaryScreen();
    const QSize room = screen != nullptr ? screen->availableGeometry().size() : QSize();
    switch (index) {
    case SM_CXSCREEN:
        return room.width();
    case SM_CYSCREEN:
        return room.height();
    case SM_CXICON:
    case SM_CYICON:
        return 32;
    default:
        return 0;
    }
}

namespace {

Colors ColorsOf(const BITMAPINFO256& info)
{
    Colors colors{};
    std::transform(info.bmiColors, info.bmiColors + 256, colors.begin(),
                   [](const RGBQUAD& c) { return qRgb(c.rgbRed, c.rgbGreen, c.rgbBlue); });
    return colors;
}

// The surface as an image of 32-bit pixels that nobody shares and no scale lies on; else null.
QImage* WritableImage(QPaintDevice* device)
{
    if (device == nullptr || device->devType() != QInternal::Image) {
        return nullptr;
    }
    QImage* const image = static_cast<QImage*>(device);
    const bool direct = image->format() == QImage::Format_RGB32 ||
                        image->format() == QImage::Format_ARGB32_Premultiplied;
    return direct && image->isDetached() && image->devicePixelRatio() == 1.0 ? image : nullptr;
}

// part: what is written, target: where the picture's top left stands, both in client coordinates.
void WriteRows(const Bitmap& bitmap, const Colors& colors, QRect part, QPoint target, QImage& image,
               QPoint imageOrigin)
{
    const QRect inImage = part.translated(imageOrigin) & image.rect();
    for (int row = inImage.top(); row <= inImage.bottom(); ++row) {
        const QPoint start = QPoint(inImage.left(), row) - imageOrigin - target;
        const BYTE* from = bitmap.At(bitmap.sourceX + start.x(), bitmap.topLine - start.y());
        QRgb* to = reinterpret_cast<QRgb*>(image.scanLine(row)) + inImage.left();
        for (QRgb* const end = to + inImage.width(); to != end; ++to, ++from) {
            *to = colors[*from];
        }
    }
}

// The way through the toolkit's painter, for surfaces of any kind.
void DrawRows(const Bitmap& bitmap, const Colors& colors, QRect part, QPoint target,
              const PaintRequest& request)
{
    QPainter painter(request.m_widget);
    painter.translate(request.m_clientOrigin);
    for (int row = part.top(); row <= part.bottom(); ++row) {
        const QPoint start = QPoint(part.left(), row) - target;
        const BYTE* const from = bitmap.At(bitmap.sourceX + start.x(), bitmap.topLine - start.y());
        QImage line(from, part.width(), 1, part.width(), QImage::Format_Indexed8);
        line.setColorTable({colors.begin(), colors.end()});
        painter.drawImage(part.left(), row, line);
    }
}

} // namespace
