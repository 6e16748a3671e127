// The preview as a child widget: draws the live picture and turns a press into an exposure.
#include "simulator/quillet/preview.h"

#include "platform/native_window.h"

#include <QAbstractButton>
#include <QBasicTimer>
#include <QElapsedTimer>
#include <QFontInfo>
#include <QLinearGradient>
#include <QPainter>
#include <QPixmap>
#include <QPointer>
#include <QPushButton>
#include <QRadialGradient>
#include <QTimerEvent>

#include <algorithm>
#include <cmath>
#include <dlfcn.h>

namespace {

// As a button it is pressed by a click, by Space or by a screen reader.
class PreviewButton : public QAbstractButton
{
public:
    PreviewButton(QWidget* owner, const QRect& screenArea, const SensorLink& sensor);

    void Arm();
    void Disarm();

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void timerEvent(QTimerEvent* event) override;

private:
    void FollowSensor();
    void Expose();

    SensorWatch m_sensor;
    QPixmap m_grid; // the static background, drawn once per size
    QBasicTimer m_frameTimer;
    QElapsedTimer m_shownSince;
};

// The owner's window owns the button and may end before it is closed.
class WidgetPreview : public Preview
{
public:
    explicit WidgetPreview(PreviewButton* button) : m_button(button) {}
    ~WidgetPreview() override;

    bool Exists() const override { return m_button != nullptr; }
    bool IsOver(const void* owner) const override;
    void Arm() override { m_button->Arm(); }
    void Disarm() override { m_button->Disarm(); }

private:
    const QPointer<PreviewButton> m_button;
};

QColor Native(Color color);
QPixmap DrawGrid(QSize size, qreal pixelRatio);
void DrawLines(QPainter& painter, QSize size);
void DrawCrosshair(QPainter& painter, QSize size);
void DrawCorners(QPainter& painter, QSize size);
void DrawSweep(QPainter& painter, QSize size, double position, bool rightwards);
void DrawCountdown(QPainter& painter, QSize size, QColor color, double share);
void DrawState(QPainter& painter, QColor lamp, const QString& state);
void DrawPrompt(QPainter& painter, QSize size, const QString& prompt, const QString& countdown);
QFont Scaled(QFont font, double factor, bool bold = false);

} // namespace

std::unique_ptr<Preview> OpenPreview(void* owner, const ScreenArea& area, const SensorLink& sensor)
{
    auto* const window = static_cast<QWidget*>(NativeWindowOf(static_cast<HWND>(owner)));
    if (window == nullptr) {
        return nullptr;
    }
    const QRect place(area.left, area.top, area.width, area.height);
    return std::make_unique<WidgetPreview>(new PreviewButton(window, place, sensor));
}

void* FindInTarn(const char* name)
{
    void* const tarn = dlopen("libTarn.so", RTLD_NOW | RTLD_NOLOAD);
    if (tarn == nullptr) {
        return nullptr;
    }
    void* const function = dlsym(tarn, name);
    dlclose(tarn);
    return function;
}

