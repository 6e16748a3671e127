// An operator for tests, over the real widgets.
#include "platform/qt/operator.h"

#include "platform/boxes.h"
#include "platform/qt/control_widgets.h"
#include "platform/qt/dialog_window.h"
#include "platform/qt/window_table.h"

#include <QAbstractButton>
#include <QAccessible>
#include <QAction>
#include <QApplication>
#include <QElapsedTimer>
#include <QFileDialog>
#include <QFileInfo>
#include <QKeyEvent>
#include <QLineEdit>
#include <QListView>
#include <QMessageBox>
#include <QMimeData>
#include <QPlainTextEdit>
#include <QPointer>
#include <QScreen>
#include <QTest>
#include <QTimer>
#include <QWindow>

#include <algorithm>
#include <gtest/gtest.h>

namespace {

// Runs one dialog as a program would, or none, for the set-up alone.
class DialogProgram : public CWinApp
{
public:
    explicit DialogProgram(CDialog* dialog) : CWinApp("Tarn test"), m_dialog(dialog)
    {
        SetVersion("1.2");
    }
    std::span<const DispatchEntry> DispatchTable() const override
    {
        static constexpr DispatchEntry Table[] = {on::Command<&CWinApp::OnHelp>(ID_HELP)};
        return Table;
    }
    BOOL InitInstance() override
    {
        m_result = m_dialog != nullptr ? m_dialog->DoModal() : 0;
        return FALSE;
    }
    int RunDialog()
    {
        static char name[] = "test";
        char* arguments[] = {name, nullptr};
        Run(1, arguments);
        return m_result;
    }

private:
    CDialog* m_dialog;
    int m_result = 0;
};

void SetUpToolkitOnce()
{
    static char name[] = "test";
    static char* arguments[] = {name, nullptr};
    static int count = 1;
    if (qApp != nullptr) {
        return;
    }
    new QApplication(count, arguments); // for all tests of the process
    DialogProgram(nullptr).RunDialog();
}

UINT StyleOf(const QMessageBox& box)
{
    const auto buttons = box.standardButtons();
    const UINT offered = (buttons & QMessageBox::Yes) != 0      ? MB_YESNO
                         : (buttons & QMessageBox::Cancel) != 0 ? MB_OKCANCEL
                                                                : MB_OK;
    constexpr UINT Icons[] = {0, MB_ICONASTERISK, MB_ICONEXCLAMATION, MB_ICONHAND};
    const UINT topmost = (box.windowFlags() & Qt::WindowStaysOnTopHint) != 0 ? MB_TOPMOST : 0;
    return offered | Icons[box.icon()] | topmost;
}

std::string TextOf(const QMessageBox& box)
{
    const auto* const view = box.findChild<QPlainTextEdit*>();
    return (view != nullptr ? view->toPlainText() : box.text()).toStdString();
}

QAbstractButton* ButtonOf(const QMessageBox& box, int answer)
{
    constexpr std::pair<int, QMessageBox::StandardButton> Buttons[] = {
        {IDOK, QMessageBox::Ok},
        {IDCANCEL, QMessageBox::Cancel},
        {IDYES, QMessageBox::Yes},
        {IDNO, QMessageBox::No}};
    for (const auto& [offered, standard] : Buttons) {
        if (offered == answer) {
            return box.button(standard);
        }
    }
    return nullptr;
}

QMessageBox* OpenBox(const std::string& text)
{
    for (QWidget* const window : QApplication::topLevelWidgets()) {
        auto* const box = qobject_cast<QMessageBox*>(window);
        if (box != nullptr && box->isVisible() && TextOf(*box) == text) {
            return box;
        }
    }
    return nullptr;
}

// The first action that an accessibility tool is offered.
void InvokeAction(QObject* object)
{
    QAccessibleInterface* const seen = QAccessible::queryAccessibleInterface(object);
    QAccessibleActionInterface* const actions = seen != nullptr ? seen->actionInterface() : nullptr;
    if (actions == nullptr || actions->actionNames().isEmpty()) {
        ADD_FAILURE() << "An accessibility tool is offered no action of a control";
        return;
    }
    actions->doAction(actions->actionNames().front());
}

// The press may move the focus, and the release goes where it is then.
void PressKey(QWidget* window, int key, const QString& text = {},
              Qt::KeyboardModifiers modifiers = Qt::NoModifier)
{
    for (const QTest::KeyAction action : {QTest::Press, QTest::Release}) {
        QWidget* const target = window->focusWidget() != nullptr ? window->focusWidget() : window;
        QTest::simulateEvent(target, action == QTest::Press, key, modifiers, text, false);
    }
}

} // namespace

