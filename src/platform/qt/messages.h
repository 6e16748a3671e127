// Empties the queue of posted messages in small slices.
#pragma once

#include <QBasicTimer>
#include <QObject>

// Delivers what the queue holds. A slice is started by a zero timer and not by the toolkit's own
// posted events: it fires once a round of the event loop, after input, painting and other timers.
// One at a time, which outlives all windows.
class Deliverer : public QObject
{
public:
    Deliverer();
    ~Deliverer() override;

protected:
    void customEvent(QEvent*) override { m_next.start(0, this); }
    void timerEvent(QTimerEvent*) override;

private:
    QBasicTimer m_next;
};
