// The live windows and controls by handle.
#include "platform/qt/window_table.h"

#include "platform/native_window.h"

#include <unordered_map>

namespace {

std::unordered_map<HWND, WindowRecord> liveWindows;
std::uintptr_t lastHandle = 0x10000;

WindowRecord Find(HWND window)
{
    const auto found = liveWindows.find(window);
    return found != liveWindows.end() ? found->second : WindowRecord{};
}

} // namespace

QWidget* WidgetOf(HWND window)
{
    return Find(window).widget;
}

void* NativeWindowOf(HWND window)
{
    return WidgetOf(window);
}

DialogWindow* DialogOf(HWND window)
{
    return Find(window).dialog;
}

HWND AddWindow(const WindowRecord& record)
{
    lastHandle += 4;
    const HWND window = reinterpret_cast<HWND>(lastHandle);
    liveWindows.emplace(window, record);
    return window;
}

void RemoveWindow(HWND window)
{
    liveWindows.erase(window);
}