struct Operator::Desk : QObject
{
    struct Expectation
    {
        std::string part;
        int answer;
        std::function<void()> meanwhile;
        bool stays = false; // for every such box
    };

    bool eventFilter(QObject* object, QEvent* event) override;
    void Answer(QMessageBox& box);
    void Choose(QFileDialog& dialog);
    void Work(DialogWindow& dialog);

    DialogWindow& Window() const { return *dialogs.back(); }
    // Where the keyboard goes.
    QWidget* Active() const
    {
        QWidget* const modal = QApplication::activeModalWidget();
        return modal != nullptr ? modal : &Window();
    }
    // The window takes input some time after a box is gone.
    void WaitUntilActive() const
    {
        for (int i = 0; i < 20 && !Window().isActiveWindow(); ++i) {
            QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        }
    }
    // A control of the window.
    template <typename Widget = QWidget>
    Widget* Find(int id) const
    {
        WaitUntilActive();
        auto* const widget = dynamic_cast<Widget*>(WidgetOf(Window().Control(id)));
        if (widget == nullptr) {
            ADD_FAILURE() << "The dialog has no such control " << id;
        }
        return widget;
    }

    std::vector<DialogWindow*> dialogs; // open ones, innermost last
    std::vector<Expectation> boxes;
    std::vector<std::pair<std::string, std::function<void()>>> scripts;
    std::vector<std::pair<std::string, std::function<void()>>> files;
    std::vector<ShownBox> shown;
};

Operator::Operator()
{
    SetUpToolkitOnce();
    m_desk = std::make_unique<Desk>();
    qApp->installEventFilter(m_desk.get());
}

Operator::~Operator() = default;

int Operator::Run(CDialog& dialog, const std::function<void()>& script)
{
    m_desk->scripts.insert(m_desk->scripts.begin(), {dialog.Template().title, script});
    const int result =
        AfxGetApp() != nullptr ? dialog.DoModal() : DialogProgram(&dialog).RunDialog();
    for (const Desk::Expectation& expected : m_desk->boxes) {
        if (!expected.stays) {
            ADD_FAILURE() << "No box came with the text: " << expected.part;
        }
    }
    m_desk->boxes.clear();
    m_desk->scripts.clear();
    return result;
}

// The box or dialog is worked once its own loop runs.
bool Operator::Desk::eventFilter(QObject* object, QEvent* event)
{
    if (event->type() != QEvent::Show || object->property("seen").toBool()) {
        return false;
    }
    auto* const box = qobject_cast<QMessageBox*>(object);
    auto* const chooser = qobject_cast<QFileDialog*>(object);
    auto* const dialog = dynamic_cast<DialogWindow*>(object);
    if (box != nullptr) {
        QTimer::singleShot(0, box, [this, box] { Answer(*box); });
    } else if (chooser != nullptr) {
        QTimer::singleShot(0, chooser, [this, chooser] { Choose(*chooser); });
    } else if (dialog != nullptr) {
        dialogs.push_back(dialog);
        connect(dialog, &QObject::destroyed, this, [this, dialog] { std::erase(dialogs, dialog); });
        QTimer::singleShot(0, dialog, [this, dialog] { Work(*dialog); });
    }
    object->setProperty("seen", box != nullptr || chooser != nullptr || dialog != nullptr);
    return false;
}

void Operator::Desk::Answer(QMessageBox& box)
{
    const std::string text = TextOf(box);
    shown.push_back({text, box.windowHandle()->title().toStdString(), StyleOf(box)});

    const auto expected = std::find_if(boxes.begin(), boxes.end(), [&](const Expectation& e) {
        return text.find(e.part) != std::string::npos;
    });
    if (expected == boxes.end()) {
        ADD_FAILURE() << "An unexpected box came: " << text;
    }
    const Expectation expectation = expected != boxes.end() ? *expected : Expectation{};
    if (expected != boxes.end() && !expected->stays) {
        boxes.erase(expected);
    }

    const QAccessibleInterface* const seen = QAccessible::queryAccessibleInterface(&box);
    EXPECT_TRUE(seen != nullptr && seen->isValid()) << "No screen reader sees the box: " << text;

    const QPointer<QMessageBox> open = &box;
    if (expectation.meanwhile) {
        expectation.meanwhile();
    }
    if (open == nullptr || !open->isVisible()) {
        return;
    }
    if (QAbstractButton* const button = ButtonOf(*open, expectation.answer)) {
        return button->click();
    }
    if (expectation.answer != 0) {
        ADD_FAILURE() << "The box does not offer the answer " << expectation.answer << ": " << text;
    }
    PressKey(open, Qt::Key_Escape);
}

