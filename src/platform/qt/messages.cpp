// The queue of posted messages: filled from any thread, emptied in small slices by the
// user-interface thread.
#include "platform/qt/messages.h"

#include "platform/dialog.h"
#include "platform/messages.h"
#include "platform/qt/dialog_window.h"
#include "platform/qt/window_table.h"

#include <QBasicTimer>
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEvent>
#include <QObject>

#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <unordered_set>

namespace {

constexpr std::size_t LongestQueue = 10'000;
constexpr int SliceMessages = 64;
constexpr int SliceMilliseconds = 8;

struct PostedMessage
{
    HWND window;
    UINT message;
    WPARAM wParam;
    LPARAM lParam;
};

// Delivers what the queue holds. A slice is started by a zero timer and not by the toolkit's own
// posted events: it fires once a round of the event loop, after input, painting and other timers.
class Deliverer : public QObject
{
protected:
    void customEvent(QEvent*) override { m_next.start(0, this); }
    void timerEvent(QTimerEvent*) override;

private:
    QBasicTimer m_next;
};

std::mutex mutex; // guards the following four
std::unordered_set<HWND> windows;
std::deque<PostedMessage> messages;
std::unique_ptr<Deliverer> deliverer; // exists while there is a window
bool delivering = false;              // a slice is asked for

std::optional<PostedMessage> TakeMessage();

} // namespace

// Called from the libraries' threads, through which nothing may be thrown.
int PostMessageA(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
try {
    const std::lock_guard lock(mutex);
    if (!windows.contains(window) || messages.size() >= LongestQueue) {
        return 0;
    }
    auto wake = delivering ? nullptr : std::make_unique<QEvent>(QEvent::User);
    messages.push_back({window, message, wParam, lParam});
    if (wake != nullptr) {
        QCoreApplication::postEvent(deliverer.get(), wake.release());
        delivering = true;
    }
    return 1;
} catch (...) {
    return 0;
}

void OpenQueue(HWND window)
{
    const std::lock_guard lock(mutex);
    if (windows.empty()) {
        deliverer = std::make_unique<Deliverer>();
    }
    windows.insert(window);
}

void CloseQueue(HWND window)
{
    std::unique_ptr<Deliverer> last;
    const std::lock_guard lock(mutex);
    windows.erase(window);
    std::erase_if(messages, [window](const PostedMessage& m) { return m.window == window; });
    if (windows.empty()) {
        last = std::move(deliverer);
        delivering = false;
    }
}

namespace {

// The next slice is asked for before a message is delivered: its handler may open a box, whose
// loop then goes on with the messages behind it.
void Deliverer::timerEvent(QTimerEvent*)
{
    m_next.stop();
    QElapsedTimer slice;
    slice.start();
    for (int i = 0; i < SliceMessages && slice.elapsed() < SliceMilliseconds; ++i) {
        const std::optional<PostedMessage> next = TakeMessage();
        if (!next) {
            return;
        }
        m_next.start(0, this);
        if (DialogWindow* const dialog = DialogOf(next->window)) {
            dialog->Dialog().Send(next->message, next->wParam, next->lParam);
        }
    }
}

// After the last message no slice is pending; the next posting asks for one.
std::optional<PostedMessage> TakeMessage()
{
    const std::lock_guard lock(mutex);
    if (messages.empty()) {
        delivering = false;
        return std::nullopt;
    }
    const PostedMessage next = messages.front();
    messages.pop_front();
    return next;
}

} // namespace
