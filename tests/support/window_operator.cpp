// An operator over the real widgets.
#include "support/window_operator.h"

#include "platform/boxes.h"
#include "platform/qt/control_widgets.h"
#include "platform/qt/desktop_look.h"
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
#include <QWheelEvent>
#include <QWindow>

#include <algorithm>
#include <gtest/gtest.h>

namespace {

void SetUpToolkitOnce()
{
    static char name[] = "test";
    static char* arguments[] = {name, nullptr};
    static int count = 1;
    if (qApp != nullptr) {
        return;
    }
    TakeOverScaling();
    new QApplication(count, arguments); // for all tests of the process
    CWinApp("Tarn test").Run(count, arguments);
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
    explicit Desk(Operator& op) : m_operator(op) {}

    bool eventFilter(QObject* object, QEvent* event) override;
    void Answer(QMessageBox& box);
    void Choose(QFileDialog& dialog);

    DialogWindow& Window() const { return *m_dialogs.back(); }
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

    Operator& m_operator;
    std::vector<DialogWindow*> m_dialogs; // open ones, innermost last
};

Operator::Operator()
{
    SetUpToolkitOnce();
    m_desk = std::make_unique<Desk>(*this);
    qApp->installEventFilter(m_desk.get());
}

Operator::~Operator() = default;

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
        m_dialogs.push_back(dialog);
        connect(dialog, &QObject::destroyed, this,
                [this, dialog] { std::erase(m_dialogs, dialog); });
        QTimer::singleShot(0, dialog, [this, dialog] { m_operator.Use(dialog->Dialog()); });
    }
    object->setProperty("seen", box != nullptr || chooser != nullptr || dialog != nullptr);
    return false;
}

void Operator::Desk::Answer(QMessageBox& box)
{
    const std::string text = TextOf(box);
    const QAccessibleInterface* const seen = QAccessible::queryAccessibleInterface(&box);
    EXPECT_TRUE(seen != nullptr && seen->isValid()) << "No screen reader sees the box: " << text;

    const QPointer<QMessageBox> open = &box;
    const int answer =
        m_operator.Meet({text, box.windowHandle()->title().toStdString(), StyleOf(box)});
    if (open == nullptr || !open->isVisible()) {
        return;
    }
    if (QAbstractButton* const button = ButtonOf(*open, answer)) {
        return button->click();
    }
    if (answer != 0) {
        ADD_FAILURE() << "The box does not offer the answer " << answer << ": " << text;
    }
    PressKey(open, Qt::Key_Escape);
}

