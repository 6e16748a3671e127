// An operator over the windows without a screen.
#include "platform/boxes.h"
#include "platform/headless/desktop.h"
#include "platform/policy.h"
#include "support/operator.h"

#include <algorithm>

using namespace headless;

struct Operator::Desk
{
    // The control when it can be worked now, the focus moved to it; else null.
    static Window* Reach(int id);
    static Window* Workable(int id);
    static void ChooseRadioButton(const Window& chosen);

    UINT buttons = 0; // that are held down, MK_...
};

Operator::Operator() : m_desk(std::make_unique<Desk>())
{
    SetScreen({[this](CDialog& dialog) { Use(dialog); },
               [this](const Box& box) {
                   return Meet({box.text, box.caption, box.style});
               },
               [this] { return MeetFileDialog(); }});
}

Operator::~Operator()
{
    SetScreen({});
}

bool Operator::Wait(const std::function<bool()>& condition, int milliseconds)
{
    const std::uint64_t end = Now() + static_cast<std::uint64_t>(milliseconds);
    while (!condition()) {
        if (Now() >= end) {
            return false;
        }
        RunFor(1);
    }
    return true;
}

bool Operator::Click(int id)
{
    Window* const control = Desk::Reach(id);
    if (control == nullptr) {
        return false;
    }
    if (control->control->kind == ControlKind::CheckBox) {
        control->checked = control->checked == 0 ? 1 : 0;
    } else if (control->control->kind == ControlKind::RadioButton) {
        Desk::ChooseRadioButton(*control);
    }
    Dialog().Send(WM_COMMAND, MAKEWPARAM(static_cast<UINT>(id), BN_CLICKED));
    return true;
}

bool Operator::Focus(int id)
{
    return Desk::Reach(id) != nullptr;
}

void Operator::Type(int id, const std::string& text)
{
    Window* const field = Desk::Reach(id);
    if (field != nullptr && field->control->kind == ControlKind::Edit) {
        field->text = text;
        field->rejected = false;
    }
}

void Operator::Drag(int id, int position)
{
    Window* const slider = Desk::Reach(id);
    if (slider == nullptr || slider->control->kind != ControlKind::TrackBar) {
        return;
    }
    slider->position = std::clamp(position, slider->minimum, slider->maximum);
    for (const UINT code : {NM_CUSTOMDRAW, NM_RELEASEDCAPTURE}) {
        const NMHDR header{slider->handle, static_cast<UINT_PTR>(id), code};
        Dialog().Send(WM_NOTIFY, header.idFrom, reinterpret_cast<LPARAM>(&header));
    }
}

void Operator::Mouse(int id, UINT what, int x, int y, UINT flags)
{
    const UINT button = what >= WM_RBUTTONDOWN ? MK_RBUTTON : MK_LBUTTON;
    const bool presses = what == WM_LBUTTONDOWN || what == WM_LBUTTONDBLCLK ||
                         what == WM_RBUTTONDOWN || what == WM_RBUTTONDBLCLK;
    const bool releases = what == WM_LBUTTONUP || what == WM_RBUTTONUP;
    m_desk->buttons = (presses    ? m_desk->buttons | button
                       : releases ? m_desk->buttons & ~button
                                  : m_desk->buttons);
    const Window* const frame = presses ? Desk::Reach(id) : Desk::Workable(id);
    if (frame != nullptr && (frame->control->flags & FrameTakesInput) != 0) {
        Dialog().Send(what, m_desk->buttons | flags, MAKELPARAM(x, y));
    }
}

void Operator::TurnWheel(int id, int turn, int x, int y)
{
    const Window* const frame = Desk::Workable(id);
    if (frame != nullptr && (frame->control->flags & FrameTakesInput) != 0) {
        Dialog().Send(WM_MOUSEWHEEL, MAKEWPARAM(m_desk->buttons, static_cast<UINT>(turn) & 0xFFFF),
                      MAKELPARAM(frame->place.left + x, frame->place.top + y));
    }
}

void Operator::PressEnter()
{
    const auto button = std::ranges::find(Dialog().Template().controls, ControlKind::DefaultButton,
                                          &ControlTemplate::kind);
    Click(button->id);
}

void Operator::PressEscape()
{
    if (TakesInput()) {
        Dialog().Send(WM_COMMAND, MAKEWPARAM(IDCANCEL, BN_CLICKED));
    }
}

void Operator::CloseWindow()
{
    if (TakesInput()) {
        Dialog().Send(WM_CLOSE);
    }
}

void Operator::Drop(const std::string& path)
{
    if (TakesInput()) {
        Dialog().Send(WM_DROPFILES, 0, reinterpret_cast<LPARAM>(path.c_str()));
    }
}

CDialog& Operator::Dialog() const
{
    return *ModalLoop::TopDialog();
}

bool Operator::HasFocus(int id) const
{
    return desktop.focus == Dialog().GetDlgItem(id).GetSafeHwnd();
}

bool Operator::TakesInput() const
{
    const CDialog* const dialog = ModalLoop::TopDialog();
    return dialog != nullptr && ModalLoop::TakesInput(*dialog);
}

Window* Operator::Desk::Reach(int id)
{
    const Window* const target = Workable(id);
    if (target == nullptr) {
        return nullptr;
    }
    // The field that is left may speak up, keep the focus, or even end the dialog.
    const HWND handle = target->handle;
    MoveFocus(handle);
    return desktop.focus == handle ? Workable(id) : nullptr;
}

Window* Operator::Desk::Workable(int id)
{
    const CDialog* const dialog = ModalLoop::TopDialog();
    const bool takesInput = dialog != nullptr && ModalLoop::TakesInput(*dialog);
    Window* const control = takesInput ? FindControl(*dialog, id) : nullptr;
    return control != nullptr && control->visible && control->enabled ? control : nullptr;
}

void Operator::Desk::ChooseRadioButton(const Window& chosen)
{
    const auto controls = chosen.dialog->Template().controls;
    const ControlTemplate* first = chosen.control;
    while ((first->flags & GroupStart) == 0) {
        --first;
    }
    const ControlTemplate* last = first;
    while (last != &controls.back() && last[1].kind == ControlKind::RadioButton &&
           (last[1].flags & GroupStart) == 0) {
        ++last;
    }
    chosen.dialog->CheckRadioButton(first->id, last->id, chosen.control->id);
}
