// The simulated preview: a live picture over the image area and the hand switch that exposes.
#pragma once

#include <QAbstractButton>
#include <QBasicTimer>
#include <QElapsedTimer>
#include <QPixmap>

#include <cstdint>

// The way to the simulated capture library; null functions when another one is loaded.
struct SensorLink
{
    std::uint32_t (*expose)() = nullptr; // 0: exposing
    std::uint32_t (*phase)(double* secondsLeft) =
        nullptr; // a TarnPhase...; negative: no end in sight
};

// How far the line of the live picture has swept: 0 at the left edge, 1 at the right. It goes there
// and back once in the period and slows down at both ends.
double SweepPosition(double seconds, double period);

// The share (0.1 to 1) of the lamp's brightness; it breathes once in the period.
double LampBrightness(double seconds, double period);

// A child of the window that asked for it, so that it moves, hides and ends with it and takes no
// input from the rest of it. Being a button, it is pressed by a click, by Space or by a screen
// reader; the press itself exposes, not the release.
class Preview : public QAbstractButton
{
public:
    // owner owns the preview. screenArea: screen pixels.
    Preview(QWidget* owner, const QRect& screenArea, SensorLink sensor);

    // Shows the picture in front of its siblings. The keyboard goes to it, so that Space exposes at
    // once, unless the operator is typing into a field or walking through the options.
    void Arm();
    void Disarm();

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void timerEvent(QTimerEvent* event) override;

private:
    void FollowSensor();
    void Expose();

    SensorLink m_sensor;
    QPixmap m_grid; // what stands still, drawn once a size
    QBasicTimer m_frameTimer;
    QElapsedTimer m_shownSince;
    std::uint32_t m_phase = 0;
    double m_secondsLeft = -1.0;
    double m_phaseLength = -1.0; // what was left when the phase began
};
