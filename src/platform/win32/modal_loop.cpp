// The nested message loops of dialogs and boxes, and the order in which their windows stand.
#include "platform/win32/modal_loop.h"

#include "platform/dialog_hooks.h"
#include "platform/scope.h"

#include <algorithm>
#include <atomic>
#include <deque>
#include <utility>

namespace {

constexpr int SliceMessages = 64;
constexpr std::uint64_t SliceMilliseconds = 8;
constexpr win::UINT RunActions = WM_USER + 1;
constexpr win::UINT EndProgram = WM_USER + 2;
constexpr win::UINT_PTR EndingTimer = 1;
constexpr win::UINT EndingPeriod = 10; // milliseconds
constexpr wchar_t LaterClass[] = L"TarnTestLater";

std::vector<ModalLoop*> loops; // outermost first
bool ending = false;
std::deque<std::function<void()>> actions;
std::atomic<win::HWND> laterWindow = nullptr;
const win::MSG* taken = nullptr; // by DispatchToDialogs, the innermost

// How many posted messages were served since the others were, and since when.
class Slice
{
public:
    void Count() { ++m_messages; }
    // Starts the next slice when this one is over.
    bool IsOver();

private:
    int m_messages = 0;
    std::uint64_t m_start = win::GetTickCount64();
};

bool Slice::IsOver()
{
    const std::uint64_t now = win::GetTickCount64();
    if (m_messages < SliceMessages && now - m_start < SliceMilliseconds) {
        return false;
    }
    m_messages = 0;
    m_start = now;
    return true;
}

Slice slice;

void LeaveSystemLoops();
bool IsOperatorAtWork();
void ServeOthers(bool withInput);
win::WINBOOL CALLBACK Block(win::HWND window, win::LPARAM blocked);
win::LRESULT CALLBACK LaterProc(win::HWND window, win::UINT message, win::WPARAM wParam,
                                win::LPARAM lParam);

} // namespace

ModalLoop::ModalLoop(std::function<void()> cancel, CDialog* dialog)
    : m_cancel(std::move(cancel)), m_dialog(dialog)
{
    if (!loops.empty()) {
        const win::HWND topmost = loops.back()->m_window;
        const bool isShown =
            win::IsWindowVisible(topmost) != FALSE && win::IsIconic(topmost) == FALSE;
        m_owner = isShown ? topmost : nullptr;
        m_isAboveBox = isShown && loops.back()->m_dialog == nullptr;
    }
    win::EnumThreadWindows(win::GetCurrentThreadId(), &Block,
                           reinterpret_cast<win::LPARAM>(&m_blocked));
    loops.push_back(this);
}

ModalLoop::~ModalLoop()
{
    Unblock();
    std::erase(loops, this);
    if (loops.empty() && m_dialog != nullptr) {
        ending = false;
    }
}

void ModalLoop::Unblock()
{
    for (const win::HWND window : std::exchange(m_blocked, {})) {
        win::EnableWindow(window, TRUE);
    }
}

void ModalLoop::Run()
{
    while (!m_over) {
        if (slice.IsOver()) {
            ServeOthers(true);
            continue;
        }
        win::MSG message;
        if (win::GetMessageW(&message, nullptr, 0, 0) <= 0) {
            AskToEnd();
            continue;
        }
        slice.Count();
        DispatchToDialogs(message);
    }
}

void ModalLoop::Quit(int result)
{
    if (std::exchange(m_over, true)) {
        return;
    }
    m_result = result;
    const auto self = std::find(loops.begin(), loops.end(), this);
    const std::vector<ModalLoop*> inside(self + 1, loops.end());
    std::for_each(inside.rbegin(), inside.rend(), [](ModalLoop* loop) { loop->m_cancel(); });
    // Loops wait for a message before they look whether they are over.
    win::PostThreadMessageW(win::GetCurrentThreadId(), WM_NULL, 0, 0);
}

ModalLoop* ModalLoop::Of(const CDialog* dialog)
{
    const auto found = std::find_if(loops.begin(), loops.end(), [dialog](const ModalLoop* loop) {
        return loop->m_dialog == dialog;
    });
    return found != loops.end() ? *found : nullptr;
}

bool ModalLoop::IsInnermost(const CDialog* dialog)
{
    return !loops.empty() && loops.back()->m_dialog == dialog;
}

bool ModalLoop::IsIgnored(const win::MSG& message)
{
    return !loops.empty() && loops.back()->Ignores(message);
}

void ModalLoop::AskToEnd()
{
    if (loops.empty()) {
        return;
    }
    ending = true;
    GoOnEnding();
    win::SetTimer(laterWindow, EndingTimer, EndingPeriod, nullptr);
}

