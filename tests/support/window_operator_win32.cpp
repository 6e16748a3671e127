// An operator over the windows of the system. Input is handed to the windows as the loops of
// dialogs take it from the queue, so that it does not depend on which program has the screen's
// keyboard.
#include "platform/win32/dialog_window.h"
#include "platform/win32/text.h"
#include "support/window_operator.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <map>
#include <utility>

namespace {

constexpr wchar_t SeenMark[] = L"TarnTestSeen";
constexpr int FileNameField = 0x47C; // of the system's open-file dialog
constexpr LPARAM Released = 3 << 30;
constexpr UINT HelpKey = 0x4D; // the message that the system makes of F1

// As the loop that runs, without the system's own.
void ServeOnce()
{
    static_cast<NativeWindow&>(ModalLoop::Open().back()->Window()).NativeWindow::Serve();
}

// What waits already.
void Settle()
{
    constexpr int Most = 100; // a storm does not end
    win::MSG message;
    for (int i = 0; i < Most && win::PeekMessageW(&message, nullptr, 0, 0, PM_NOREMOVE) != FALSE;
         ++i) {
        ServeOnce();
    }
}

void Send(win::HWND window, UINT message, WPARAM wParam, LPARAM lParam = 0)
{
    win::MSG input{window, message, wParam, lParam, win::GetTickCount(), {}};
    DispatchToDialogs(input);
}

win::HWND Keyboard()
{
    return win::GetFocus() != nullptr ? win::GetFocus() : win::GetActiveWindow();
}

// The window manager gives it to the topmost window some time after another has opened or closed.
void AwaitKeyboard()
{
    const auto& top = static_cast<NativeWindow&>(ModalLoop::Open().back()->Window());
    for (int i = 0; i < 20 && win::GetForegroundWindow() != top.Window(); ++i) {
        ServeOnce();
    }
}

// Until it stays: after a box the window manager may take it away for a moment and give it back.
std::uint64_t answered = 0; // when, in milliseconds
void AwaitCalm()
{
    constexpr std::uint64_t Longest = 100;
    while (win::GetTickCount64() - answered < Longest) {
        ServeOnce();
    }
}

// The press may move the focus, and the release goes where it is then.
void PressKey(WPARAM key)
{
    AwaitKeyboard();
    Send(Keyboard(), WM_KEYDOWN, key);
    win::MSG character;
    while (win::PeekMessageW(&character, nullptr, WM_CHAR, WM_DEADCHAR, PM_REMOVE) != FALSE) {
        DispatchToDialogs(character);
    }
    Send(Keyboard(), WM_KEYUP, key, Released);
}

// The click is lost when a rejected field takes the focus back; the release comes after whatever
// the program has posted to itself.
bool PressMouse(win::HWND button)
{
    const LPARAM inside = MAKELPARAM(3, 3);
    Send(button, WM_LBUTTONDOWN, MK_LBUTTON, inside);
    const bool isReached = win::GetFocus() == button;
    win::MSG posted;
    while (!isReached &&
           win::PeekMessageW(&posted, nullptr, 0, 0, PM_REMOVE | PM_QS_POSTMESSAGE) != FALSE) {
        DispatchToDialogs(posted);
    }
    Send(button, WM_LBUTTONUP, 0, inside);
    return isReached;
}

std::string TextOf(win::HWND window)
{
    std::string text = CWnd(Contract(window)).GetWindowText();
    std::erase(text, '\r');
    return text;
}

ShownBox SeenBox(win::HWND box)
{
    ShownBox seen{"", TextOf(box), 0};
    win::HICON icon = nullptr;
    for (win::HWND child = win::GetWindow(box, GW_CHILD); child != nullptr;
         child = win::GetWindow(child, GW_HWNDNEXT)) {
        if (IsOfClass(child, L"Static") || IsOfClass(child, EditClass)) {
            seen.text += TextOf(child);
            const auto shown = win::SendMessageW(child, STM_GETICON, 0, 0);
            icon = shown != 0 ? reinterpret_cast<win::HICON>(shown) : icon;
        }
    }
    seen.style = win::GetDlgItem(box, IDYES) != nullptr      ? MB_YESNO
                 : win::GetDlgItem(box, IDCANCEL) != nullptr ? MB_OKCANCEL
                                                             : MB_OK;
    const std::pair<const wchar_t*, UINT> icons[] = {{IDI_ERROR, MB_ICONHAND},
                                                     {IDI_WARNING, MB_ICONEXCLAMATION},
                                                     {IDI_INFORMATION, MB_ICONASTERISK}};
    for (const auto& [name, style] : icons) {
        seen.style |= icon != nullptr && icon == win::LoadIconW(nullptr, name) ? style : 0;
    }
    const auto extended = static_cast<win::DWORD>(win::GetWindowLongW(box, GWL_EXSTYLE));
    seen.style |= (extended & WS_EX_TOPMOST) != 0 ? MB_TOPMOST : 0;
    return seen;
}

win::HWND OpenBox(const std::string& text)
{
    for (const ModalLoop* const loop : ModalLoop::Open()) {
        const win::HWND window = static_cast<NativeWindow&>(loop->Window()).Window();
        if (loop->Dialog() == nullptr && win::IsWindowVisible(window) != FALSE &&
            SeenBox(window).text == text) {
            return window;
        }
    }
    return nullptr;
}

std::map<win::UINT_PTR, std::function<void()>> later; // by timer

void CALLBACK RunLater(win::HWND, win::UINT, win::UINT_PTR timer, win::DWORD)
{
    win::KillTimer(nullptr, timer);
    const auto action = later.extract(timer);
    if (!action.empty()) {
        action.mapped()();
    }
}

} // namespace

