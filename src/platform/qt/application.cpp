// The application object: the windowing system's set-up, the end by a signal, the beeper.
#include "platform/beeper.h"
#include "platform/boxes.h"
#include "platform/dialog.h"
#include "platform/dialog_hooks.h"
#include "platform/posix/allocator.h"
#include "platform/posix/end_signals.h"
#include "platform/posix/speaker.h"
#include "platform/qt/button_controls.h"
#include "platform/qt/modal_loop.h"
#include "platform/scope.h"

#include <QApplication>
#include <QFont>
#include <QSocketNotifier>
#include <QTimer>

#include <clocale>
#include <cstdlib>
#include <exception>
#include <memory>

namespace {

constexpr int FontPixels = 11; // fits the fixed base units of the dialogs

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

} // namespace

// A test may have set the toolkit up for several runs.
int CWinApp::Run(int argc, char** argv)
{
    KeepFreedBlocks();
    std::unique_ptr<QApplication> toolkit;
    if (qApp == nullptr) {
        toolkit = std::make_unique<QApplication>(argc, argv);
    }
    SetUpToolkit();
    QApplication::setApplicationDisplayName({});
    // The name of a desktop file, which has the icon and tells two kinds of installation apart.
    QApplication::setDesktopFileName(QCoreApplication::applicationName().toLower());
    EndSignals endSignals;
    const QSocketNotifier endAsked(endSignals.Descriptor(), QSocketNotifier::Read);
    QObject::connect(&endAsked, &QSocketNotifier::activated, [&endSignals] {
        endSignals.Clear();
        ModalLoop::AskToEnd();
    });

    const ScopedValue loopOpen(exitOutOfTheLoop.isLoopOpen, true);

    // No window outlives InitInstance, so that there is nothing left to serve after it.
    try {
        InitInstance();
        return 0;
    } catch (...) {
        ReportCurrentException(nullptr);
        return EXIT_FAILURE;
    }
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
    QApplication::setStyle("Fusion");
    QApplication::setQuitOnLastWindowClosed(false);
    QFont font("MS Sans Serif");
    font.setStyleHint(QFont::SansSerif);
    font.setPixelSize(FontPixels);
    QApplication::setFont(font);
    UnifyPresses();
}

} // namespace
