// The widgets behind the controls.
#include "platform/qt/control_widgets.h"

#include "platform/policy.h"
#include "platform/qt/button_controls.h"
#include "platform/qt/desktop_look.h"
#include "platform/qt/frame_control.h"
#include "platform/qt/paint_request.h"
#include "platform/qt/text.h"

#include <QAbstractButton>
#include <QFocusEvent>
#include <QGroupBox>
#include <QKeyEvent>
#include <QLabel>
#include <QPainter>
#include <QSignalBlocker>
#include <QStyle>
#include <QWheelEvent>

#include <algorithm>

namespace {

constexpr int WheelNotch = 120; // eighths of a degree
constexpr QColor RejectedColor(192, 0, 0);

// A group box whose title stands in the line of its frame: the templates leave no room above it.
class GroupBoxControl : public QGroupBox
{
public:
    using QGroupBox::QGroupBox;

protected:
    void paintEvent(QPaintEvent* event) override;
};

QLabel* MakeLabel(DialogWindow& dialog, const ControlTemplate& control);

} // namespace

QWidget* MakeControl(DialogWindow& dialog, const ControlTemplate& control)
{
    switch (control.kind) {
    case ControlKind::PushButton:
    case ControlKind::DefaultButton:
    case ControlKind::CheckBox:
    case ControlKind::RadioButton:
        return MakeButton(dialog, control);
    case ControlKind::Label:
        return MakeLabel(dialog, control);
    case ControlKind::Edit:
        return new EditControl(dialog, control.id);
    case ControlKind::GroupBox:
        return new GroupBoxControl(ShownText(control.text), &dialog);
    case ControlKind::Frame:
        return new FrameControl(dialog, (control.flags & FrameTakesInput) != 0);
    case ControlKind::HorizontalScrollBar:
        return new ScrollBarControl(dialog, Qt::Horizontal);
    case ControlKind::VerticalScrollBar:
        return new ScrollBarControl(dialog, Qt::Vertical);
    case ControlKind::TrackBar:
        return new TrackBarControl(dialog, control.id);
    }
    qFatal("A dialog template holds a control of an unknown kind.");
}

EditControl::EditControl(DialogWindow& dialog, int id)
    : QLineEdit(&dialog), m_dialog(dialog), m_id(id)
{
    connect(this, &QLineEdit::textChanged, this, [this] { Accept(); });
}

bool EditControl::Reject(const QString& reason)
{
    if (m_rejected) {
        return false;
    }
    m_rejected = true;
    m_hint = toolTip();
    setToolTip(reason);
    setAccessibleDescription(reason);
    update();
    return true;
}

void EditControl::Write(const QString& text)
{
    if (text != this->text()) {
        setText(text);
    }
    Accept();
}

void EditControl::Accept()
{
    if (!m_rejected) {
        return;
    }
    m_rejected = false;
    setToolTip(m_hint);
    setAccessibleDescription(m_hint);
    update();
}

// A menu of the field itself takes the focus only for the time it is open.
void EditControl::focusOutEvent(QFocusEvent* event)
{
    QLineEdit::focusOutEvent(event);
    const Qt::FocusReason reason = event->reason();
    const bool ofMenu = reason == Qt::PopupFocusReason || reason == Qt::MenuBarFocusReason;
    const bool ofBox = reason == Qt::ActiveWindowFocusReason && IsRejectionShown(m_dialog.Handle());
    if (!ofMenu && !ofBox) {
        m_dialog.NotifyCommand(m_id, EN_KILLFOCUS);
    }
}

void EditControl::paintEvent(QPaintEvent* event)
{
    QLineEdit::paintEvent(event);
    QPainter painter(this);
    if (!hasFocus()) {
        DrawDarkOutline(painter, palette(), rect());
    }
    if (!m_rejected) {
        return;
    }
    painter.setPen(QPen(Readable(RejectedColor, palette().color(QPalette::Base), MarkContrast), 2));
    painter.drawRect(rect().adjusted(1, 1, -1, -1));
}

ScrollBarControl::ScrollBarControl(DialogWindow& dialog, Qt::Orientation orientation)
    : QScrollBar(orientation, &dialog), m_dialog(dialog)
{
    setFocusPolicy(Qt::StrongFocus);
    setContextMenuPolicy(Qt::NoContextMenu);
    setTracking(false);
    connect(this, &QScrollBar::actionTriggered, this, [this](int action) { OnAction(action); });
    connect(this, &QScrollBar::sliderMoved, this,
            [this](int position) { Report(SB_THUMBTRACK, position); });
    connect(this, &QScrollBar::sliderReleased, this, [this] { OnReleased(); });
    connect(this, &QScrollBar::valueChanged, this,
            [this](int position) { OnMovedFromOutside(position); });
}

void ScrollBarControl::SetRange(int minimum, int maximum)
{
    const QSignalBlocker blocker(this);
    setRange(minimum, std::max(minimum, maximum));
    m_position = value();
}

void ScrollBarControl::SetPosition(int position)
{
    const QSignalBlocker blocker(this);
    setValue(position);
    m_position = value();
}

// The toolkit takes the up and left keys of a horizontal bar, or the right and down keys, for
// opposite directions.
void ScrollBarControl::keyPressEvent(QKeyEvent* event)
{
    static constexpr struct
    {
        int key;
        SliderAction action;
    } Keys[] = {
        {Qt::Key_Left, SliderSingleStepSub}, {Qt::Key_Right, SliderSingleStepAdd},
        {Qt::Key_Up, SliderSingleStepSub},   {Qt::Key_Down, SliderSingleStepAdd},
        {Qt::Key_PageUp, SliderPageStepSub}, {Qt::Key_PageDown, SliderPageStepAdd},
        {Qt::Key_Home, SliderToMinimum},     {Qt::Key_End, SliderToMaximum},
    };
    for (const auto& row : Keys) {
        if (row.key == event->key()) {
            return triggerAction(row.action);
        }
    }
    QScrollBar::keyPressEvent(event);
}

