// Operations on windows and controls by handle.
#include "platform/controls.h"

#include "platform/qt/control_widgets.h"
#include "platform/qt/frame_control.h"
#include "platform/qt/text.h"
#include "platform/qt/window_table.h"
#include "platform/shown_text.h"

#include <QAbstractButton>
#include <QButtonGroup>
#include <QFrame>
#include <QGroupBox>
#include <QLabel>

namespace {

template <typename Widget>
Widget* As(HWND window)
{
    return dynamic_cast<Widget*>(WidgetOf(window));
}

QRect ClientArea(const QWidget& widget);
RECT Rect(QPoint topLeft, QSize size);

} // namespace

void CWnd::SetWindowText(const std::string& text)
{
    if (auto* const dialog = As<DialogWindow>(m_hWnd)) {
        SetTitle(*dialog, text);
    } else if (auto* const edit = As<EditControl>(m_hWnd)) {
        edit->Write(FromBytes(text));
    } else if (auto* const label = As<QLabel>(m_hWnd)) {
        label->setText(ShownText(EndsOf(text)));
        // A name of its own takes the text's place for a screen reader, which then reads both.
        label->setAccessibleDescription(label->accessibleName().isEmpty() ? QString()
                                                                          : label->text());
    } else if (auto* const button = As<QAbstractButton>(m_hWnd)) {
        button->setText(ShownText(text));
    } else if (auto* const group = As<QGroupBox>(m_hWnd)) {
        group->setTitle(ShownText(text));
    } else if (auto* const frame = As<FrameControl>(m_hWnd)) {
        frame->SetText(text);
    }
}

std::string CWnd::GetWindowText() const
{
    if (const auto* const dialog = As<DialogWindow>(m_hWnd)) {
        return TitleOf(*dialog).toStdString();
    }
    if (const auto* const edit = As<EditControl>(m_hWnd)) {
        return edit->text().toStdString();
    }
    if (const auto* const label = As<QLabel>(m_hWnd)) {
        return label->text().toStdString();
    }
    if (const auto* const button = As<QAbstractButton>(m_hWnd)) {
        return button->text().toStdString();
    }
    if (const auto* const group = As<QGroupBox>(m_hWnd)) {
        return group->title().toStdString();
    }
    if (const auto* const frame = As<FrameControl>(m_hWnd)) {
        return frame->accessibleDescription().toStdString();
    }
    return {};
}

void CWnd::EnableWindow(BOOL enable)
{
    if (QWidget* const widget = WidgetOf(m_hWnd)) {
        widget->setEnabled(enable != FALSE);
    }
}

BOOL CWnd::IsWindowEnabled() const
{
    const QWidget* const widget = WidgetOf(m_hWnd);
    return widget != nullptr && widget->isEnabled() ? TRUE : FALSE;
}

void CWnd::ShowWindow(int command)
{
    QWidget* const widget = WidgetOf(m_hWnd);
    if (widget == nullptr) {
        return;
    }
    switch (command) {
    case SW_HIDE:
        return widget->hide();
    case SW_SHOW:
        return widget->show();
    case SW_MINIMIZE:
        return widget->showMinimized();
    case SW_RESTORE:
        widget->setWindowState(widget->windowState() & ~Qt::WindowMinimized);
        widget->show();
        return widget->activateWindow();
    }
}

// A control of a dialog that is not shown yet counts by its own mark.
BOOL CWnd::IsWindowVisible() const
{
    const QWidget* const widget = WidgetOf(m_hWnd);
    if (widget == nullptr) {
        return FALSE;
    }
    const bool visible = widget->isWindow() ? widget->isVisible() : !widget->isHidden();
    return visible ? TRUE : FALSE;
}

BOOL CWnd::IsIconic() const
{
    const QWidget* const widget = WidgetOf(m_hWnd);
    return widget != nullptr && widget->isMinimized() ? TRUE : FALSE;
}

void CWnd::SetFocus()
{
    QWidget* const widget = WidgetOf(m_hWnd);
    if (widget == nullptr) {
        return;
    }
    if (widget->isWindow()) {
        widget->activateWindow();
    } else {
        widget->setFocus(Qt::OtherFocusReason);
    }
}

void CWnd::GetWindowRect(RECT* rect) const
{
    const QWidget* const widget = WidgetOf(m_hWnd);
    *rect = widget != nullptr ? Rect(widget->mapToGlobal(QPoint()), widget->size()) : RECT{};
}

void CWnd::GetClientRect(RECT* rect) const
{
    const QWidget* const widget = WidgetOf(m_hWnd);
    *rect = widget != nullptr ? Rect({}, ClientArea(*widget).size()) : RECT{};
}