void Operator::Desk::Choose(QFileDialog& dialog)
{
    const QPointer<QFileDialog> open = &dialog;
    const std::string path = m_operator.MeetFileDialog();
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

bool WindowOperator::TryToAnswer(const std::string& text, int answer)
{
    QMessageBox* const box = OpenBox(text);
    if (box == nullptr) {
        return false;
    }
    InvokeAction(ButtonOf(*box, answer));
    Serve(150); // the toolkit shows the button pressed for a while
    return true;
}

void WindowOperator::PressInBox(const std::string& text, int answer)
{
    QMessageBox* const box = OpenBox(text);
    if (box == nullptr) {
        ADD_FAILURE() << "No box is open with the text: " << text;
        return;
    }
    const QAbstractButton* const button = ButtonOf(*box, answer);
    QTest::mouseClick(box->windowHandle(), Qt::LeftButton, Qt::NoModifier,
                      button->mapTo(box, button->rect().center()));
}

bool WindowOperator::IsBoxOpen(const std::string& text) const
{
    return OpenBox(text) != nullptr;
}

std::pair<int, int> WindowOperator::PlaceOfBox(const std::string& text) const
{
    const QMessageBox* const box = OpenBox(text);
    const QPoint place = box != nullptr ? box->geometry().topLeft() : QPoint();
    return {place.x(), place.y()};
}

void WindowOperator::DeleteInFileDialog(const std::string& path)
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

void WindowOperator::Later(int milliseconds, std::function<void()> action)
{
    QTimer::singleShot(milliseconds, m_desk.get(), std::move(action));
}

// The press moves the focus; when a rejected field takes it back, the click is lost.
bool Operator::Click(int id)
{
    auto* const button = m_desk->Find<QAbstractButton>(id);
    if (button == nullptr || !button->isEnabled() || button->isHidden() || !TakesInput()) {
        return false;
    }
    button->setFocus(Qt::MouseFocusReason);
    if (button->window()->focusWidget() != button) {
        return false;
    }
    button->click();
    return true;
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

bool Operator::Focus(int id)
{
    auto* const widget = m_desk->Find(id);
    if (widget != nullptr) {
        widget->setFocus(Qt::TabFocusReason);
    }
    return widget != nullptr && widget->window()->focusWidget() == widget;
}

void Operator::PressEnter()
{
    PressKey(m_desk->Active(), Qt::Key_Return);
}

void Operator::PressEscape()
{
    PressKey(m_desk->Active(), Qt::Key_Escape);
}

void WindowOperator::Press(Key key)
{
    constexpr int Keys[] = {Qt::Key_Return, Qt::Key_Escape,   Qt::Key_F1,   Qt::Key_Space,
                            Qt::Key_Left,   Qt::Key_Right,    Qt::Key_Up,   Qt::Key_Down,
                            Qt::Key_PageUp, Qt::Key_PageDown, Qt::Key_Home, Qt::Key_End};
    PressKey(m_desk->Active(), Keys[static_cast<int>(key)], key == Key::Space ? " " : "");
}

void WindowOperator::Press(int id, Key key)
{
    Focus(id);
    Press(key);
}

void WindowOperator::PressLetter(char letter, bool withAlt)
{
    m_desk->WaitUntilActive();
    PressKey(m_desk->Active(), QChar(letter).toUpper().unicode(), QChar(letter),
             withAlt ? Qt::AltModifier : Qt::NoModifier);
}

void WindowOperator::Resize(int wider, int higher)
{
    m_desk->Window().resize(m_desk->Window().size() + QSize(wider, higher));
    QCoreApplication::processEvents();
}

void WindowOperator::Maximize()
{
    m_desk->Window().showMaximized();
}

void WindowOperator::Invoke(int id)
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

void Operator::Mouse(int id, UINT what, int x, int y, UINT flags)
{
    QWidget* const widget = m_desk->Find(id);
    QWindow* const window = widget->window()->windowHandle();
    const QPoint at = widget->mapTo(widget->window(), widget->contentsRect().topLeft());
    const Qt::KeyboardModifiers modifiers =
        ((flags & MK_SHIFT) != 0 ? Qt::ShiftModifier : Qt::NoModifier) |
        ((flags & MK_CONTROL) != 0 ? Qt::ControlModifier : Qt::NoModifier);
    const QPoint point = at + QPoint(x, y);
    const Qt::MouseButton button = what >= WM_RBUTTONDOWN ? Qt::RightButton : Qt::LeftButton;
    switch (what) {
    case WM_LBUTTONDOWN:
    case WM_RBUTTONDOWN:
        return QTest::mousePress(window, button, modifiers, point);
    case WM_LBUTTONUP:
    case WM_RBUTTONUP:
        return QTest::mouseRelease(window, button, modifiers, point);
    case WM_LBUTTONDBLCLK:
        return QTest::mouseDClick(window, button, modifiers, point);
    default:
        return QTest::mouseMove(window, point);
    }
}

void Operator::TurnWheel(int id, int turn, int x, int y)
{
    QWidget* const widget = m_desk->Find(id);
    const QPoint at = widget->contentsRect().topLeft() + QPoint(x, y);
    QWheelEvent event(at, widget->mapToGlobal(at), {}, {0, turn}, Qt::NoButton, Qt::NoModifier,
                      Qt::NoScrollPhase, false);
    QCoreApplication::sendEvent(widget, &event);
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

std::string WindowOperator::ActiveTitle() const
{
    const QWidget* const active = QApplication::activeWindow();
    return active != nullptr ? active->windowHandle()->title().toStdString() : "";
}

bool Operator::HasFocus(int id) const
{
    return m_desk->Window().focusWidget() == m_desk->Find(id);
}

bool Operator::TakesInput() const
{
    return m_desk->Active() == &m_desk->Window();
}

unsigned WindowOperator::MinimizedPixel(int x, int y) const
{
    return m_desk->Window().grab().toImage().pixel(x, y) & 0xFFFFFF;
}

unsigned WindowOperator::Pixel(int id, int x, int y) const
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

bool WindowOperator::LooksRejected(int id) const
{
    return Pixel(id, 1, 8) == 0xC00000;
}
