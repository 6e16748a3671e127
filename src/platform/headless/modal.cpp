// Dialogs, boxes and the application: the modal loops, in which the operator's functions run.
#include "platform/boxes.h"
#include "platform/dialog.h"
#include "platform/dialog_hooks.h"
#include "platform/field_text.h"
#include "platform/headless/desktop.h"

#include <algorithm>
#include <utility>

using namespace headless;

namespace {

HWND CreateWindows(CDialog& dialog); // returns the dialog's own
void DestroyWindows(HWND dialog);
int EscapeAnswer(UINT style);
bool OffersAnswer(UINT style, int answer);

} // namespace

namespace headless {

ModalLoop::ModalLoop(CDialog* dialog) : m_formerFocus(desktop.focus), m_dialog(dialog)
{
    MoveFocus(nullptr);
    desktop.loops.push_back(this);
}

ModalLoop::~ModalLoop()
{
    std::erase(desktop.loops, this);
    desktop.focus = Find(m_formerFocus) != nullptr ? m_formerFocus : nullptr;
    if (desktop.loops.empty()) {
        desktop.sessionEnded = false;
    }
}

void ModalLoop::Quit(int result)
{
    if (std::exchange(m_over, true)) {
        return;
    }
    m_result = result;
    const auto self = std::ranges::find(desktop.loops, this);
    const std::vector<ModalLoop*> inside(self + 1, desktop.loops.end());
    for (auto loop = inside.rbegin(); loop != inside.rend(); ++loop) {
        (*loop)->Dialog() != nullptr ? (*loop)->Dialog()->EndDialog(IDCANCEL) : (*loop)->Quit();
    }
}

ModalLoop* LoopOf(const CDialog& dialog)
{
    const auto found = std::ranges::find(desktop.loops, &dialog, &ModalLoop::Dialog);
    return found == desktop.loops.end() ? nullptr : *found;
}

void AskOutermostToEnd()
{
    if (!desktop.sessionEnded || desktop.loops.size() != 1 || desktop.loops[0]->IsOver()) {
        return;
    }
    if (CDialog* const dialog = desktop.loops[0]->Dialog()) {
        dialog->Send(WM_QUERYENDSESSION);
    }
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

CDialog* TopDialog()
{
    const auto top = std::find_if(desktop.loops.rbegin(), desktop.loops.rend(),
                                  [](const ModalLoop* loop) { return loop->Dialog() != nullptr; });
    return top == desktop.loops.rend() ? nullptr : (*top)->Dialog();
}

std::size_t OpenBoxes()
{
    return static_cast<std::size_t>(std::ranges::count(desktop.loops, nullptr, &ModalLoop::Dialog));
}

} // namespace headless

bool IsSessionEnding()
{
    return desktop.sessionEnded;
}

CDialog::CDialog(const DialogTemplate& dialogTemplate, CWnd* parent)
    : m_template(dialogTemplate), m_parent(parent)
{
}

CDialog::~CDialog()
{
    DestroyWindows(m_hWnd);
}

int CDialog::DoModal()
{
    if (IsSessionEnding()) {
        return IDCANCEL;
    }
    struct OwnWindows
    {
        HWND& window;
        ~OwnWindows() { DestroyWindows(std::exchange(window, nullptr)); }
    };
    ModalLoop loop(this);
    const OwnWindows windows{m_hWnd = CreateWindows(*this)};

    OnInitDialog();
    if (!loop.IsOver()) {
        ShowWindow(SW_SHOW);
        const auto screen = desktop.screen;
        if (screen->useDialog) {
            screen->useDialog(*this);
        }
    }
    if (!loop.IsOver()) {
        Send(WM_QUERYENDSESSION);
    }
    return loop.Result();
}

void CDialog::EndDialog(int result)
{
    ModalLoop* const loop = LoopOf(*this);
    if (loop == nullptr || loop->IsOver()) {
        return;
    }
    std::erase_if(desktop.timers, [this](const Timer& timer) { return timer.window == m_hWnd; });
    ShowWindow(SW_HIDE);
    loop->Quit(result);
}

CWnd CDialog::GetDlgItem(int id) const
{
    const Window* const own = Find(m_hWnd);
    if (own == nullptr || !own->controls.contains(id)) {
        return CWnd();
    }
    return CWnd(own->controls.at(id));
}

void CDialog::SetIcon(HICON, BOOL) {}

void ReportException(HWND dialog, const std::string& text)
{
    const CWinApp* const application = AfxGetApp();
    MessageBoxA(dialog, text.c_str(), application != nullptr ? application->Name().c_str() : "",
                MB_OK | MB_ICONSTOP | MB_TOPMOST);
}

int CWinApp::Run(int, char**)
{
    InitInstance();
    return 0;
}

int MessageBoxA(HWND owner, const char* text, const char* caption, UINT style)
{
    const int escape = EscapeAnswer(style);
    if (IsSessionEnding()) {
        return escape;
    }
    const ModalLoop loop;
    const auto screen = desktop.screen;
    const int answer =
        screen->answerBox ? screen->answerBox({owner, text, caption, style}) : escape;
    return loop.IsOver() || !OffersAnswer(style, answer) ? escape : answer;
}

int AfxMessageBox(const char* text, UINT style)
{
    const CWinApp* const application = AfxGetApp();
    const CDialog* const active = TopDialog();
    return MessageBoxA(active != nullptr ? active->GetSafeHwnd() : nullptr, text,
                       application != nullptr ? application->Name().c_str() : "", style);
}

CFileDialog::CFileDialog(BOOL, const char* defaultExtension, const char* fileName, DWORD flags,
                         const char* filter, CWnd* parent)
    : m_defaultExtension(defaultExtension != nullptr ? defaultExtension : ""),
      m_fileName(fileName != nullptr ? fileName : ""),
      m_filter(filter != nullptr ? filter : ""),
      m_flags(flags),
      m_parent(parent)
{
}

int CFileDialog::DoModal()
{
    if (IsSessionEnding()) {
        return IDCANCEL;
    }
    const ModalLoop loop;
    const auto screen = desktop.screen;
    m_path = screen->chooseFile ? screen->chooseFile() : "";
    return loop.IsOver() || m_path.empty() ? IDCANCEL : IDOK;
}

CWaitCursor::CWaitCursor() = default;

CWaitCursor::~CWaitCursor() = default;

void CWaitCursor::Restore()
{
    m_shown = false;
}

namespace {

HWND CreateWindows(CDialog& dialog)
{
    const DialogTemplate& dialogTemplate = dialog.Template();
    const auto add = [&](const ControlTemplate* control, const DialogUnits& place) -> Window& {
        const auto handle = reinterpret_cast<HWND>(++desktop.lastHandle);
        Window& window = desktop.windows[handle];
        window.handle = handle;
        window.dialog = &dialog;
        window.control = control;
        window.place = UnitsToPixels(place, desktop.baseWidth, desktop.baseHeight);
        return window;
    };
    Window& own = add(nullptr, {0, 0, dialogTemplate.width, dialogTemplate.height});
    own.text = dialogTemplate.title;
    const HWND handle = own.handle;
    for (const ControlTemplate& line : dialogTemplate.controls) {
        Window& control = add(&line, line.place);
        control.text = line.text;
        control.visible = (line.flags & ControlHidden) == 0;
        control.enabled = (line.flags & ControlDisabled) == 0;
        own.controls.emplace(line.id, control.handle);
    }
    const std::lock_guard lock(desktop.queue.mutex);
    desktop.queue.windows.insert(handle);
    return handle;
}

void DestroyWindows(HWND dialog)
{
    const Window* const own = Find(dialog);
    if (own == nullptr) {
        return;
    }
    {
        const std::lock_guard lock(desktop.queue.mutex);
        desktop.queue.windows.erase(dialog);
        std::erase_if(desktop.queue.messages,
                      [dialog](const Message& message) { return message.window == dialog; });
    }
    const CDialog* const object = own->dialog;
    std::erase_if(desktop.timers, [object](const Timer& timer) {
        const Window* const window = Find(timer.window);
        return window == nullptr || window->dialog == object;
    });
    std::erase_if(desktop.windows,
                  [object](const auto& entry) { return entry.second.dialog == object; });
}

int EscapeAnswer(UINT style)
{
    switch (style & 0xF) {
    case MB_OKCANCEL:
        return IDCANCEL;
    case MB_YESNO:
        return IDNO;
    default:
        return IDOK;
    }
}

bool OffersAnswer(UINT style, int answer)
{
    switch (style & 0xF) {
    case MB_OKCANCEL:
        return answer == IDOK || answer == IDCANCEL;
    case MB_YESNO:
        return answer == IDYES || answer == IDNO;
    default:
        return answer == IDOK;
    }
}

} // namespace