struct Operator::Desk
{
    static void CALLBACK Look(win::HWND, win::UINT, win::UINT_PTR, win::DWORD);
    static void Answer(win::HWND box);
    static void Choose(win::HWND dialog);
    // The control of the innermost dialog; the second one null when the mouse cannot reach it.
    static win::HWND Find(int id);
    static win::HWND Reach(int id);

    static inline Operator* sHand = nullptr;
    win::UINT_PTR m_looks = win::SetTimer(nullptr, 0, 1, &Look); // also wakes Wait
    UINT m_buttons = 0;                                          // that are held down, MK_...
    LPARAM m_place = -1;                                         // of the mouse
};

Operator::Operator() : m_desk(std::make_unique<Desk>())
{
    Desk::sHand = this;
    win::SetCursorPos(0, 0); // away from the windows, which would see it move
}

Operator::~Operator()
{
    win::KillTimer(nullptr, m_desk->m_looks);
    later.clear();
    Desk::sHand = nullptr;
}

// Meets the window that is shown first of those that the operator has not seen yet.
void CALLBACK Operator::Desk::Look(win::HWND, win::UINT, win::UINT_PTR, win::DWORD)
{
    const std::vector<ModalLoop*> open = ModalLoop::Open();
    for (const ModalLoop* const loop : open) {
        const win::HWND own = static_cast<NativeWindow&>(loop->Window()).Window();
        for (const win::HWND window :
             {own, own != nullptr && loop->Dialog() == nullptr ? win::GetLastActivePopup(own)
                                                               : nullptr}) {
            if (win::IsWindowVisible(window) == FALSE ||
                win::GetPropW(window, SeenMark) != nullptr) {
                continue;
            }
            win::SetPropW(window, SeenMark, window);
            if (loop->Dialog() != nullptr) {
                return sHand->Use(*loop->Dialog());
            }
            return win::GetDlgItem(window, FileNameField) != nullptr ? Choose(window)
                                                                     : Answer(window);
        }
    }
}

void Operator::Desk::Answer(win::HWND box)
{
    const ShownBox seen = SeenBox(box);
    const int answer = sHand->Meet(seen);
    answered = win::GetTickCount64();
    if (win::IsWindowVisible(box) == FALSE) {
        return;
    }
    // Not as the mouse does: a question ignores that at first.
    if (const win::HWND button = win::GetDlgItem(box, answer); answer != 0 && button != nullptr) {
        win::SendMessageW(button, BM_CLICK, 0, 0);
        return;
    }
    if (answer != 0) {
        ADD_FAILURE() << "The box does not offer the answer " << answer << ": " << seen.text;
    }
    PressKey(VK_ESCAPE);
}

void Operator::Desk::Choose(win::HWND dialog)
{
    const std::string path = sHand->MeetFileDialog();
    if (win::IsWindowVisible(dialog) != FALSE && !path.empty()) {
        const auto edit = reinterpret_cast<win::HWND>(
            win::SendDlgItemMessageW(dialog, FileNameField, CBEM_GETEDITCONTROL, 0, 0));
        win::SetWindowTextW(edit, Wide(path).c_str());
        PressMouse(win::GetDlgItem(dialog, IDOK));
    }
    if (win::IsWindowVisible(dialog) != FALSE) {
        EXPECT_EQ(path, "") << "The open-file dialog does not open it";
        PressMouse(win::GetDlgItem(dialog, IDCANCEL));
    }
}

win::HWND Operator::Desk::Find(int id)
{
    AwaitCalm();
    AwaitKeyboard();
    const win::HWND window = Native(ModalLoop::TopDialog()->GetSafeHwnd());
    const win::HWND control = win::GetDlgItem(window, id);
    EXPECT_NE(control, nullptr) << "The dialog has no such control " << id;
    return control;
}

