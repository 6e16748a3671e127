// The stack of the paint requests being served.
#include "platform/qt/paint_request.h"

#include "platform/backend.h"

#include <utility>

namespace {

PaintRequest* innermost = nullptr;

} // namespace

PaintRequest::PaintRequest(HWND window, QWidget* widget, QPaintDevice* device, QPoint deviceOrigin,
                           QPoint clientOrigin, QRegion region)
    : m_window(window),
      m_widget(widget),
      m_device(device),
      m_deviceOrigin(deviceOrigin),
      m_clientOrigin(clientOrigin),
      m_region(std::move(region)),
      m_outer(innermost)
{
    innermost = this;
}

PaintRequest::~PaintRequest()
{
    innermost = m_outer;
}

PaintRequest* PaintRequest::Take(HWND window)
{
    if (innermost == nullptr || innermost->m_window != window || innermost->m_taken) {
        return nullptr;
    }
    innermost->m_taken = true;
    return innermost;
}

bool IsPainting()
{
    return innermost != nullptr;
}