void ModalLoop::GoOnEnding()
{
    if (loops.empty() || !ending) { // meanwhile the program has ended
        win::KillTimer(laterWindow, EndingTimer);
        return;
    }
    if (loops.size() > 1 || loops.front()->m_dialog == nullptr) {
        LeaveSystemLoops();
        const std::vector<ModalLoop*> open = loops;
        for (std::size_t i = open.size(); i-- > 0;) {
            if (i > 0 || open[i]->m_dialog == nullptr) {
                open[i]->m_cancel();
            }
        }
        return;
    }
    win::KillTimer(laterWindow, EndingTimer);
    ModalLoop* const outermost = loops.front();
    outermost->m_dialog->Send(WM_QUERYENDSESSION);
    ending = outermost->m_over; // a refusal lets boxes open again
}

bool IsSessionEnding()
{
    return ending;
}

void DispatchToDialogs(win::MSG& message)
{
    if (ModalLoop::IsIgnored(message)) {
        return;
    }
    const ScopedValue<const win::MSG*> dispatched(taken, &message);
    const win::HWND top =
        message.hwnd != nullptr ? win::GetAncestor(message.hwnd, GA_ROOT) : nullptr;
    if (top == nullptr || win::IsDialogMessageW(top, &message) == FALSE) {
        win::TranslateMessage(&message);
        win::DispatchMessageW(&message);
    }
}

void ServeBehindPosted(win::HWND window, win::UINT message, win::WPARAM wParam, win::LPARAM lParam)
{
    const bool ours = taken != nullptr && taken->hwnd == window && taken->message == message &&
                      taken->wParam == wParam && taken->lParam == lParam;
    if (ours) {
        return;
    }
    slice.Count();
    if (slice.IsOver()) {
        ServeOthers(!IsOperatorAtWork());
    }
}

void RunLater(std::function<void()> action)
{
    actions.push_back(std::move(action));
    win::PostMessageW(laterWindow, RunActions, 0, 0);
}

LaterWindow::LaterWindow()
{
    win::WNDCLASSW windowClass{};
    windowClass.lpfnWndProc = &LaterProc;
    windowClass.hInstance = win::GetModuleHandleW(nullptr);
    windowClass.lpszClassName = LaterClass;
    win::RegisterClassW(&windowClass);
    laterWindow = win::CreateWindowExW(0, LaterClass, L"", 0, 0, 0, 0, 0, Native(HWND_MESSAGE),
                                       nullptr, windowClass.hInstance, nullptr);
}

LaterWindow::~LaterWindow()
{
    win::DestroyWindow(laterWindow.exchange(nullptr));
    actions.clear();
}

void LaterWindow::PostEnd()
{
    win::PostMessageW(laterWindow, EndProgram, 0, 0);
}

namespace {

// Menus, and the moving and dragging of things, run loops that stand in nobody's list here.
void LeaveSystemLoops()
{
    win::EndMenu();
    if (const win::HWND capture = win::GetCapture(); capture != nullptr) {
        win::SendMessageW(capture, WM_CANCELMODE, 0, 0);
    }
}

// Moves or sizes a window, walks through a menu or drags something: the loop behind it needs the
// input itself.
bool IsOperatorAtWork()
{
    win::GUITHREADINFO state{};
    state.cbSize = sizeof state;
    win::GetGUIThreadInfo(win::GetCurrentThreadId(), &state);
    return state.hwndCapture != nullptr || (state.flags & (GUI_INMOVESIZE | GUI_INMENUMODE)) != 0;
}

void ServeOthers(bool withInput)
{
    const std::pair<win::UINT, win::UINT> kinds[] = {
        {WM_TIMER, PM_REMOVE},
        {0, PM_REMOVE | PM_QS_PAINT},
        {0, PM_REMOVE | PM_QS_INPUT},
    };
    for (const auto& [number, flags] : kinds) {
        win::MSG message;
        if ((withInput || flags != (PM_REMOVE | PM_QS_INPUT)) &&
            win::PeekMessageW(&message, nullptr, number, number, flags) != FALSE) {
            DispatchToDialogs(message);
        }
    }
}

win::WINBOOL CALLBACK Block(win::HWND window, win::LPARAM blocked)
{
    if (win::IsWindowVisible(window) != FALSE && win::EnableWindow(window, FALSE) == FALSE) {
        reinterpret_cast<std::vector<win::HWND>*>(blocked)->push_back(window);
    }
    return TRUE;
}

// Nothing may be thrown through the system's calls.
win::LRESULT CALLBACK LaterProc(win::HWND window, win::UINT message, win::WPARAM wParam,
                                win::LPARAM lParam)
try {
    if (message == EndProgram) {
        ModalLoop::AskToEnd();
    } else if (message == WM_TIMER && wParam == EndingTimer) {
        ModalLoop::GoOnEnding();
    } else if (message == RunActions && !actions.empty()) {
        const std::function<void()> action = std::move(actions.front());
        actions.pop_front();
        action();
    } else {
        return win::DefWindowProcW(window, message, wParam, lParam);
    }
    return 0;
} catch (...) {
    ReportCurrentException(nullptr);
    return 0;
}

} // namespace
