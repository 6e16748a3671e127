// The frame: its painting, and its input as messages of the dialog.
#include "platform/qt/frame_control.h"

#include "platform/qt/dialog_window.h"
#include "platform/qt/paint_request.h"
#include "platform/qt/text.h"

#include <QAccessibleWidget>
#include <QKeyEvent>
#include <QPainter>
#include <QWheelEvent>

#include <utility>

namespace {

UINT Flags(Qt::MouseButtons buttons, Qt::KeyboardModifiers modifiers);
UINT VirtualKey(int key); // 0 for a key that is not reported
QAccessibleInterface* AccessFrame(const QString& className, QObject* object);

} // namespace

FrameControl::FrameControl(DialogWindow& dialog, bool takesInput)
    : QFrame(&dialog), m_dialog(dialog), m_takesInput(takesInput)
{
    setFrameStyle(QFrame::Panel | QFrame::Sunken);
    setAttribute(Qt::WA_OpaquePaintEvent);
    if (takesInput) {
        setFocusPolicy(Qt::StrongFocus);
        setMouseTracking(true);
        dialog.installEventFilter(this);
        QAccessible::installFactory(AccessFrame);
    }
}

void FrameControl::SetText(std::string_view text)
{
    setAccessibleDescription(ShownText(text));
}

// Behind a window that has opened over the dialog no release arrives.
bool FrameControl::eventFilter(QObject* target, QEvent* event)
{
    if (event->type() == QEvent::WindowBlocked && std::exchange(m_captured, false)) {
        m_dialog.Notify(WM_CAPTURECHANGED);
    }
    return QFrame::eventFilter(target, event);
}

// The handler covers what it wants; only the rest gets the background, so that no pixel is drawn
// twice.
void FrameControl::paintEvent(QPaintEvent* event)
{
    QPoint redirection;
    QPaintDevice* const device = redirected(&redirection);
    const QPoint client = contentsRect().topLeft();
    const QRegion inside = event->region() & contentsRect();
    PaintRequest request(m_handle, this, device, client - redirection, client,
                         inside.translated(-client));
    m_dialog.Notify(WM_PAINT);

    QPainter painter(this);
    for (const QRect& rest : (request.m_region - request.m_drawn).translated(client)) {
        painter.fillRect(rest, palette().window());
    }
    drawFrame(&painter);
    if (hasFocus()) {
        painter.setPen(palette().color(QPalette::Highlight));
        painter.drawRect(rect().adjusted(0, 0, -1, -1));
    }
}

void FrameControl::mousePressEvent(QMouseEvent* event)
{
    Press(*event, WM_LBUTTONDOWN, WM_RBUTTONDOWN);
}

void FrameControl::mouseDoubleClickEvent(QMouseEvent* event)
{
    Press(*event, WM_LBUTTONDBLCLK, WM_RBUTTONDBLCLK);
}

void FrameControl::mouseReleaseEvent(QMouseEvent* event)
{
    const bool captured = m_captured;
    m_captured = captured && event->buttons() != Qt::NoButton;
    if (captured && event->button() == Qt::LeftButton) {
        Report(WM_LBUTTONUP, *event);
    } else if (captured && event->button() == Qt::RightButton) {
        Report(WM_RBUTTONUP, *event);
    }
}

void FrameControl::mouseMoveEvent(QMouseEvent* event)
{
    if (m_takesInput) {
        Report(WM_MOUSEMOVE, *event);
    }
}

void FrameControl::leaveEvent(QEvent* event)
{
    QFrame::leaveEvent(event);
    if (m_takesInput) {
        m_dialog.Notify(WM_MOUSELEAVE);
    }
}

void FrameControl::wheelEvent(QWheelEvent* event)
{
    event->setAccepted(m_takesInput && event->angleDelta().y() != 0);
    if (event->isAccepted()) {
        const QPoint point = event->globalPosition().toPoint();
        const auto turn = static_cast<UINT>(event->angleDelta().y()) & 0xFFFF;
        m_dialog.Notify(WM_MOUSEWHEEL,
                        MAKEWPARAM(Flags(event->buttons(), event->modifiers()), turn),
                        MAKELPARAM(point.x(), point.y()));
    }
}

// All other keys are the dialog's.
void FrameControl::keyPressEvent(QKeyEvent* event)
{
    constexpr Qt::KeyboardModifiers NoText =
        Qt::AltModifier | Qt::ControlModifier | Qt::MetaModifier;
    const QString text = event->text();
    if (!m_takesInput || (event->modifiers() & NoText) != 0) {
        QFrame::keyPressEvent(event);
    } else if (const UINT key = VirtualKey(event->key())) {
        m_dialog.Notify(WM_KEYDOWN, key);
    } else if (text.size() == 1 && text[0].isPrint()) {
        m_dialog.Notify(WM_CHAR, text[0].unicode());
    } else {
        QFrame::keyPressEvent(event);
    }
}

// The field that a press takes the focus from may speak up and keep it.
void FrameControl::Press(QMouseEvent& event, UINT leftMessage, UINT rightMessage)
{
    const UINT message = event.button() == Qt::LeftButton    ? leftMessage
                         : event.button() == Qt::RightButton ? rightMessage
                                                             : 0;
    if (!m_takesInput || message == 0 || !m_dialog.TakesInput() || m_dialog.focusWidget() != this) {
        return event.ignore();
    }
    m_captured = true;
    Report(message, event);
}

void FrameControl::Report(UINT message, const QMouseEvent& event)
{
    const QPoint point = event.position().toPoint() - contentsRect().topLeft();
    m_dialog.Notify(message, Flags(event.buttons(), event.modifiers()),
                    MAKELPARAM(point.x(), point.y()));
}

namespace {

UINT Flags(Qt::MouseButtons buttons, Qt::KeyboardModifiers modifiers)
{
    return ((buttons & Qt::LeftButton) != 0 ? MK_LBUTTON : 0) |
           ((buttons & Qt::RightButton) != 0 ? MK_RBUTTON : 0) |
           ((modifiers & Qt::ShiftModifier) != 0 ? MK_SHIFT : 0) |
           ((modifiers & Qt::ControlModifier) != 0 ? MK_CONTROL : 0);
}

UINT VirtualKey(int key)
{
    static constexpr struct
    {
        int key;
        UINT reported;
    } Keys[] = {
        {Qt::Key_PageUp, VK_PRIOR}, {Qt::Key_PageDown, VK_NEXT}, {Qt::Key_End, VK_END},
        {Qt::Key_Home, VK_HOME},    {Qt::Key_Left, VK_LEFT},     {Qt::Key_Up, VK_UP},
        {Qt::Key_Right, VK_RIGHT},  {Qt::Key_Down, VK_DOWN},     {Qt::Key_Delete, VK_DELETE},
    };
    for (const auto& row : Keys) {
        if (row.key == key) {
            return row.reported;
        }
    }
    return 0;
}

QAccessibleInterface* AccessFrame(const QString&, QObject* object)
{
    auto* const frame = dynamic_cast<FrameControl*>(object);
    return frame != nullptr ? new QAccessibleWidget(frame, QAccessible::Graphic) : nullptr;
}

} // namespace