// One turn of the wheel's notch is one line; a fraction waits for the rest of its notch.
void ScrollBarControl::wheelEvent(QWheelEvent* event)
{
    event->setAccepted(hasFocus());
    if (!hasFocus()) {
        return;
    }
    const QPoint turn = event->angleDelta();
    m_wheel += turn.y() != 0 ? turn.y() : turn.x();
    for (; m_wheel >= WheelNotch; m_wheel -= WheelNotch) {
        triggerAction(SliderSingleStepSub);
    }
    for (; m_wheel <= -WheelNotch; m_wheel += WheelNotch) {
        triggerAction(SliderSingleStepAdd);
    }
}

// The toolkit has moved the thumb already but not the value; the thumb goes back, and the dialog's
// handler decides.
void ScrollBarControl::OnAction(int action)
{
    static constexpr struct
    {
        int action;
        UINT code;
    } Codes[] = {
        {SliderSingleStepSub, SB_LINEUP}, {SliderSingleStepAdd, SB_LINEDOWN},
        {SliderPageStepSub, SB_PAGEUP},   {SliderPageStepAdd, SB_PAGEDOWN},
        {SliderToMinimum, SB_TOP},        {SliderToMaximum, SB_BOTTOM},
    };
    setSliderPosition(value());
    for (const auto& row : Codes) {
        if (row.action == action) {
            Report(row.code);
        }
    }
}

void ScrollBarControl::OnReleased()
{
    const int position = sliderPosition();
    setSliderPosition(value());
    Report(SB_THUMBPOSITION, position);
    Report(SB_ENDSCROLL);
}

// An accessibility tool has set the position; the operator means a thumb let go there.
void ScrollBarControl::OnMovedFromOutside(int position)
{
    SetPosition(m_position);
    if (m_dialog.TakesInput()) {
        Report(SB_THUMBPOSITION, position);
    }
}

void ScrollBarControl::Report(UINT code, int position)
{
    m_dialog.Notify(orientation() == Qt::Horizontal ? WM_HSCROLL : WM_VSCROLL,
                    MAKEWPARAM(code, static_cast<UINT>(position)),
                    reinterpret_cast<LPARAM>(m_handle));
}

TrackBarControl::TrackBarControl(DialogWindow& dialog, int id)
    : QSlider(Qt::Horizontal, &dialog), m_dialog(dialog), m_id(id)
{
    setTickPosition(TicksAbove);
    SetRange(0, 100);
    connect(this, &QSlider::valueChanged, this, [this] { OnMoved(); });
    connect(this, &QSlider::sliderReleased, this, [this] { Report(NM_RELEASEDCAPTURE); });
}

// What the program sets is reported by the drawing that follows, as every drawing is, and not
// before: the handler would take the new range's nearest position for the operator's.
void TrackBarControl::SetRange(int minimum, int maximum)
{
    const QSignalBlocker blocker(this);
    setRange(minimum, std::max(minimum, maximum));
    m_position = value();
    setPageStep(std::max(1, (this->maximum() - minimum) / 5));
    update();
}

void TrackBarControl::SetPosition(int position)
{
    const QSignalBlocker blocker(this);
    setValue(position);
    m_position = value();
    update();
}

void TrackBarControl::paintEvent(QPaintEvent* event)
{
    const PaintRequest request(m_handle, this, nullptr, {}, {}, event->region());
    Report(NM_CUSTOMDRAW);
    QSlider::paintEvent(event);
    if (hasFocus()) {
        QPainter painter(this);
        painter.setPen(QPen(palette().color(QPalette::WindowText), 1, Qt::DotLine));
        painter.drawRect(rect().adjusted(0, 0, -1, -1));
    }
}

void TrackBarControl::wheelEvent(QWheelEvent* event)
{
    event->setAccepted(hasFocus());
    if (hasFocus()) {
        QSlider::wheelEvent(event);
    }
}

// Mouse and keys reach a dialog that takes input only, an accessibility tool every one.
void TrackBarControl::OnMoved()
{
    if (!m_dialog.TakesInput()) {
        return SetPosition(m_position);
    }
    m_position = value();
    Report(NM_CUSTOMDRAW);
}

void TrackBarControl::Report(UINT code)
{
    const NMHDR header{m_handle, static_cast<UINT_PTR>(m_id), code};
    m_dialog.Notify(WM_NOTIFY, static_cast<WPARAM>(m_id), reinterpret_cast<LPARAM>(&header));
}

namespace {

void GroupBoxControl::paintEvent(QPaintEvent*)
{
    constexpr int Indent = 8;
    QPainter painter(this);
    painter.setPen(palette().color(QPalette::Mid));
    painter.drawRect(rect().adjusted(0, fontMetrics().height() / 2, -1, -1));

    QRect text = fontMetrics().boundingRect(rect(), Qt::TextShowMnemonic, title());
    text.moveTopLeft(QPoint(Indent, 0));
    painter.fillRect(text.adjusted(-2, 0, 2, 0), palette().window());
    style()->drawItemText(&painter, text, Qt::TextShowMnemonic, palette(), isEnabled(), title(),
                          QPalette::WindowText);
}

QLabel* MakeLabel(DialogWindow& dialog, const ControlTemplate& control)
{
    auto* const label = new QLabel(&dialog);
    label->setTextFormat(Qt::PlainText);
    label->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    label->setText(ShownText(control.text));
    return label;
}

} // namespace
