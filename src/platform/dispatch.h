// The table that leads a window's messages to the operations that handle them.
#pragma once

#include "platform/types.h"

#include <concepts>
#include <cstdint>

// Whatever owns a dispatch table: dialogs and the application object.
class CCmdTarget
{
public:
    virtual ~CCmdTarget() = default;
};

// One line of a dispatch table: for this message (of this control, with this notification code)
// make this call. A dialog takes the first line that fits.
struct DispatchEntry
{
    static constexpr int AnyId = -1;

    UINT message;
    int id;    // of the control for WM_COMMAND and WM_NOTIFY, else AnyId
    UINT code; // the notification code for WM_COMMAND and WM_NOTIFY, else 0
    LRESULT (*call)(CCmdTarget& target, WPARAM wParam, LPARAM lParam);
};

// The makers of the lines. Each takes the handler as a pointer to member, which may be private
// where the table is built inside the class; a handler of another shape does not compile.
namespace on {

template <typename Handler>
struct Shape;

template <typename Class, typename Result, typename... Arguments>
struct Shape<Result (Class::*)(Arguments...)>
{
    using Target = Class;
    using Call = Result(Arguments...);
};

template <auto Handler>
using TargetOf = typename Shape<decltype(Handler)>::Target;

template <auto Handler, typename Call>
concept HandlerOf = std::derived_from<TargetOf<Handler>, CCmdTarget> &&
    std::same_as<typename Shape<decltype(Handler)>::Call, Call>;

// The handler's result, 0 of one that has none.
template <auto Handler, typename... Arguments>
LRESULT Run(CCmdTarget& target, Arguments... arguments)
{
    auto& handling = static_cast<TargetOf<Handler>&>(target);
    if constexpr (HandlerOf<Handler, void(Arguments...)>) {
        (handling.*Handler)(arguments...);
        return 0;
    } else {
        return (handling.*Handler)(arguments...);
    }
}

template <typename Result, auto Handler>
requires HandlerOf<Handler, Result()>
constexpr DispatchEntry Plain(UINT message, int id = DispatchEntry::AnyId, UINT code = 0)
{
    return {message, id, code,
            [](CCmdTarget& target, WPARAM, LPARAM) { return Run<Handler>(target); }};
}

template <auto Handler>
constexpr DispatchEntry Paint()
{
    return Plain<void, Handler>(WM_PAINT);
}

template <auto Handler>
constexpr DispatchEntry Close()
{
    return Plain<void, Handler>(WM_CLOSE);
}

// A button, check box or radio button was clicked, or the dialog's IDOK or IDCANCEL was asked for.
template <auto Handler>
constexpr DispatchEntry Command(int id)
{
    return Plain<void, Handler>(WM_COMMAND, id, BN_CLICKED);
}

// An edit field lost the input focus.
template <auto Handler>
constexpr DispatchEntry LeaveField(int id)
{
    return Plain<void, Handler>(WM_COMMAND, id, EN_KILLFOCUS);
}

// Handler: void(UINT_PTR timer).
template <auto Handler>
requires HandlerOf<Handler, void(UINT_PTR)>
constexpr DispatchEntry Timer()
{
    return {WM_TIMER, DispatchEntry::AnyId, 0, [](CCmdTarget& target, WPARAM wParam, LPARAM) {
                return Run<Handler, UINT_PTR>(target, wParam);
            }};
}

// Handler: LRESULT(WPARAM, LPARAM).
template <auto Handler>
requires HandlerOf<Handler, LRESULT(WPARAM, LPARAM)>
constexpr DispatchEntry Message(UINT message)
{
    return {message, DispatchEntry::AnyId, 0, &Run<Handler, WPARAM, LPARAM>};
}

// Handler: void(UINT scrollCode, std::uint32_t thumbPosition).
template <auto Handler, UINT MessageNumber>
requires HandlerOf<Handler, void(UINT, std::uint32_t)>
constexpr DispatchEntry Scroll()
{
    return {MessageNumber, DispatchEntry::AnyId, 0, [](CCmdTarget& target, WPARAM wParam, LPARAM) {
                return Run<Handler>(target, static_cast<UINT>(wParam & 0xFFFF),
                                    static_cast<std::uint32_t>(wParam >> 16));
            }};
}

template <auto Handler>
constexpr DispatchEntry HorizontalScroll()
{
    return Scroll<Handler, WM_HSCROLL>();
}

template <auto Handler>
constexpr DispatchEntry VerticalScroll()
{
    return Scroll<Handler, WM_VSCROLL>();
}

// The mouse over a frame: every message but the wheel's. Handler: void(UINT flags, POINT point).
template <auto Handler>
requires HandlerOf<Handler, void(UINT, POINT)>
constexpr DispatchEntry Mouse(UINT message)
{
    return {message, DispatchEntry::AnyId, 0, [](CCmdTarget& target, WPARAM wParam, LPARAM lParam) {
                return Run<Handler>(target, static_cast<UINT>(wParam & 0xFFFF), PointOf(lParam));
            }};
}

// Handler: void(UINT flags, int turn, POINT point).
template <auto Handler>
requires HandlerOf<Handler, void(UINT, int, POINT)>
constexpr DispatchEntry MouseWheel()
{
    return {WM_MOUSEWHEEL, DispatchEntry::AnyId, 0,
            [](CCmdTarget& target, WPARAM wParam, LPARAM lParam) {
                return Run<Handler, UINT, int>(target, static_cast<UINT>(wParam & 0xFFFF),
                                               static_cast<std::int16_t>(wParam >> 16),
                                               PointOf(lParam));
            }};
}

// Handler: void(UINT type, int width, int height).
template <auto Handler>
requires HandlerOf<Handler, void(UINT, int, int)>
constexpr DispatchEntry Size()
{
    return {WM_SIZE, DispatchEntry::AnyId, 0, [](CCmdTarget& target, WPARAM wParam, LPARAM lParam) {
                const POINT size = PointOf(lParam);
                return Run<Handler, UINT, int, int>(target, static_cast<UINT>(wParam), size.x,
                                                    size.y);
            }};
}

// WM_KEYDOWN or WM_CHAR. Handler: void(UINT keyOrCharacter).
template <auto Handler>
requires HandlerOf<Handler, void(UINT)>
constexpr DispatchEntry Key(UINT message)
{
    return {message, DispatchEntry::AnyId, 0, [](CCmdTarget& target, WPARAM wParam, LPARAM) {
                return Run<Handler>(target, static_cast<UINT>(wParam));
            }};
}

// A track bar's notification. Handler: LRESULT().
template <auto Handler>
constexpr DispatchEntry Notify(UINT code, int id)
{
    return Plain<LRESULT, Handler>(WM_NOTIFY, id, code);
}

} // namespace on
