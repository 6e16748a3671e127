// Empties the queue of posted messages in small slices.
#include "platform/qt/messages.h"

#include "platform/policy.h"

#include <QCoreApplication>
#include <QEvent>

namespace {

Deliverer* deliverer = nullptr; // guarded by the queue's lock, while a window is open

} // namespace

Deliverer::Deliverer()
{
    deliverer = this;
}

Deliverer::~Deliverer()
{
    deliverer = nullptr;
}

// The next slice is asked for before a message is delivered: its handler may open a box, whose loop
// then goes on with the messages behind it.
void Deliverer::timerEvent(QTimerEvent*)
{
    m_next.stop();
    for (DeliverySlice slice; !slice.IsOver(); slice.Count()) {
        m_next.start(0, this);
        if (!DeliverPosted()) {
            return m_next.stop();
        }
    }
}

void AskForDelivery()
{
    QCoreApplication::postEvent(deliverer, new QEvent(QEvent::User));
}