void CWnd::ScreenToClient(POINT* point) const
{
    if (const QWidget* const widget = WidgetOf(m_hWnd)) {
        const QPoint origin = widget->mapToGlobal(ClientArea(*widget).topLeft());
        *point = {point->x - origin.x(), point->y - origin.y()};
    }
}

void CWnd::SetWindowPos(int x, int y, int width, int height, UINT flags)
{
    QWidget* const widget = WidgetOf(m_hWnd);
    if (widget == nullptr) {
        return;
    }
    if ((flags & SWP_NOMOVE) == 0) {
        widget->move(x, y);
    }
    if ((flags & SWP_NOSIZE) == 0 && widget->isWindow()) {
        widget->setFixedSize(width, height);
    } else if ((flags & SWP_NOSIZE) == 0) {
        widget->resize(width, height);
    }
}

// What a dialog paints is what its frames show, or its icon while it is minimized. Its background
// and its other controls repaint themselves when they change.
void CWnd::Invalidate(BOOL)
{
    QWidget* const widget = WidgetOf(m_hWnd);
    if (widget == nullptr) {
        return;
    }
    if (!widget->isWindow() || widget->isMinimized()) {
        return widget->update();
    }
    for (QWidget* const child : widget->findChildren<QWidget*>(Qt::FindDirectChildrenOnly)) {
        if (dynamic_cast<FrameControl*>(child) != nullptr) {
            child->update();
        }
    }
}

void CWnd::SetTimer(UINT_PTR id, UINT period)
{
    if (auto* const dialog = As<DialogWindow>(m_hWnd)) {
        dialog->StartTimer(id, period);
    }
}

void CWnd::KillTimer(UINT_PTR id)
{
    if (auto* const dialog = As<DialogWindow>(m_hWnd)) {
        dialog->StopTimer(id);
    }
}

int CButton::GetCheck() const
{
    const auto* const button = As<QAbstractButton>(m_hWnd);
    return button != nullptr && button->isChecked() ? 1 : 0;
}

// The checked button of a group can only be cleared while the group lets it.
void CButton::SetCheck(int check)
{
    auto* const button = As<QAbstractButton>(m_hWnd);
    if (button == nullptr) {
        return;
    }
    if (button->group() != nullptr) {
        button->group()->setExclusive(check != 0);
    }
    button->setChecked(check != 0);
    if (button->group() != nullptr) {
        button->group()->setExclusive(true);
    }
}

void CScrollBar::GetScrollRange(int* minimum, int* maximum) const
{
    const auto* const bar = As<ScrollBarControl>(m_hWnd);
    *minimum = bar != nullptr ? bar->minimum() : 0;
    *maximum = bar != nullptr ? bar->maximum() : 0;
}

void CScrollBar::SetScrollRange(int minimum, int maximum, BOOL)
{
    if (auto* const bar = As<ScrollBarControl>(m_hWnd)) {
        bar->SetRange(minimum, maximum);
    }
}

int CScrollBar::GetScrollPos() const
{
    const auto* const bar = As<ScrollBarControl>(m_hWnd);
    return bar != nullptr ? bar->value() : 0;
}

void CScrollBar::SetScrollPos(int position, BOOL)
{
    if (auto* const bar = As<ScrollBarControl>(m_hWnd)) {
        bar->SetPosition(position);
    }
}

void CSliderCtrl::SetRange(int minimum, int maximum, BOOL)
{
    if (auto* const bar = As<TrackBarControl>(m_hWnd)) {
        bar->SetRange(minimum, maximum);
    }
}

void CSliderCtrl::SetTicFreq(int frequency)
{
    if (auto* const bar = As<TrackBarControl>(m_hWnd)) {
        bar->setTickInterval(frequency);
    }
}

int CSliderCtrl::GetPos() const
{
    const auto* const bar = As<TrackBarControl>(m_hWnd);
    return bar != nullptr ? bar->value() : 0;
}

void CSliderCtrl::SetPos(int position)
{
    if (auto* const bar = As<TrackBarControl>(m_hWnd)) {
        bar->SetPosition(position);
    }
}

namespace {

QRect ClientArea(const QWidget& widget)
{
    return dynamic_cast<const FrameControl*>(&widget) != nullptr ? widget.contentsRect()
                                                                 : widget.rect();
}

RECT Rect(QPoint topLeft, QSize size)
{
    return {topLeft.x(), topLeft.y(), topLeft.x() + size.width(), topLeft.y() + size.height()};
}

} // namespace
