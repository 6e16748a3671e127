// The paint request being served: where a CPaintDC paints.
#pragma once

#include "platform/types.h"

#include <QPaintDevice>
#include <QPoint>
#include <QRegion>

class QWidget;

// Lives while a widget's paint event is served. Without a device the widget itself is painted.
class PaintRequest
{
public:
    // device: the surface that the widget is drawn on, deviceOrigin: where its client area begins
    // there; clientOrigin: where it begins in the widget; region: what must be drawn, in the client
    // area's coordinates.
    PaintRequest(HWND window, QWidget* widget, QPaintDevice* device, QPoint deviceOrigin,
                 QPoint clientOrigin, QRegion region);
    ~PaintRequest();
    PaintRequest(const PaintRequest&) = delete;
    PaintRequest& operator=(const PaintRequest&) = delete;

    // The request being served for this window, null when there is none or it was taken before.
    static PaintRequest* Take(HWND window);

    const HWND m_window;
    QWidget* const m_widget;
    QPaintDevice* const m_device;
    const QPoint m_deviceOrigin;
    const QPoint m_clientOrigin;
    const QRegion m_region;
    QRegion m_drawn; // what the handler has drawn over

private:
    PaintRequest* m_outer;
    bool m_taken = false;
};
