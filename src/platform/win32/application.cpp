// The system's set-up, the requests to end the program, and the beeper.
#include "platform/win32/accessibility.h"
#include "platform/win32/dialog_window.h"

#include <algorithm>
#include <atomic>
#include <csignal>

namespace {

constexpr win::DWORD EndingTakesAtMost = 5000; // milliseconds; the system waits no longer
constexpr int MostTones = 4;                   // that wait to be sounded

// Turns the end of a console's, a user's or the system's session, Ctrl+C and the signals of the C
// library into the orderly end of the program.
class EndRequests
{
public:
    EndRequests();
    ~EndRequests();
    EndRequests(const EndRequests&) = delete;
    EndRequests& operator=(const EndRequests&) = delete;

private:
    static win::WINBOOL WINAPI OnControl(win::DWORD event);
    static void OnSignal(int);

    // Set once the program has ended: the process is torn down when OnControl returns.
    static inline win::HANDLE sEnded = nullptr;
    static inline std::atomic<bool> sAsked = false;
};

std::atomic<int> tones = 0;

win::DWORD WINAPI SoundTone(void* packed);

} // namespace

std::shared_ptr<void> StartWindowSystem(int&, char**)
{
    win::INITCOMMONCONTROLSEX controls{sizeof controls, ICC_STANDARD_CLASSES | ICC_BAR_CLASSES};
    win::InitCommonControlsEx(&controls);
    RegisterFrameClass();
    struct System
    {
        AccessibilitySupport m_accessibility;
        LaterWindow m_later;
        EndRequests m_endRequests;
    };
    return std::make_shared<System>();
}

// The system's call returns when the tone has ended.
BOOL Beep(DWORD frequency, DWORD duration)
{
    if (++tones > MostTones) {
        --tones;
        return FALSE;
    }
    const auto packed = static_cast<std::uintptr_t>((frequency & 0xFFFF) << 16) |
                        std::min<std::uintptr_t>(duration, 0xFFFF);
    return win::QueueUserWorkItem(&SoundTone, reinterpret_cast<void*>(packed),
                                  WT_EXECUTELONGFUNCTION);
}

namespace {

EndRequests::EndRequests()
{
    sAsked = false;
    sEnded = win::CreateEventW(nullptr, TRUE, FALSE, nullptr);
    win::SetConsoleCtrlHandler(&OnControl, TRUE);
    std::signal(SIGTERM, &OnSignal);
}

EndRequests::~EndRequests()
{
    std::signal(SIGTERM, SIG_DFL);
    win::SetConsoleCtrlHandler(&OnControl, FALSE);
    win::SetEvent(sEnded);
    win::CloseHandle(sEnded);
}

win::WINBOOL WINAPI EndRequests::OnControl(win::DWORD event)
{
    // A second one ends the process at once: a call into a library that never returns cannot be
    // waited for.
    if (sAsked.exchange(true)) {
        return FALSE;
    }
    LaterWindow::PostEnd();
    if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT) {
        win::WaitForSingleObject(sEnded, EndingTakesAtMost);
    }
    return TRUE;
}

void EndRequests::OnSignal(int)
{
    LaterWindow::PostEnd(); // the next one ends the process: a handler holds for one signal
}

win::DWORD WINAPI SoundTone(void* packed)
{
    const auto tone = reinterpret_cast<std::uintptr_t>(packed);
    win::Beep(static_cast<win::DWORD>(tone >> 16 & 0xFFFF), static_cast<win::DWORD>(tone & 0xFFFF));
    --tones;
    return 0;
}

} // namespace