void Operator::Desk::Choose(QFileDialog& dialog)
{
    if (files.empty()) {
        ADD_FAILURE() << "An unexpected open-file dialog came";
    }
    const auto [path, meanwhile] = files.empty() ? decltype(files)::value_type() : files.front();
    if (!files.empty()) {
        files.erase(files.begin());
    }
    const QPointer<QFileDialog> open = &dialog;
    if (meanwhile) {
        meanwhile();
    }
    if (open == nullptr || !open->isVisible()) {
        return;
    }
    if (path.empty()) {
        return dialog.reject();
    }
    dialog.findChild<QLineEdit*>("fileNameEdit")->setText(QString::fromStdString(path));
    QMetaObject::invokeMethod(&dialog, "accept");
    if (open != nullptr && open->isVisible()) {
        ADD_FAILURE() << "The open-file dialog does not open " << path;
        open->reject();
    }
}

void Operator::Desk::Work(DialogWindow& dialog)
{
    const std::string title = dialog.Dialog().Template().title;
    const auto found = std::find_if(scripts.begin(), scripts.end(),
                                    [&](const auto& script) { return script.first == title; });
    const QPointer<DialogWindow> open = &dialog;
    if (found == scripts.end()) {
        ADD_FAILURE() << "An unexpected dialog came: " << title;
    } else {
        const std::function<void()> script = found->second;
        scripts.erase(found);
        script();
    }
    if (open != nullptr && !IsSessionEnding()) {
        open->End(IDCANCEL);
    }
}

void Operator::WhenBox(std::string part, int answer, std::function<void()> meanwhile)
{
    m_desk->boxes.push_back({std::move(part), answer, std::move(meanwhile)});
}

void Operator::WhenEveryBox(std::string part, int answer, std::function<void()> meanwhile)
{
    m_desk->boxes.push_back({std::move(part), answer, std::move(meanwhile), true});
}

const std::vector<ShownBox>& Operator::Boxes() const
{
    return m_desk->shown;
}

bool Operator::TryToAnswer(const std::string& text, int answer)
{
    QMessageBox* const box = OpenBox(text);
    if (box == nullptr) {
        return false;
    }
    InvokeAction(ButtonOf(*box, answer));
    Serve(150); // the toolkit shows the button pressed for a while
    return true;
}

bool Operator::IsBoxOpen(const std::string& text) const
{
    return OpenBox(text) != nullptr;
}

std::pair<int, int> Operator::PlaceOfBox(const std::string& text) const
{
    const QMessageBox* const box = OpenBox(text);
    const QPoint place = box != nullptr ? box->frameGeometry().topLeft() : QPoint();
    return {place.x(), place.y()};
}

void Operator::WhenDialog(std::string title, std::function<void()> script)
{
    m_desk->scripts.emplace_back(std::move(title), std::move(script));
}

void Operator::WhenFileDialog(std::string path, std::function<void()> meanwhile)
{
    m_desk->files.emplace_back(std::move(path), std::move(meanwhile));
}

void Operator::DeleteInFileDialog(const std::string& path)
{
    auto* const dialog = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
    if (dialog == nullptr) {
        ADD_FAILURE() << "No open-file dialog is open";
        return;
    }
    const QFileInfo file(QString::fromStdString(path));
    auto* const list = dialog->findChild<QListView*>("listView");
    dialog->setDirectory(file.absolutePath());
    const auto find = [&] {
        const QModelIndex first = list->model()->index(0, 0, list->rootIndex());
        return list->model()->match(first, Qt::DisplayRole, file.fileName());
    };
    EXPECT_TRUE(Wait([&] { return !find().isEmpty(); }));
    list->setCurrentIndex(find().value(0));
    auto* const action = dialog->findChild<QAction*>("qt_delete_action");
    action->setEnabled(true); // the menu does when it opens
    action->trigger();
}

