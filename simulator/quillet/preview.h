// The simulated preview: a live picture over the image area and the hand switch that exposes.
#pragma once

#include <QAbstractButton>
#include <QBasicTimer>
#include <QElapsedTimer>
#include <QPixmap>

#include <cstdint>

// Functions of the simulated capture library; null when another library is loaded.
struct SensorLink
{
    std::uint32_t (*expose)() = nullptr;                   // returns 0 when exposing
    std::uint32_t (*phase)(double* secondsLeft) = nullptr; // see TarnSimulatorArmedState
};

// Position of the sweeping line: 0 at the left edge, 1 at the right. It moves there and back once
// per period and slows down at both ends.
double SweepPosition(double seconds, double period);

// Brightness of the lamp, 0.1 to 1, one cycle per period.
double LampBrightness(double seconds, double period);

// A child of the owner's window, so that it moves, hides and closes with it and leaves the rest of
// it usable. As a button it is pressed by a click, by Space or by a screen reader; the press
// exposes, not the release.
class Preview : public QAbstractButton
{
public:
    // owner owns the preview. screenArea: screen pixels.
    Preview(QWidget* owner, const QRect& screenArea, SensorLink sensor);

    // Shows the picture in front of its siblings and gives it the focus, so that Space exposes at
    // once, unless the focus is in a field or on an option.
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
    QPixmap m_grid; // the static background, drawn once per size
    QBasicTimer m_frameTimer;
    QElapsedTimer m_shownSince;
    std::uint32_t m_phase = 0;
    double m_secondsLeft = -1.0;
    double m_phaseLength = -1.0; // seconds left when the phase began
};