win::HWND Operator::Desk::Reach(int id)
{
    const win::HWND control = Find(id);
    const bool isReached = win::IsWindowEnabled(control) != FALSE &&
                           win::IsWindowVisible(control) != FALSE &&
                           win::IsWindowEnabled(win::GetParent(control)) != FALSE;
    return isReached ? control : nullptr;
}

bool Operator::Wait(const std::function<bool()>& condition, int milliseconds)
{
    const std::uint64_t end = win::GetTickCount64() + static_cast<std::uint64_t>(milliseconds);
    while (!condition()) {
        if (win::GetTickCount64() > end) {
            return false;
        }
        ServeOnce();
    }
    return true;
}

bool Operator::Click(int id)
{
    const win::HWND button = Desk::Reach(id);
    return button != nullptr && PressMouse(button);
}

bool Operator::Focus(int id)
{
    const win::HWND control = Desk::Reach(id);
    if (control != nullptr) {
        win::SendMessageW(win::GetParent(control), WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(control),
                          TRUE);
        AwaitCalm();
    }
    return control != nullptr && win::GetFocus() == control;
}

void Operator::Type(int id, const std::string& text)
{
    if (!Focus(id)) {
        return;
    }
    win::SendMessageW(Keyboard(), EM_SETSEL, 0, -1);
    PressKey(VK_DELETE);
    for (const wchar_t character : Wide(text)) {
        Send(Keyboard(), WM_CHAR, character);
    }
}

// The mouse would not reach every position of a track bar.
void Operator::Drag(int id, int position)
{
    const win::HWND bar = Desk::Reach(id);
    if (IsOfClass(bar, ScrollBarClass)) {
        win::SCROLLBARINFO info{};
        info.cbSize = sizeof info;
        win::SendMessageW(bar, SBM_GETSCROLLBARINFO, 0, reinterpret_cast<LPARAM>(&info));
        int minimum = 0, maximum = 0;
        CScrollBar(Contract(bar)).GetScrollRange(&minimum, &maximum);
        const int thumb = info.xyThumbBottom - info.xyThumbTop;
        const int way = static_cast<int>(info.rcScrollBar.right - info.rcScrollBar.left) -
                        2 * info.dxyLineButton - thumb;
        const int from = info.xyThumbTop + thumb / 2;
        const int to =
            info.dxyLineButton + thumb / 2 + (position - minimum) * way / (maximum - minimum);
        win::PostMessageW(bar, WM_MOUSEMOVE, MK_LBUTTON, MAKELPARAM(to, 5));
        win::PostMessageW(bar, WM_LBUTTONUP, 0, MAKELPARAM(to, 5));
        return Send(bar, WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(from, 5));
    }
    win::RECT thumb{};
    win::SendMessageW(bar, TBM_GETTHUMBRECT, 0, reinterpret_cast<LPARAM>(&thumb));
    const LPARAM grip = MAKELPARAM((thumb.left + thumb.right) / 2, (thumb.top + thumb.bottom) / 2);
    Send(bar, WM_LBUTTONDOWN, MK_LBUTTON, grip);
    win::SendMessageW(bar, TBM_SETPOS, TRUE, position);
    Send(bar, WM_LBUTTONUP, 0, grip);
    Settle();
}

void Operator::PressEnter()
{
    PressKey(VK_RETURN);
}

void Operator::PressEscape()
{
    PressKey(VK_ESCAPE);
}

void Operator::CloseWindow()
{
    win::SendMessageW(Native(Dialog().GetSafeHwnd()), WM_SYSCOMMAND, SC_CLOSE, 0);
}

void Operator::Mouse(int id, UINT what, int x, int y, UINT flags)
{
    const win::HWND frame = Desk::Find(id);
    const LPARAM place = MAKELPARAM(x, y);
    const UINT button = what >= WM_RBUTTONDOWN ? MK_RBUTTON : MK_LBUTTON;
    if (what == WM_LBUTTONDBLCLK) {
        Mouse(id, WM_LBUTTONDOWN, x, y, flags);
        Mouse(id, WM_LBUTTONUP, x, y, flags);
    }
    if (std::exchange(m_desk->m_place, place) != place) {
        Send(frame, WM_MOUSEMOVE, m_desk->m_buttons | flags, place);
    }
    if (what == WM_MOUSEMOVE) {
        return;
    }
    const bool releases = what == WM_LBUTTONUP || what == WM_RBUTTONUP;
    m_desk->m_buttons = releases ? m_desk->m_buttons & ~button : m_desk->m_buttons | button;
    Send(frame, what, m_desk->m_buttons | flags, place);
    if (what == WM_LBUTTONDBLCLK) {
        Mouse(id, WM_LBUTTONUP, x, y, flags);
    }
}

