// The windows of dialogs and boxes, in whose loops the functions of the screen run.
#include "platform/field_text.h"
#include "platform/headless/desktop.h"
#include "platform/policy.h"

#include <algorithm>
#include <utility>

using namespace headless;

namespace {

// Has the focus while it stands.
class FocusedWindow : public ModalWindow
{
public:
    FocusedWindow() : m_formerFocus(desktop.focus) { MoveFocus(nullptr); }
    ~FocusedWindow() override
    {
        desktop.focus = Find(m_formerFocus) != nullptr ? m_formerFocus : nullptr;
    }

    void Show() override {}
    void Stop() override {}
    void Hide() override {}

private:
    HWND m_formerFocus;
};

// The records of a dialog and its controls.
class DialogRecords
{
public:
    explicit DialogRecords(CDialog& dialog);
    ~DialogRecords();
    DialogRecords(const DialogRecords&) = delete;
    DialogRecords& operator=(const DialogRecords&) = delete;

    HWND Handle() const { return m_handle; }

private:
    Window& Add(const ControlTemplate* control, const DialogUnits& place);

    CDialog& m_dialog;
    HWND m_handle;
};

class DialogWindow : public FocusedWindow
{
public:
    explicit DialogWindow(CDialog& dialog) : m_dialog(dialog), m_records(dialog) {}

    HWND Handle() const { return m_records.Handle(); }
    void Show() override { CWnd(Handle()).ShowWindow(SW_SHOW); }
    void Hide() override { CWnd(Handle()).ShowWindow(SW_HIDE); }
    void Serve() override;

private:
    CDialog& m_dialog;
    DialogRecords m_records;
};

class BoxWindow : public FocusedWindow
{
public:
    explicit BoxWindow(std::function<int(const Screen& screen)> ask) : m_ask(std::move(ask)) {}

    void Serve() override
    {
        const std::shared_ptr<const Screen> screen = desktop.screen;
        m_loop->Quit(m_ask(*screen));
    }

private:
    std::function<int(const Screen& screen)> m_ask;
};

} // namespace

std::shared_ptr<void> StartWindowSystem(int&, char**)
{
    return nullptr;
}

std::unique_ptr<ModalWindow> MakeDialogWindow(CDialog& dialog, CWnd*, HWND& handle)
{
    auto window = std::make_unique<DialogWindow>(dialog);
    handle = window->Handle();
    return window;
}

std::shared_ptr<void> MakeModelessWindow(CDialog& dialog, const CWnd&, HWND& handle)
{
    auto records = std::make_shared<DialogRecords>(dialog);
    handle = records->Handle();
    return records;
}

std::unique_ptr<ModalWindow> MakeBox(HWND, const char* text, const char* caption, UINT style)
{
    return std::make_unique<BoxWindow>([box = Box{text, caption, style}](const Screen& screen) {
        return screen.answerBox ? screen.answerBox(box) : 0;
    });
}

std::unique_ptr<ModalWindow> MakeFileChooser(const FileRequest&, std::string& path)
{
    return std::make_unique<BoxWindow>([&path](const Screen& screen) {
        path = screen.chooseFile ? screen.chooseFile() : "";
        return IDOK;
    });
}

void CloseWindowsOfSystem() {}

void RunSoon(std::function<void()> action)
{
    desktop.soon.push_back(std::move(action));
}

void ShowWaitCursor(bool) {}

namespace headless {

void SetScreen(Screen screen)
{
    desktop.screen = std::make_shared<const Screen>(std::move(screen));
}

void EndSession()
{
    ModalLoop::AskToEnd();
    RunSoonActions();
}

std::size_t OpenBoxes()
{
    return static_cast<std::size_t>(
        std::ranges::count(ModalLoop::Open(), nullptr, &ModalLoop::Dialog));
}

} // namespace headless

namespace {

DialogRecords::DialogRecords(CDialog& dialog) : m_dialog(dialog)
{
    const DialogTemplate& form = dialog.Template();
    Window& own = Add(nullptr, {0, 0, form.width, form.height});
    own.text = form.title;
    m_handle = own.handle;
    for (const ControlTemplate& line : form.controls) {
        Window& control = Add(&line, line.place);
        control.text = line.text;
        control.visible = (line.flags & ControlHidden) == 0;
        control.enabled = (line.flags & ControlDisabled) == 0;
        own.controls.emplace(line.id, control.handle);
    }
    OpenQueue(m_handle, dialog);
}

DialogRecords::~DialogRecords()
{
    CloseQueue(m_handle);
    std::erase_if(desktop.timers, [this](const Timer& timer) { return timer.window == m_handle; });
    std::erase_if(desktop.windows,
                  [this](const auto& entry) { return entry.second.dialog == &m_dialog; });
}

Window& DialogRecords::Add(const ControlTemplate* control, const DialogUnits& place)
{
    const auto handle = reinterpret_cast<HWND>(++desktop.lastHandle);
    Window& window = desktop.windows[handle];
    window.handle = handle;
    window.dialog = &m_dialog;
    window.control = control;
    window.place = UnitsToPixels(place, desktop.baseWidth, desktop.baseHeight);
    return window;
}

void DialogWindow::Serve()
{
    const std::shared_ptr<const Screen> screen = desktop.screen;
    if (screen->useDialog) {
        screen->useDialog(m_dialog);
    }
    if (!m_loop->IsOver()) {
        m_dialog.Send(WM_QUERYENDSESSION);
    }
    m_loop->Quit(IDCANCEL);
}

} // namespace