namespace {

// The close may be nested in the button's own press, so it is deleted after that has returned.
WidgetPreview::~WidgetPreview()
{
    if (m_button != nullptr) {
        m_button->Disarm();
        m_button->deleteLater();
    }
}

bool WidgetPreview::IsOver(const void* owner) const
{
    const auto window = static_cast<HWND>(const_cast<void*>(owner));
    return m_button != nullptr && m_button->parentWidget() == NativeWindowOf(window);
}

PreviewButton::PreviewButton(QWidget* owner, const QRect& screenArea, const SensorLink& sensor)
    : QAbstractButton(owner), m_sensor(sensor)
{
    setGeometry(QRect(owner->mapFromGlobal(screenArea.topLeft()), screenArea.size()));
    setFocusPolicy(Qt::StrongFocus);
    setAttribute(Qt::WA_OpaquePaintEvent);
    setCursor(m_sensor.CanExpose() ? Qt::PointingHandCursor : Qt::ArrowCursor);
    setAccessibleDescription(QStringLiteral("Live picture over the image area"));
    connect(this, &QAbstractButton::pressed, this, &PreviewButton::Expose);
    hide();
}

void PreviewButton::Arm()
{
    const QWidget* focus = window()->focusWidget();
    const bool elsewhere = focus != nullptr && qobject_cast<const QPushButton*>(focus) == nullptr;
    m_shownSince.start();
    m_frameTimer.start(FramePeriod, this);
    FollowSensor();
    show();
    raise();
    if (!elsewhere) {
        setFocus(Qt::OtherFocusReason);
    }
}

void PreviewButton::Disarm()
{
    m_frameTimer.stop();
    // Otherwise the focus would move on to a button, and a second Space would press that.
    clearFocus();
    hide();
}

void PreviewButton::timerEvent(QTimerEvent* event)
{
    if (event->timerId() == m_frameTimer.timerId()) {
        FollowSensor();
    } else {
        QAbstractButton::timerEvent(event);
    }
}

void PreviewButton::FollowSensor()
{
    m_sensor.Follow();
    const QString name = QString::fromUtf8(m_sensor.Look().accessibleName);
    if (accessibleName() != name) {
        setAccessibleName(name);
    }
    update();
}

void PreviewButton::Expose()
{
    m_sensor.Expose();
    FollowSensor();
}

void PreviewButton::paintEvent(QPaintEvent*)
{
    const PhaseLook& look = m_sensor.Look();
    const double seconds = static_cast<double>(m_shownSince.elapsed()) / 1e3;
    const bool rightwards = std::fmod(seconds, SweepPeriod) < SweepPeriod / 2;
    QColor lamp = Native(look.lamp);
    lamp.setAlphaF(static_cast<float>(LampBrightness(seconds)));

    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.drawPixmap(0, 0, m_grid);
    DrawSweep(painter, size(), SweepPosition(seconds), rightwards);
    if (m_sensor.ShareLeft() > 0.0) {
        DrawCountdown(painter, size(), Native(look.lamp), m_sensor.ShareLeft());
    }
    DrawState(painter, lamp, QString::fromUtf8(look.state));
    DrawPrompt(painter, size(), QString::fromUtf8(look.prompt),
               QString::fromStdString(m_sensor.Countdown()));
    if (hasFocus()) {
        painter.setPen(QPen(Native(Mark), 2));
        painter.setBrush(Qt::NoBrush);
        painter.drawRect(QRectF(rect()).adjusted(1, 1, -1, -1));
    }
}

void PreviewButton::resizeEvent(QResizeEvent*)
{
    m_grid = DrawGrid(size(), devicePixelRatioF());
}

QColor Native(Color color)
{
    return {color.red, color.green, color.blue, color.alpha};
}

QPixmap DrawGrid(QSize size, qreal pixelRatio)
{
    QPixmap grid(size * pixelRatio);
    grid.setDevicePixelRatio(pixelRatio);
    grid.fill(Native(Background));
    QPainter painter(&grid);
    painter.setRenderHint(QPainter::Antialiasing);

    QRadialGradient glow(size.width() / 2.0, size.height() / 2.0,
                         std::max(size.width(), size.height()) / 1.6);
    glow.setColorAt(0, Native(Glow));
    glow.setColorAt(1, Native(Background));
    painter.fillRect(QRect(QPoint(0, 0), size), glow);
    DrawLines(painter, size);
    DrawCrosshair(painter, size);
    DrawCorners(painter, size);
    return grid;
}

// Lines are counted from the middle, where the beam's center should be.
void DrawLines(QPainter& painter, QSize size)
{
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing, false);
    const int centerX = size.width() / 2;
    const int centerY = size.height() / 2;
    for (int i = -centerX / GridStep; i * GridStep <= centerX; ++i) {
        painter.setPen(Native(GridLine(i)));
        painter.drawLine(centerX + i * GridStep, 0, centerX + i * GridStep, size.height());
    }
    for (int i = -centerY / GridStep; i * GridStep <= centerY; ++i) {
        painter.setPen(Native(GridLine(i)));
        painter.drawLine(0, centerY + i * GridStep, size.width(), centerY + i * GridStep);
    }
    painter.restore();
}

void DrawCrosshair(QPainter& painter, QSize size)
{
    const QPointF center = QPoint(size.width() / 2, size.height() / 2);
    painter.setPen(QPen(Native(Mark), 1.5));
    painter.setBrush(Qt::NoBrush);
    for (const int radius : {GridStep, RingRadius}) {
        painter.drawEllipse(center, radius, radius);
    }
    for (const QPointF direction : {QPointF(1, 0), QPointF(-1, 0), QPointF(0, 1), QPointF(0, -1)}) {
        painter.drawLine(center + direction * GridStep * 0.4, center + direction * GridStep * 4.0);
    }
}

