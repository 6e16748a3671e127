// The windows of open dialogs and boxes, and the order in which they stand.
#include "platform/win32/modal_window.h"

#include "platform/scope.h"

#include <atomic>
#include <deque>
#include <utility>

namespace {

constexpr win::UINT RunActions = WM_USER + 1;
constexpr win::UINT EndProgram = WM_USER + 2;
constexpr win::UINT_PTR StopTimer = 1;
constexpr win::UINT_PTR RunTimer = 2;
constexpr win::UINT RetryPeriod = 10; // milliseconds
constexpr int EndRetries = 1000;
constexpr wchar_t LaterClass[] = L"TarnTestLater";

std::deque<std::function<void()>> actions;
std::atomic<win::HWND> laterWindow = nullptr;
const win::MSG* taken = nullptr; // by DispatchToDialogs, the innermost
std::uint64_t dispatched = 1;    // by it, with the start of the program

// Since timers, paint requests and input were served.
DeliverySlice slice;

void ReleaseMouse();
bool IsOperatorAtWork();
void ServeOthers(bool withInput);
void StopAgain();
win::WINBOOL CALLBACK Block(win::HWND window, win::LPARAM blocked);
win::LRESULT CALLBACK LaterProc(win::HWND window, win::UINT message, win::WPARAM wParam,
                                win::LPARAM lParam);

} // namespace

NativeWindow::NativeWindow()
{
    if (!ModalLoop::Open().empty()) {
        const ModalLoop& below = *ModalLoop::Open().back();
        const win::HWND topmost = static_cast<NativeWindow&>(below.Window()).m_window;
        const bool isShown =
            win::IsWindowVisible(topmost) != FALSE && win::IsIconic(topmost) == FALSE;
        m_owner = isShown ? topmost : nullptr;
        m_isAboveBox = isShown && below.Dialog() == nullptr;
    }
    ReleaseMouse();
    win::EnumThreadWindows(win::GetCurrentThreadId(), &Block,
                           reinterpret_cast<win::LPARAM>(&m_blocked));
}

NativeWindow::~NativeWindow()
{
    Unblock();
    // The system gives the keyboard to the owner, from which a modeless dialog had it.
    if (m_before != m_owner && win::IsWindowVisible(m_before) != FALSE) {
        win::SetActiveWindow(m_before);
    }
    win::DestroyWindow(m_window);
}

void NativeWindow::Unblock()
{
    for (const win::HWND window : std::exchange(m_blocked, {})) {
        win::EnableWindow(window, TRUE);
    }
}

void NativeWindow::Show()
{
    win::ShowWindow(m_window, SW_SHOW);
}

void NativeWindow::Serve()
{
    if (slice.IsOver()) {
        return ServeOthers(true);
    }
    win::MSG message;
    if (win::GetMessageW(&message, nullptr, 0, 0) <= 0) {
        return ModalLoop::AskToEnd();
    }
    slice.Count();
    DispatchToDialogs(message);
}

// A loop waits for a message before it looks whether it is over. One of the system's may only begin
// or have opened something else meanwhile, so it is stopped again.
void NativeWindow::Stop()
{
    win::PostThreadMessageW(win::GetCurrentThreadId(), WM_NULL, 0, 0);
    win::SetTimer(laterWindow, StopTimer, RetryPeriod, nullptr);
}

void NativeWindow::Hide()
{
    Unblock();
    win::ShowWindow(m_window, SW_HIDE);
}

void DispatchToDialogs(win::MSG& message)
{
    const std::vector<ModalLoop*>& open = ModalLoop::Open();
    if (!open.empty() && static_cast<NativeWindow&>(open.back()->Window()).Ignores(message)) {
        return;
    }
    const ScopedValue<const win::MSG*> innermost(taken, &message);
    ++dispatched;
    const win::HWND top =
        message.hwnd != nullptr ? win::GetAncestor(message.hwnd, GA_ROOT) : nullptr;
    if (top == nullptr || win::IsDialogMessageW(top, &message) == FALSE) {
        win::TranslateMessage(&message);
        win::DispatchMessageW(&message);
    }
}

std::uint64_t DispatchedMessages()
{
    return dispatched;
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

// Menus, and the moving and dragging of things, run loops that stand in nobody's list here.
void CloseWindowsOfSystem()
{
    win::EndMenu();
    ReleaseMouse();
}

void RunSoon(std::function<void()> action)
{
    actions.push_back(std::move(action));
    // A storm of messages may have filled the queue.
    if (win::PostMessageW(laterWindow, RunActions, 0, 0) == FALSE) {
        win::SetTimer(laterWindow, RunTimer, RetryPeriod, nullptr);
    }
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
    for (int i = 0; i < EndRetries && win::PostMessageW(laterWindow, EndProgram, 0, 0) == FALSE;
         ++i) {
        win::Sleep(RetryPeriod);
    }
}

namespace {

// A drag behind a box would go on, for the system takes the mouse only from windows that it
// disables itself, and a control has it.
void ReleaseMouse()
{
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
    slice = DeliverySlice();
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

void StopAgain()
{
    const std::vector<ModalLoop*>& open = ModalLoop::Open();
    if (!open.empty() && open.back()->IsOver()) {
        open.back()->Window().Stop();
    } else {
        win::KillTimer(laterWindow, StopTimer);
    }
}

// Nothing may be thrown through the system's calls.
win::LRESULT CALLBACK LaterProc(win::HWND window, win::UINT message, win::WPARAM wParam,
                                win::LPARAM lParam)
try {
    if (message == EndProgram) {
        ModalLoop::AskToEnd();
    } else if (message == WM_TIMER && wParam == StopTimer) {
        StopAgain();
    } else if (message == RunActions || (message == WM_TIMER && wParam == RunTimer)) {
        if (actions.empty()) {
            win::KillTimer(laterWindow, RunTimer);
            return 0;
        }
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
