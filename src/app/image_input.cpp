// The mouse and the keys on the picture.
#include "app/main_dialog.h"
#include "display/view.h"
#include "resources/resource.h"

#include <algorithm>
#include <utility>

namespace {

// So many pixels of a drag make the range twice as wide, or move it by its width.
constexpr double PixelsAWidth = 256;
constexpr double LeastWidth = 5;

std::uint32_t Moved(std::uint32_t from, double way, double least, std::uint32_t most);

} // namespace

// With the preview over it the picture is not seen.
bool CTarnTestDlg::CanPoint() const
{
    return currentImage && currentImage->m_data != nullptr && displayImage &&
           displayImage->m_data != nullptr && !m_previewCovers;
}

PicturePlace CTarnTestDlg::Place() const
{
    return PlacePicture(currentImage->m_width, currentImage->m_height, displayImage->m_width,
                        displayImage->m_height, zoom, viewCenterX, viewCenterY);
}

// Parts of a notch, as touchpads report them, wait for the rest of it.
void CTarnTestDlg::OnWheel(UINT, int turn, POINT point)
{
    if (!CanPoint()) {
        return;
    }
    imageArea.ScreenToClient(&point);
    m_wheelTurn += turn;
    for (; m_wheelTurn >= WHEEL_DELTA; m_wheelTurn -= WHEEL_DELTA) {
        ZoomAround(point, ZoomInFactor);
    }
    for (; m_wheelTurn <= -WHEEL_DELTA; m_wheelTurn += WHEEL_DELTA) {
        ZoomAround(point, ZoomOutFactor);
    }
}

// What stands in the middle of the display pixel stays there as far as the picture reaches.
void CTarnTestDlg::ZoomAround(POINT point, double factor)
{
    const double right = point.x + 0.5;
    const double up = displayImage->m_height - 0.5 - point.y;
    const PicturePlace before = Place();
    SetView(zoom * factor);
    if (zoom > 1.0) {
        const double scale = Place().scale;
        MoveView({scale, before.left + right * (before.scale - scale),
                  before.bottom + up * (before.scale - scale)});
    }
    Redraw();
}

// Whether the view has changed.
bool CTarnTestDlg::MoveView(const PicturePlace& place)
{
    const ViewCenter center = CenterFor(place, currentImage->m_width, currentImage->m_height,
                                        displayImage->m_width, displayImage->m_height);
    if (center.x == viewCenterX && center.y == viewCenterY) {
        return false;
    }
    viewCenterX = center.x;
    viewCenterY = center.y;
    MoveBars();
    return true;
}

ImageOnDisplay CTarnTestDlg::Shown() const
{
    return {Place(), displayImage->m_height, currentImage->m_width, currentImage->m_height};
}

// Shift draws a region, Ctrl a profile.
bool CTarnTestDlg::BeginMark(UINT flags, POINT point)
{
    const UINT keys = flags & (MK_SHIFT | MK_CONTROL);
    if (!CanPoint() || !m_inspector.IsOpen() || (keys != MK_SHIFT && keys != MK_CONTROL)) {
        return false;
    }
    const PixelPosition pixel = Shown().NearestPixel({point.x, point.y});
    m_mark = MarkDraft{keys == MK_SHIFT, pixel, pixel};
    return true;
}

void CTarnTestDlg::OnLeftPressed(UINT flags, POINT point)
{
    if (BeginMark(flags, point)) {
        return;
    }
    if (CanPoint() && zoom > 1.0 && (flags & (MK_SHIFT | MK_CONTROL | MK_RBUTTON)) == 0) {
        m_drag = Drag{false, point, Place(), 0, 0};
    }
}

// The fields are read first: one whose text cannot be taken speaks up, and nothing is dragged.
void CTarnTestDlg::OnRightPressed(UINT flags, POINT point)
{
    if (CanPoint() && (flags & MK_LBUTTON) == 0 && UpdateData()) {
        m_drag = Drag{true, point, {}, scaleCenter, scaleWidth};
    }
}

