// Posted messages, timers on a clock that only RunFor moves, and paint requests.
#include "platform/beeper.h"
#include "platform/headless/desktop.h"
#include "platform/policy.h"
#include "platform/scope.h"

#include <algorithm>
#include <utility>

using namespace headless;

namespace {

std::size_t ServeTimers();
std::size_t ServePaintRequests();
std::size_t ServeSliders();
std::vector<HWND> OpenDialogs();

} // namespace

void AskForDelivery()
{
    desktop.posted.release();
}

bool IsPainting()
{
    return desktop.painted != nullptr;
}

BOOL Beep(DWORD, DWORD)
{
    ++desktop.beeps;
    return TRUE;
}

namespace headless {

std::size_t Pump()
{
    std::size_t served = 0;
    for (std::size_t waiting = PostedMessages(); served < waiting && DeliverPosted(); ++served) {
    }
    served += ServeTimers();
    served += ServePaintRequests();
    served += ServeSliders();
    RunSoonActions();
    return served;
}

void Paint()
{
    ServePaintRequests();
}

void RunFor(std::uint32_t milliseconds)
{
    const std::uint64_t end = desktop.now + milliseconds;
    for (;;) {
        Pump();
        const auto next = std::ranges::min_element(desktop.timers, {}, &Timer::due);
        if (next == desktop.timers.end() || next->due > end) {
            break;
        }
        desktop.now = std::max(desktop.now, next->due);
    }
    desktop.now = std::max(desktop.now, end);
}

std::uint64_t Now()
{
    return desktop.now;
}

bool WaitForPost(std::chrono::milliseconds limit)
{
    const auto end = std::chrono::steady_clock::now() + limit;
    while (PostedMessages() == 0) {
        if (!desktop.posted.try_acquire_until(end)) {
            return false;
        }
    }
    return true;
}

void RunSoonActions()
{
    for (const auto& action : std::exchange(desktop.soon, {})) {
        action();
    }
}

std::size_t Beeps()
{
    return desktop.beeps;
}

} // namespace headless

namespace {

// A handler may start and kill timers and run nested loops, so each look at the list is a new one.
// The longest due comes first: a handler slower than its own timer does not starve the others.
std::size_t ServeTimers()
{
    std::size_t served = 0;
    for (std::size_t turns = desktop.timers.size(); turns > 0; --turns) {
        const auto due = std::ranges::min_element(desktop.timers, {}, &Timer::due);
        if (due == desktop.timers.end() || due->due > desktop.now) {
            break;
        }
        due->due = desktop.now + std::max<std::uint32_t>(due->period, 1);
        const Window* const window = Find(due->window);
        if (window != nullptr && ModalLoop::IsOpen(*window->dialog)) {
            window->dialog->Send(WM_TIMER, due->id);
            ++served;
        }
    }
    return served;
}

std::size_t ServePaintRequests()
{
    std::size_t served = 0;
    for (const HWND handle : OpenDialogs()) {
        Window* const window = Find(handle);
        if (window == nullptr || !window->visible || !std::exchange(window->invalid, false)) {
            continue;
        }
        const ScopedValue painted(desktop.painted, handle);
        desktop.paintBegun.clear();
        window->dialog->Send(WM_PAINT);
        ++served;
    }
    return served;
}

// A track bar that changed tells its dialog while it is drawn.
std::size_t ServeSliders()
{
    std::size_t served = 0;
    for (const HWND handle : OpenDialogs()) {
        const CDialog* const dialog = Find(handle) != nullptr ? Find(handle)->dialog : nullptr;
        if (dialog == nullptr) {
            continue;
        }
        for (const ControlTemplate& line : dialog->Template().controls) {
            Window* const slider = line.kind == ControlKind::TrackBar
                                       ? headless::FindControl(*dialog, line.id)
                                       : nullptr;
            if (slider == nullptr || !std::exchange(slider->invalid, false)) {
                continue;
            }
            const NMHDR header{slider->handle, static_cast<UINT_PTR>(line.id), NM_CUSTOMDRAW};
            slider->dialog->Send(WM_NOTIFY, header.idFrom, reinterpret_cast<LPARAM>(&header));
            ++served;
        }
    }
    return served;
}

std::vector<HWND> OpenDialogs()
{
    std::vector<HWND> open;
    for (const ModalLoop* loop : ModalLoop::Open()) {
        if (loop->Dialog() != nullptr && !loop->IsOver()) {
            open.push_back(loop->Dialog()->GetSafeHwnd());
        }
    }
    return open;
}

} // namespace
