// The windowing system's set-up, the end by a signal, the wait cursor and the beeper.
#include "platform/beeper.h"
#include "platform/policy.h"
#include "platform/posix/allocator.h"
#include "platform/posix/end_signals.h"
#include "platform/posix/speaker.h"
#include "platform/qt/button_controls.h"
#include "platform/qt/desktop_look.h"
#include "platform/qt/messages.h"
#include "platform/scope.h"

#include <QApplication>
#include <QSocketNotifier>
#include <QTimer>

#include <clocale>
#include <cstdlib>
#include <memory>

namespace {

void SetUpToolkit();

// Whoever finds the connection to the display broken, the toolkit or its X library, calls exit()
// out of the loop. The first to go then are the objects of the thread itself, while all others, and
// the libraries' threads, still are what they were.
struct ExitOutOfTheLoop
{
    ~ExitOutOfTheLoop();
    bool isLoopOpen = false;
};
thread_local ExitOutOfTheLoop exitOutOfTheLoop;

class Toolkit
{
public:
    Toolkit(int& argc, char** argv);

private:
    std::unique_ptr<QApplication> m_application; // null when a test has set one up for several runs
    Deliverer m_deliverer;
    EndSignals m_endSignals;
    QSocketNotifier m_endAsked{m_endSignals.Descriptor(), QSocketNotifier::Read};
    ScopedValue<bool> m_loopOpen{exitOutOfTheLoop.isLoopOpen, true};
};

} // namespace

std::shared_ptr<void> StartWindowSystem(int& argc, char** argv)
{
    KeepFreedBlocks();
    return std::make_shared<Toolkit>(argc, argv);
}

void ShowWaitCursor(bool shown)
{
    shown ? QApplication::setOverrideCursor(Qt::WaitCursor) : QApplication::restoreOverrideCursor();
}

// The computer's speaker where it is accessible, else the bell of the windowing system.
BOOL Beep(DWORD frequency, DWORD duration)
{
    const auto tone = std::make_shared<SpeakerTone>();
    if (tone->Start(frequency)) {
        QTimer::singleShot(static_cast<int>(duration), [tone] {});
    } else {
        QApplication::beep();
    }
    return TRUE;
}

namespace {

std::unique_ptr<QApplication> MakeApplication(int& argc, char** argv)
{
    TakeOverScaling();
    return std::make_unique<QApplication>(argc, argv);
}

Toolkit::Toolkit(int& argc, char** argv)
    : m_application(qApp == nullptr ? MakeApplication(argc, argv) : nullptr)
{
    SetUpToolkit();
    QObject::connect(&m_endAsked, &QSocketNotifier::activated, [this] {
        m_endSignals.Clear();
        ModalLoop::AskToEnd();
    });
}

ExitOutOfTheLoop::~ExitOutOfTheLoop()
{
    if (isLoopOpen) {
        ModalLoop::TellDisplayLost();
        std::_Exit(EXIT_FAILURE);
    }
}

void SetUpToolkit()
{
    // The toolkit takes the operator's language; numbers stay as programs write them.
    std::setlocale(LC_NUMERIC, "C");
    QApplication::setApplicationDisplayName({});
    // The name of a desktop file, which has the icon and tells two kinds of installation apart.
    QApplication::setDesktopFileName(QCoreApplication::applicationName().toLower());
    QApplication::setStyle("Fusion");
    QApplication::setQuitOnLastWindowClosed(false);
    UseDesktopLook();
    UnifyPresses();
}

} // namespace
