// The queue of posted messages: filled from any thread, emptied by the user-interface thread.
#include "platform/messages.h"
#include "platform/policy.h"

#include <deque>
#include <map>
#include <mutex>

namespace {

constexpr std::size_t LongestQueue = 10'000;

struct PostedMessage
{
    HWND window;
    UINT message;
    WPARAM wParam;
    LPARAM lParam;
};

std::mutex mutex; // guards the following two
std::map<HWND, CDialog*> windows;
std::deque<PostedMessage> messages;

} // namespace

// Called from the libraries' threads, through which nothing may be thrown.
int PostMessageA(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
try {
    const std::lock_guard lock(mutex);
    if (!windows.contains(window) || messages.size() >= LongestQueue) {
        return 0;
    }
    if (messages.empty()) {
        AskForDelivery();
    }
    messages.push_back({window, message, wParam, lParam});
    return 1;
} catch (...) {
    return 0;
}

void OpenQueue(HWND window, CDialog& dialog)
{
    const std::lock_guard lock(mutex);
    windows.emplace(window, &dialog);
}

void CloseQueue(HWND window)
{
    const std::lock_guard lock(mutex);
    windows.erase(window);
    std::erase_if(messages, [window](const PostedMessage& m) { return m.window == window; });
}

std::size_t PostedMessages()
{
    const std::lock_guard lock(mutex);
    return messages.size();
}

bool DeliverPosted()
{
    PostedMessage next{};
    CDialog* dialog = nullptr;
    {
        const std::lock_guard lock(mutex);
        if (messages.empty()) {
            return false;
        }
        next = messages.front();
        messages.pop_front();
        dialog = windows.at(next.window);
    }
    dialog->Send(next.message, next.wParam, next.lParam);
    return true;
}
