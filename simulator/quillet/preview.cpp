// Draws the live picture and turns a press into an exposure.
#include "simulator/quillet/preview.h"

#include "simulator/tarn/hand_switch.h"

#include <QFontInfo>
#include <QLinearGradient>
#include <QPainter>
#include <QPushButton>
#include <QRadialGradient>
#include <QTimerEvent>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace {

constexpr int FramePeriod = 40;     // milliseconds
constexpr double SweepPeriod = 4.0; // seconds
constexpr double LampPeriod = 1.6;
constexpr int GridStep = 24; // pixels; every fifth line is a major one
constexpr int Margin = 18;
constexpr double RingRadius = 3.0 * GridStep;

constexpr QColor Background{9, 17, 22};
constexpr QColor Glow{20, 44, 52};
constexpr QColor MinorLine{70, 150, 160, 28};
constexpr QColor MajorLine{70, 170, 180, 64};
constexpr QColor Mark{120, 226, 226, 210};
constexpr QColor Plate{0, 0, 0, 165};
constexpr QColor Text{226, 240, 240};
constexpr QColor Gray{140, 160, 164};
constexpr QColor Amber{255, 184, 60};
constexpr QColor Green{96, 222, 130};
constexpr QColor Red{255, 94, 72};

// The texts of each phase of the sensor; "%1" is replaced by the seconds left.
struct PhaseLook
{
    std::uint32_t phase;
    QColor lamp;
    const char* state;
    const char* prompt;
    const char* countdown;
    const char* accessibleName;
};
constexpr PhaseLook PhaseLooks[] = {
    {TarnPhaseIdle, Gray, "SENSOR IDLE", "", "", "Preview: sensor idle"},
    {TarnPhaseArming, Amber, "ARMING", "The sensor is getting ready", "ready in %1 s",
     "Preview: sensor arming"},
    {TarnPhaseArmed, Green, "SENSOR ARMED", "Click here or press Space to expose", "%1 s left",
     "Preview: sensor armed; press Space to expose"},
    {TarnPhaseReading, Red, "READING OUT", "The image is on its way", "image in %1 s",
     "Preview: reading out"},
};
// For a capture library that does not report its phase.
constexpr PhaseLook UnknownLook = {0, Green, "SENSOR ARMED", "", "", "Preview: sensor armed"};

const PhaseLook& LookOf(const SensorLink& sensor, std::uint32_t phase);
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

double SweepPosition(double seconds, double period)
{
    return 0.5 - 0.5 * std::cos(2.0 * std::numbers::pi * seconds / period);
}

double LampBrightness(double seconds, double period)
{
    return 0.55 + 0.45 * std::cos(2.0 * std::numbers::pi * seconds / period);
}

Preview::Preview(QWidget* owner, const QRect& screenArea, SensorLink sensor)
    : QAbstractButton(owner), m_sensor(sensor)
{
    setGeometry(QRect(owner->mapFromGlobal(screenArea.topLeft()), screenArea.size()));
    setFocusPolicy(Qt::StrongFocus);
    setAttribute(Qt::WA_OpaquePaintEvent);
    setCursor(m_sensor.expose != nullptr ? Qt::PointingHandCursor : Qt::ArrowCursor);
    setAccessibleDescription(QStringLiteral("Live picture over the image area"));
    connect(this, &QAbstractButton::pressed, this, &Preview::Expose);
    hide();
}

void Preview::Arm()
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

void Preview::Disarm()
{
    m_frameTimer.stop();
    // Otherwise the focus would move on to a button, and a second Space would press that.
    clearFocus();
    hide();
}

void Preview::timerEvent(QTimerEvent* event)
{
    if (event->timerId() == m_frameTimer.timerId()) {
        FollowSensor();
        update();
    } else {
        QAbstractButton::timerEvent(event);
    }
}

void Preview::FollowSensor()
{
    double secondsLeft = -1.0;
    const std::uint32_t phase = m_sensor.phase != nullptr ? m_sensor.phase(&secondsLeft) : m_phase;
    if (phase != m_phase || m_phaseLength < secondsLeft) {
        m_phase = phase;
        m_phaseLength = secondsLeft;
    }
    m_secondsLeft = secondsLeft;
    const QString name = QString::fromUtf8(LookOf(m_sensor, m_phase).accessibleName);
    if (accessibleName() != name) {
        setAccessibleName(name);
    }
}

