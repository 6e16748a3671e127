// The application object: the windowing system's set-up, signals, the beeper.
#include "platform/boxes.h"
#include "platform/dialog.h"
#include "platform/qt/modal_loop.h"
#include "platform/system.h"

#include <QApplication>
#include <QFont>
#include <QSocketNotifier>
#include <QTimer>

#include <array>
#include <clocale>
#include <csignal>
#include <exception>
#include <fcntl.h>
#include <linux/input.h>
#include <memory>
#include <unistd.h>

namespace {

constexpr int FontPixels = 11; // fits the fixed base units of the dialogs
constexpr const char* SpeakerDevice = "/dev/input/by-path/platform-pcspkr-event-spkr";

void SetUpToolkit();
bool SendTone(int speaker, DWORD frequency);

// Turns SIGTERM and SIGINT into the orderly end of the program: the signal's handler writes into a
// pipe that the message loop reads.
class EndSignals
{
public:
    EndSignals();
    ~EndSignals();

private:
    static void OnSignal(int);

    static inline std::array<int, 2> sPipe{};
    std::array<struct sigaction, 2> m_former{};
    std::unique_ptr<QSocketNotifier> m_notifier;
};

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
    const EndSignals endSignals;

    // No window outlives InitInstance, so that there is nothing left to serve after it.
    try {
        InitInstance();
        return 0;
    } catch (const std::exception& e) {
        AfxMessageBox(e.what(), MB_OK | MB_ICONSTOP | MB_TOPMOST);
        return 1;
    }
}

// The computer's speaker where it is accessible, else the bell of the windowing system.
BOOL Beep(DWORD frequency, DWORD duration)
{
    const int speaker = open(SpeakerDevice, O_WRONLY | O_CLOEXEC | O_NONBLOCK);
    if (speaker >= 0 && SendTone(speaker, frequency)) {
        QTimer::singleShot(static_cast<int>(duration), [speaker] {
            SendTone(speaker, 0);
            close(speaker);
        });
        return TRUE;
    }
    if (speaker >= 0) {
        close(speaker);
    }
    QApplication::beep();
    return TRUE;
}

namespace {

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
}

bool SendTone(int speaker, DWORD frequency)
{
    input_event tone{};
    tone.type = EV_SND;
    tone.code = SND_TONE;
    tone.value = static_cast<int>(frequency);
    return write(speaker, &tone, sizeof tone) == sizeof tone;
}

EndSignals::EndSignals()
{
    if (pipe2(sPipe.data(), O_CLOEXEC | O_NONBLOCK) != 0) {
        return;
    }
    m_notifier = std::make_unique<QSocketNotifier>(sPipe[0], QSocketNotifier::Read);
    QObject::connect(m_notifier.get(), &QSocketNotifier::activated, [] {
        char byte;
        while (read(sPipe[0], &byte, 1) == 1) {
            continue;
        }
        ModalLoop::AskToEnd();
    });
    struct sigaction action
    {
    };
    action.sa_handler = &EndSignals::OnSignal;
    action.sa_flags = SA_RESTART;
    sigaction(SIGTERM, &action, &m_former[0]);
    sigaction(SIGINT, &action, &m_former[1]);
}

EndSignals::~EndSignals()
{
    if (m_notifier == nullptr) {
        return;
    }
    sigaction(SIGTERM, &m_former[0], nullptr);
    sigaction(SIGINT, &m_former[1], nullptr);
    m_notifier.reset();
    close(sPipe[0]);
    close(sPipe[1]);
}

void EndSignals::OnSignal(int)
{
    const char byte = 0;
    [[maybe_unused]] const ssize_t written = write(sPipe[1], &byte, 1);
}

} // namespace