// Corner marks of the sensor's field.
void DrawCorners(QPainter& painter, QSize size)
{
    const double arm = GridStep * 1.5;
    painter.setPen(QPen(Native(Mark), 3, Qt::SolidLine, Qt::SquareCap));
    for (const int right : {0, 1}) {
        for (const int bottom : {0, 1}) {
            const QPointF corner(right ? size.width() - Margin : Margin,
                                 bottom ? size.height() - Margin : Margin);
            painter.drawLine(corner, corner + QPointF(right ? -arm : arm, 0));
            painter.drawLine(corner, corner + QPointF(0, bottom ? -arm : arm));
        }
    }
}

// A bright line with a fading tail.
void DrawSweep(QPainter& painter, QSize size, double position, bool rightwards)
{
    const double x = position * size.width();
    const double tail = size.width() * 0.22 * (rightwards ? -1.0 : 1.0);
    QLinearGradient fade(x, 0, x + tail, 0);
    fade.setColorAt(0, QColor(Mark.red, Mark.green, Mark.blue, 70));
    fade.setColorAt(1, QColor(Mark.red, Mark.green, Mark.blue, 0));
    painter.fillRect(QRectF(x, 0, tail, size.height()).normalized(), fade);
    painter.fillRect(QRectF(x - 1, 0, 2, size.height()), Native(Mark));
}

// A ring around the middle that empties clockwise. share: the part left, 0 to 1.
void DrawCountdown(QPainter& painter, QSize size, QColor color, double share)
{
    QRectF ring(0, 0, 2 * RingRadius, 2 * RingRadius);
    ring.moveCenter(QPoint(size.width() / 2, size.height() / 2));
    painter.setPen(QPen(color, 5, Qt::SolidLine, Qt::FlatCap));
    painter.setBrush(Qt::NoBrush);
    painter.drawArc(ring, 90 * 16, static_cast<int>(share * 360 * 16));
}

// Top left: a lamp and the sensor's state on a dark plate.
void DrawState(QPainter& painter, QColor lamp, const QString& state)
{
    painter.save();
    painter.setFont(Scaled(painter.font(), 1.25, true));
    const QFontMetrics metrics(painter.font());
    const double lampSize = metrics.ascent() * 0.8;
    const QRectF plate(Margin * 2, Margin * 2, metrics.horizontalAdvance(state) + lampSize + 40,
                       metrics.height() + 12);
    painter.setPen(Qt::NoPen);
    painter.setBrush(Native(Plate));
    painter.drawRoundedRect(plate, plate.height() / 2, plate.height() / 2);
    painter.setBrush(lamp);
    painter.drawEllipse(
        QRectF(plate.left() + 13, plate.center().y() - lampSize / 2, lampSize, lampSize));
    painter.setPen(Native(Text));
    painter.drawText(plate.adjusted(lampSize + 22, 0, 0, 0), Qt::AlignVCenter | Qt::AlignLeft,
                     state);
    painter.restore();
}

// Bottom center: what to do now, and below it the time left in the phase.
void DrawPrompt(QPainter& painter, QSize size, const QString& prompt, const QString& countdown)
{
    if (prompt.isEmpty()) {
        return;
    }
    const QFont promptFont = Scaled(painter.font(), 1.5);
    const QFontMetrics metrics(promptFont);
    const int countdownHeight = painter.fontMetrics().height();
    QRectF plate(0, 0, metrics.horizontalAdvance(prompt) + 48,
                 metrics.height() + countdownHeight + 24);
    plate.moveCenter(QPointF(size.width() / 2.0, size.height() - Margin * 2 - plate.height() / 2));
    painter.setPen(Qt::NoPen);
    painter.setBrush(Native(Plate));
    painter.drawRoundedRect(plate, 8, 8);
    painter.setPen(Native(Gray));
    painter.drawText(plate.adjusted(0, 0, 0, -8), Qt::AlignHCenter | Qt::AlignBottom, countdown);
    painter.save();
    painter.setFont(promptFont);
    painter.setPen(Native(Text));
    painter.drawText(plate.adjusted(0, 9, 0, 0), Qt::AlignHCenter | Qt::AlignTop, prompt);
    painter.restore();
}

QFont Scaled(QFont font, double factor, bool bold)
{
    font.setPixelSize(static_cast<int>(std::lround(QFontInfo(font).pixelSize() * factor)));
    font.setBold(bold);
    return font;
}

} // namespace
