// The paint request being served: where a CPaintDC paints.
#pragma once

#include "platform/paint_stack.h"
#include "platform/types.h"

#include <QPaintDevice>
#include <QPoint>
#include <QRegion>

class QWidget;

// Lives while a widget's paint event is served. Without a device the widget itself is painted.
class PaintRequest : public PaintStack<PaintRequest, HWND>
{
public:
    // device: the surface that the widget is drawn on, deviceOrigin: where its client area begins
    // there; clientOrigin: where it begins in the widget; region: what must be drawn, in the client
    // area's coordinates.
    PaintRequest(HWND window, QWidget* widget, QPaintDevice* device, QPoint deviceOrigin,
                 QPoint clientOrigin, const QRegion& region)
        : PaintStack(window),
          m_widget(widget),
          m_device(device),
          m_deviceOrigin(deviceOrigin),
          m_clientOrigin(clientOrigin),
          m_region(region)
    {
    }

    QWidget* const m_widget;
    QPaintDevice* const m_device;
    const QPoint m_deviceOrigin;
    const QPoint m_clientOrigin;
    const QRegion m_region;
    QRegion m_drawn; // what the handler has drawn over
};