void CTarnTestDlg::OnMouseMoved(UINT, POINT point)
{
    if (CanPoint() && m_inspector.IsOpen()) {
        m_inspector.ShowPointer(Shown().PixelAt({point.x, point.y}));
        if (m_mark) {
            m_mark->to = Shown().NearestPixel({point.x, point.y});
            Redraw();
        }
    }
    if (!m_drag) {
        return;
    }
    if (!CanPoint()) {
        return m_drag.reset();
    }
    const POINT way{point.x - m_drag->from.x, point.y - m_drag->from.y};
    if (m_drag->changesRange) {
        DragRange(m_drag->scaleCenter, m_drag->scaleWidth, way);
    } else {
        DragPicture(m_drag->place, way);
    }
}

void CTarnTestDlg::OnButtonReleased(UINT, POINT)
{
    m_drag.reset();
    const std::optional<MarkDraft> mark = std::exchange(m_mark, std::nullopt);
    if (mark && m_inspector.IsOpen()) {
        m_inspector.AddMark(*mark);
        Redraw();
    }
}

void CTarnTestDlg::OnCaptureLost(UINT, POINT)
{
    m_drag.reset();
    if (std::exchange(m_mark, std::nullopt)) {
        Redraw();
    }
}

LRESULT CTarnTestDlg::OnMouseLeft(WPARAM, LPARAM)
{
    if (m_inspector.IsOpen()) {
        m_inspector.ShowPointer(std::nullopt);
    }
    return 0;
}

void CTarnTestDlg::OnDoubleClick(UINT, POINT)
{
    if (CanPoint()) {
        OnZoomNormal();
    }
}

void CTarnTestDlg::DragPicture(const PicturePlace& from, POINT way)
{
    if (MoveView({from.scale, from.left - way.x * from.scale, from.bottom + way.y * from.scale})) {
        Redraw();
    }
}

void CTarnTestDlg::DragRange(std::uint32_t fromCenter, std::uint32_t fromWidth, POINT way)
{
    const double step = fromWidth / PixelsAWidth;
    const std::uint32_t center = Moved(fromCenter, way.y * step, 0, maxSampleValue);
    const std::uint32_t width = Moved(fromWidth, way.x * step, LeastWidth, maxSampleValue);
    if (center == scaleCenter && width == scaleWidth) {
        return;
    }
    scaleCenter = center;
    scaleWidth = width;
    UpdateData(FALSE);
    ApplyScaleFields();
}

void CTarnTestDlg::OnKey(UINT key)
{
    if (!CanPoint() || zoom <= 1.0) {
        return;
    }
    switch (key) {
    case VK_LEFT:
        return OnHorizontalScroll(SB_LINEUP, 0);
    case VK_RIGHT:
        return OnHorizontalScroll(SB_LINEDOWN, 0);
    case VK_UP:
        return OnVerticalScroll(SB_LINEUP, 0);
    case VK_DOWN:
        return OnVerticalScroll(SB_LINEDOWN, 0);
    case VK_PRIOR:
        return OnVerticalScroll(SB_PAGEUP, 0);
    case VK_NEXT:
        return OnVerticalScroll(SB_PAGEDOWN, 0);
    case VK_HOME:
    case VK_END: {
        int first = 0;
        int last = 0;
        horizontalBar.GetScrollRange(&first, &last);
        const auto end = static_cast<std::uint32_t>(key == VK_HOME ? first : last);
        OnHorizontalScroll(SB_THUMBPOSITION, end);
        return OnVerticalScroll(SB_THUMBPOSITION, end);
    }
    default:
        return;
    }
}

void CTarnTestDlg::OnCharacter(UINT character)
{
    if (!CanPoint()) {
        return;
    }
    switch (character) {
    case '+':
        return OnZoomIn();
    case '-':
        return OnZoomOut();
    case '0':
        return OnZoomNormal();
    default:
        return;
    }
}

namespace {

// A value beyond the limits already is let be, but goes no farther.
std::uint32_t Moved(std::uint32_t from, double way, double least, std::uint32_t most)
{
    const double highest = std::max(from, most);
    return static_cast<std::uint32_t>(
        std::clamp(from + way, std::min<double>(from, least), highest));
}

} // namespace