void Preview::Expose()
{
    if (m_sensor.expose != nullptr) {
        m_sensor.expose();
        FollowSensor();
        update();
    }
}

void Preview::paintEvent(QPaintEvent*)
{
    const PhaseLook& look = LookOf(m_sensor, m_phase);
    const double seconds = static_cast<double>(m_shownSince.elapsed()) / 1e3;
    const bool rightwards = std::fmod(seconds, SweepPeriod) < SweepPeriod / 2;
    const bool counting = m_secondsLeft >= 0.0 && *look.countdown != 0;
    QColor lamp = look.lamp;
    lamp.setAlphaF(static_cast<float>(LampBrightness(seconds, LampPeriod)));

    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.drawPixmap(0, 0, m_grid);
    DrawSweep(painter, size(), SweepPosition(seconds, SweepPeriod), rightwards);
    if (counting && m_phaseLength > 0.0) {
        DrawCountdown(painter, size(), look.lamp, std::min(m_secondsLeft / m_phaseLength, 1.0));
    }
    DrawState(painter, lamp, QString::fromUtf8(look.state));
    DrawPrompt(painter, size(), QString::fromUtf8(look.prompt),
               counting ? QString::fromUtf8(look.countdown).arg(m_secondsLeft, 0, 'f', 1)
                        : QString());
    if (hasFocus()) {
        painter.setPen(QPen(Mark, 2));
        painter.setBrush(Qt::NoBrush);
        painter.drawRect(QRectF(rect()).adjusted(1, 1, -1, -1));
    }
}

void Preview::resizeEvent(QResizeEvent*)
{
    m_grid = DrawGrid(size(), devicePixelRatioF());
}

namespace {

const PhaseLook& LookOf(const SensorLink& sensor, std::uint32_t phase)
{
    const auto* look = std::ranges::find(PhaseLooks, phase, &PhaseLook::phase);
    return sensor.phase != nullptr && look != std::end(PhaseLooks) ? *look : UnknownLook;
}

QPixmap DrawGrid(QSize size, qreal pixelRatio)
{
    QPixmap grid(size * pixelRatio);
    grid.setDevicePixelRatio(pixelRatio);
    grid.fill(Background);
    QPainter painter(&grid);
    painter.setRenderHint(QPainter::Antialiasing);

    QRadialGradient glow(size.width() / 2.0, size.height() / 2.0,
                         std::max(size.width(), size.height()) / 1.6);
    glow.setColorAt(0, Glow);
    glow.setColorAt(1, Background);
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
        painter.setPen(i % 5 == 0 ? MajorLine : MinorLine);
        painter.drawLine(centerX + i * GridStep, 0, centerX + i * GridStep, size.height());
    }
    for (int i = -centerY / GridStep; i * GridStep <= centerY; ++i) {
        painter.setPen(i % 5 == 0 ? MajorLine : MinorLine);
        painter.drawLine(0, centerY + i * GridStep, size.width(), centerY + i * GridStep);
    }
    painter.restore();
}

void DrawCrosshair(QPainter& painter, QSize size)
{
    const QPointF center = QPoint(size.width() / 2, size.height() / 2);
    painter.setPen(QPen(Mark, 1.5));
    painter.setBrush(Qt::NoBrush);
    for (const double radius : {GridStep * 1.0, RingRadius}) {
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
    painter.setPen(QPen(Mark, 3, Qt::SolidLine, Qt::SquareCap));
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
    fade.setColorAt(0, QColor(Mark.red(), Mark.green(), Mark.blue(), 70));
    fade.setColorAt(1, QColor(Mark.red(), Mark.green(), Mark.blue(), 0));
    painter.fillRect(QRectF(x, 0, tail, size.height()).normalized(), fade);
    painter.fillRect(QRectF(x - 1, 0, 2, size.height()), Mark);
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
    painter.setBrush(Plate);
    painter.drawRoundedRect(plate, plate.height() / 2, plate.height() / 2);
    painter.setBrush(lamp);
    painter.drawEllipse(
        QRectF(plate.left() + 13, plate.center().y() - lampSize / 2, lampSize, lampSize));
    painter.setPen(Text);
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
    painter.setBrush(Plate);
    painter.drawRoundedRect(plate, 8, 8);
    painter.setPen(Gray);
    painter.drawText(plate.adjusted(0, 0, 0, -8), Qt::AlignHCenter | Qt::AlignBottom, countdown);
    painter.save();
    painter.setFont(promptFont);
    painter.setPen(Text);
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
