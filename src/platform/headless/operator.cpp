// What an operator does and sees.
#include "platform/headless/desktop.h"

#include <algorithm>

namespace headless {

namespace {

// The control when an operator can work it now, the focus moved to it; else null.
Window* Reach(CDialog& dialog, int id);
void ChooseRadioButton(const CDialog& dialog, const Window& chosen);
bool Ask(CDialog& dialog, UINT message, WPARAM wParam = 0, LPARAM lParam = 0);

} // namespace

void SetOperator(Operator newOperator)
{
    desktop.atTheScreen = std::make_shared<const Operator>(std::move(newOperator));
}

void Reset()
{
    SetOperator({});
    desktop.timers.clear();
    desktop.now = 0;
    desktop.focus = nullptr;
    desktop.picture = {};
    desktop.beeps = 0;
    const std::lock_guard lock(desktop.queue.mutex);
    desktop.queue.messages.clear();
}

void SetBaseUnits(int width, int height)
{
    desktop.baseWidth = width;
    desktop.baseHeight = height;
}

void EndSession()
{
    if (desktop.loops.empty()) {
        return;
    }
    desktop.sessionEnded = true;
    ModalLoop* const outermost = desktop.loops.front();
    const std::vector<ModalLoop*> inside(desktop.loops.begin() + 1, desktop.loops.end());
    for (auto loop = inside.rbegin(); loop != inside.rend(); ++loop) {
        (*loop)->Dialog() != nullptr ? (*loop)->Dialog()->EndDialog(IDCANCEL) : (*loop)->Quit();
    }
    if (outermost->Dialog() == nullptr) {
        outermost->Quit();
    }
    AskOutermostToEnd();
}

bool IsOpen(const CDialog& dialog)
{
    const ModalLoop* const loop = LoopOf(dialog);
    return loop != nullptr && !loop->IsOver();
}

bool TakesInput(const CDialog& dialog)
{
    return IsOpen(dialog) && desktop.loops.back()->Dialog() == &dialog;
}

CDialog* TopDialog()
{
    const auto top = std::find_if(desktop.loops.rbegin(), desktop.loops.rend(),
                                  [](const ModalLoop* loop) { return loop->Dialog() != nullptr; });
    return top == desktop.loops.rend() ? nullptr : (*top)->Dialog();
}

bool Click(CDialog& dialog, int id)
{
    Window* const control = Reach(dialog, id);
    if (control == nullptr) {
        return false;
    }
    if (control->control->kind == ControlKind::CheckBox) {
        control->checked = control->checked == 0 ? 1 : 0;
    } else if (control->control->kind == ControlKind::RadioButton) {
        ChooseRadioButton(dialog, *control);
    }
    dialog.Send(WM_COMMAND, MAKEWPARAM(static_cast<UINT>(id), BN_CLICKED));
    return true;
}

bool Type(CDialog& dialog, int id, const std::string& text)
{
    Window* const field = Reach(dialog, id);
    if (field == nullptr || field->control->kind != ControlKind::Edit) {
        return false;
    }
    field->text = text;
    field->rejected = false;
    return true;
}

bool Focus(CDialog& dialog, int id)
{
    return Reach(dialog, id) != nullptr;
}

bool Drag(CDialog& dialog, int id, int position)
{
    Window* const slider = Reach(dialog, id);
    if (slider == nullptr || slider->control->kind != ControlKind::TrackBar) {
        return false;
    }
    slider->position = std::clamp(position, slider->minimum, slider->maximum);
    for (const UINT code : {NM_CUSTOMDRAW, NM_RELEASEDCAPTURE}) {
        const NMHDR header{dialog.GetDlgItem(id).GetSafeHwnd(), static_cast<UINT_PTR>(id), code};
        dialog.Send(WM_NOTIFY, header.idFrom, reinterpret_cast<LPARAM>(&header));
    }
    return true;
}

bool Scroll(CDialog& dialog, int id, UINT code, std::uint32_t thumb)
{
    const Window* const bar = Reach(dialog, id);
    const bool horizontal =
        bar != nullptr && bar->control->kind == ControlKind::HorizontalScrollBar;
    if (!horizontal && !(bar != nullptr && bar->control->kind == ControlKind::VerticalScrollBar)) {
        return false;
    }
    dialog.Send(horizontal ? WM_HSCROLL : WM_VSCROLL, static_cast<WPARAM>(thumb) << 16 | code,
                reinterpret_cast<LPARAM>(bar->handle));
    return true;
}

bool DropFile(CDialog& dialog, const std::string& path)
{
    return Ask(dialog, WM_DROPFILES, 0, reinterpret_cast<LPARAM>(path.c_str()));
}

bool Escape(CDialog& dialog)
{
    return Ask(dialog, WM_COMMAND, MAKEWPARAM(IDCANCEL, BN_CLICKED));
}

bool CloseButton(CDialog& dialog)
{
    return Ask(dialog, WM_CLOSE);
}

bool Minimize(CDialog& dialog)
{
    if (!TakesInput(dialog) || !dialog.Template().minimizable) {
        return false;
    }
    dialog.ShowWindow(SW_MINIMIZE);
    return true;
}

std::string Text(const CDialog& dialog, int id)
{
    const Window* const window = FindControl(dialog, id);
    return window != nullptr ? window->text : std::string();
}

bool IsChecked(const CDialog& dialog, int id)
{
    const Window* const window = FindControl(dialog, id);
    return window != nullptr && window->checked != 0;
}

bool IsEnabled(const CDialog& dialog, int id)
{
    const Window* const window = FindControl(dialog, id);
    return window != nullptr && window->enabled;
}

const Picture& LastPicture()
{
    return desktop.picture;
}

std::size_t LiveWindows()
{
    return desktop.windows.size();
}

std::size_t LiveTimers()
{
    return desktop.timers.size();
}

std::size_t OpenBoxes()
{
    return static_cast<std::size_t>(std::ranges::count(desktop.loops, nullptr, &ModalLoop::Dialog));
}

std::size_t Beeps()
{
    return desktop.beeps;
}

namespace {

Window* Reach(CDialog& dialog, int id)
{
    const auto workable = [&]() -> Window* {
        Window* const control = TakesInput(dialog) ? FindControl(dialog, id) : nullptr;
        return control != nullptr && control->control != nullptr && control->visible &&
                       control->enabled
                   ? control
                   : nullptr;
    };
    const Window* const target = workable();
    if (target == nullptr) {
        return nullptr;
    }
    // The field that is left may speak up, keep the focus, or even end the dialog.
    const HWND handle = target->handle;
    MoveFocus(handle);
    return desktop.focus == handle ? workable() : nullptr;
}

void ChooseRadioButton(const CDialog& dialog, const Window& chosen)
{
    const auto controls = dialog.Template().controls;
    const ControlTemplate* first = chosen.control;
    while (!(first->flags & GroupStart) && first != controls.data()) {
        --first;
    }
    const ControlTemplate* const end = controls.data() + controls.size();
    const ControlTemplate* line = first;
    do {
        if (line->kind == ControlKind::RadioButton) {
            if (Window* const button = FindControl(dialog, line->id)) {
                button->checked = line == chosen.control ? 1 : 0;
            }
        }
        ++line;
    } while (line != end && ((line->flags & GroupStart) == 0u));
}

bool Ask(CDialog& dialog, UINT message, WPARAM wParam, LPARAM lParam)
{
    if (!TakesInput(dialog)) {
        return false;
    }
    dialog.Send(message, wParam, lParam);
    return true;
}

} // namespace

} // namespace headless