bool Operator::Wait(const std::function<bool()>& condition, int milliseconds)
{
    QTimer poll; // wakes the loop, so that the condition is asked again
    poll.start(1);
    QElapsedTimer passed;
    passed.start();
    while (!condition()) {
        if (passed.elapsed() > milliseconds) {
            return false;
        }
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    return true;
}

void Operator::Later(int milliseconds, std::function<void()> action)
{
    QTimer::singleShot(milliseconds, m_desk.get(), std::move(action));
}

// The press moves the focus; when a rejected field takes it back, the click is lost.
void Operator::Click(int id)
{
    auto* const button = m_desk->Find<QAbstractButton>(id);
    if (button == nullptr || !button->isEnabled() || button->isHidden() ||
        m_desk->Active() != button->window()) {
        return;
    }
    button->setFocus(Qt::MouseFocusReason);
    if (button->window()->focusWidget() == button) {
        button->click();
    }
}

void Operator::Type(int id, const std::string& text)
{
    auto* const edit = m_desk->Find<EditControl>(id);
    if (edit == nullptr) {
        return;
    }
    edit->setFocus(Qt::MouseFocusReason);
    edit->selectAll();
    PressKey(edit->window(), Qt::Key_Delete);
    for (const QChar character : QString::fromStdString(text)) {
        PressKey(edit->window(), 0, character);
    }
}

void Operator::Focus(int id)
{
    if (auto* const widget = m_desk->Find(id)) {
        widget->setFocus(Qt::TabFocusReason);
    }
}

void Operator::Press(Key key)
{
    constexpr int Keys[] = {Qt::Key_Return, Qt::Key_Escape,   Qt::Key_F1,   Qt::Key_Space,
                            Qt::Key_Left,   Qt::Key_Right,    Qt::Key_Up,   Qt::Key_Down,
                            Qt::Key_PageUp, Qt::Key_PageDown, Qt::Key_Home, Qt::Key_End};
    PressKey(m_desk->Active(), Keys[static_cast<int>(key)], key == Key::Space ? " " : "");
}

void Operator::Press(int id, Key key)
{
    Focus(id);
    Press(key);
}

void Operator::PressLetter(char letter, bool withAlt)
{
    m_desk->WaitUntilActive();
    PressKey(m_desk->Active(), QChar(letter).toUpper().unicode(), QChar(letter),
             withAlt ? Qt::AltModifier : Qt::NoModifier);
}

void Operator::Invoke(int id)
{
    InvokeAction(m_desk->Find<QAbstractButton>(id));
    QCoreApplication::processEvents();
}

void Operator::Drag(int id, int position)
{
    if (auto* const bar = m_desk->Find<QAbstractSlider>(id)) {
        bar->setSliderDown(true);
        bar->setSliderPosition(position);
        bar->setSliderDown(false);
    }
}

void Operator::CloseWindow()
{
    m_desk->Window().close();
}

void Operator::Drop(const std::string& path)
{
    QMimeData data;
    data.setUrls({QUrl::fromLocalFile(QString::fromStdString(path))});
    QDragEnterEvent enter({}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    enter.setAccepted(false);
    QCoreApplication::sendEvent(&m_desk->Window(), &enter);
    QDropEvent drop({}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    if (enter.isAccepted()) {
        QCoreApplication::sendEvent(&m_desk->Window(), &drop);
    }
}

CDialog& Operator::Dialog() const
{
    return m_desk->Window().Dialog();
}

std::string Operator::ActiveTitle() const
{
    const QWidget* const active = QApplication::activeWindow();
    return active != nullptr ? active->windowHandle()->title().toStdString() : "";
}

bool Operator::HasFocus(int id) const
{
    return m_desk->Window().focusWidget() == m_desk->Find(id);
}

int Operator::Position(int id) const
{
    const auto* const bar = m_desk->Find<QAbstractSlider>(id);
    return bar != nullptr ? bar->value() : 0;
}

unsigned Operator::MinimizedPixel(int x, int y) const
{
    return m_desk->Window().grab().toImage().pixel(x, y) & 0xFFFFFF;
}

unsigned Operator::Pixel(int id, int x, int y) const
{
    const QWidget* const widget = m_desk->Find(id);
    if (widget == nullptr) {
        return 0;
    }
    QCoreApplication::processEvents();
    const QPoint at =
        widget->mapTo(widget->window(), widget->contentsRect().topLeft() + QPoint(x, y));
    const QPixmap window = widget->screen()->grabWindow(widget->window()->winId());
    return window.toImage().pixel(at) & 0xFFFFFF;
}