void Operator::TurnWheel(int id, int turn, int x, int y)
{
    win::POINT place{x, y};
    win::ClientToScreen(Desk::Find(id), &place);
    Send(Desk::Find(id), WM_MOUSEWHEEL, MAKEWPARAM(m_desk->m_buttons, turn & 0xFFFF),
         MAKELPARAM(place.x, place.y));
}

void Operator::Drop(const std::string& path)
{
    const std::wstring files = Wide(path) + std::wstring(2, L'\0');
    const win::DWORD head[5] = {sizeof head, 0, 0, FALSE,
                                TRUE}; // the point; of the client area, wide
    const std::size_t size = files.size() * sizeof(wchar_t);
    const win::HGLOBAL memory = win::GlobalAlloc(GHND, sizeof head + size);
    auto* const bytes = static_cast<char*>(win::GlobalLock(memory));
    std::memcpy(bytes, head, sizeof head);
    std::memcpy(bytes + sizeof head, files.data(), size);
    win::GlobalUnlock(memory);
    Send(Native(Dialog().GetSafeHwnd()), WM_DROPFILES, reinterpret_cast<WPARAM>(memory));
}

CDialog& Operator::Dialog() const
{
    return *ModalLoop::TopDialog();
}

bool Operator::HasFocus(int id) const
{
    return win::GetFocus() == Desk::Find(id);
}

bool Operator::TakesInput() const
{
    return win::IsWindowEnabled(Native(Dialog().GetSafeHwnd())) != FALSE;
}

void WindowOperator::Press(Key key)
{
    constexpr WPARAM Keys[] = {VK_RETURN, VK_ESCAPE, VK_F1,    VK_SPACE, VK_LEFT, VK_RIGHT,
                               VK_UP,     VK_DOWN,   VK_PRIOR, VK_NEXT,  VK_HOME, VK_END};
    PressKey(Keys[static_cast<int>(key)]);
    if (key == Key::Help) {
        Send(Keyboard(), HelpKey, 0);
    }
}

void WindowOperator::Press(int id, Key key)
{
    if (Focus(id)) {
        Press(key);
    }
}

void WindowOperator::PressLetter(char letter, bool withAlt)
{
    if (withAlt) {
        return Send(Keyboard(), WM_SYSCHAR, static_cast<WPARAM>(letter), 1 << 29);
    }
    PressKey(letter == '+' ? VK_ADD : static_cast<WPARAM>(win::VkKeyScanW(letter) & 0xFF));
}

void WindowOperator::Resize(int wider, int higher)
{
    const win::HWND window = Native(Dialog().GetSafeHwnd());
    win::RECT place{};
    win::GetWindowRect(window, &place);
    win::SetWindowPos(window, nullptr, 0, 0, place.right - place.left + wider,
                      place.bottom - place.top + higher, SWP_NOMOVE | SWP_NOZORDER);
}

void WindowOperator::Maximize()
{
    win::ShowWindow(Native(Dialog().GetSafeHwnd()), SW_MAXIMIZE);
}

void WindowOperator::Invoke(int id)
{
    win::SendMessageW(Desk::Find(id), BM_CLICK, 0, 0);
}

void WindowOperator::Later(int milliseconds, std::function<void()> action)
{
    later[win::SetTimer(nullptr, 0, static_cast<win::UINT>(milliseconds), &RunLater)] =
        std::move(action);
}

bool WindowOperator::TryToAnswer(const std::string& text, int answer)
{
    const win::HWND box = OpenBox(text);
    win::SendMessageW(win::GetDlgItem(box, answer), BM_CLICK, 0, 0);
    return box != nullptr;
}

void WindowOperator::PressInBox(const std::string& text, int answer)
{
    PressMouse(win::GetDlgItem(OpenBox(text), answer));
}

bool WindowOperator::IsBoxOpen(const std::string& text) const
{
    return OpenBox(text) != nullptr;
}

std::pair<int, int> WindowOperator::PlaceOfBox(const std::string& text) const
{
    win::RECT place{};
    win::GetWindowRect(OpenBox(text), &place);
    return {static_cast<int>(place.left), static_cast<int>(place.top)};
}

std::string WindowOperator::ActiveTitle() const
{
    return TextOf(win::GetActiveWindow());
}

unsigned WindowOperator::Pixel(int id, int x, int y) const
{
    Settle();
    const win::HWND control = Desk::Find(id);
    const win::HDC dc = win::GetDC(control);
    const win::COLORREF color = win::GetPixel(dc, x, y);
    win::ReleaseDC(control, dc);
    return GetRValue(color) << 16 | GetGValue(color) << 8 | GetBValue(color);
}

bool WindowOperator::LooksRejected(int id) const
{
    return Pixel(id, 1, 8) == 0xFFC8C8;
}
