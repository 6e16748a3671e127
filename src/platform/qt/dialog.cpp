// Dialogs as windows of the toolkit.
#include "platform/field_text.h"
#include "platform/policy.h"
#include "platform/qt/control_widgets.h"
#include "platform/qt/dialog_window.h"
#include "platform/qt/frame_control.h"
#include "platform/qt/icon.h"
#include "platform/qt/modal_window.h"
#include "platform/qt/paint_request.h"
#include "platform/qt/text.h"
#include "platform/qt/window_table.h"
#include "platform/qt/x11.h"

#include <QAbstractButton>
#include <QButtonGroup>
#include <QCloseEvent>
#include <QFile>
#include <QGroupBox>
#include <QIcon>
#include <QLabel>
#include <QMimeData>
#include <QPixmap>
#include <QTimer>

#include <algorithm>

namespace {

constexpr UINT ShortestPeriod = 10; // milliseconds

constexpr int MostTitlesUnanswered = 64;

QRect Pixels(const DialogUnits& place);

} // namespace

std::unique_ptr<ModalWindow> MakeDialogWindow(CDialog& dialog, CWnd* parent, HWND& handle)
{
    auto* const window =
        new DialogWindow(dialog, parent != nullptr ? WidgetWindow::NextOwner() : nullptr);
    auto made = std::make_unique<WidgetWindow>(window);
    handle = window->Handle();
    return made;
}

std::shared_ptr<void> MakeModelessWindow(CDialog& dialog, const CWnd& parent, HWND& handle)
{
    auto window = std::make_shared<DialogWindow>(dialog, WidgetOf(parent.GetSafeHwnd()));
    handle = window->Handle();
    return window;
}

HWND ControlOf(HWND dialog, int id)
{
    const DialogWindow* const window = DialogOf(dialog);
    return window != nullptr ? window->Control(id) : nullptr;
}

void FocusFirst(HWND dialog)
{
    DialogOf(dialog)->FocusFirst();
}

void SetWindowIcon(HWND dialog, const IconResource& icon, bool)
{
    if (QWidget* const widget = WidgetOf(dialog)) {
        widget->setWindowIcon(QPixmap::fromImage(ImageOf(icon)));
    }
}

DialogWindow::DialogWindow(CDialog& dialog, QWidget* owner)
    : QDialog(owner), m_dialog(dialog), m_handle(AddWindow({this, this}))
{
    const DialogTemplate& form = dialog.Template();
    Qt::WindowFlags flags = owner != nullptr ? Qt::Dialog : Qt::Window;
    flags |= Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowSystemMenuHint |
             Qt::WindowCloseButtonHint;
    if (form.minimizable) {
        flags |= Qt::WindowMinimizeButtonHint;
    }
    setWindowFlags(flags);
    SetTitle(*this, form.title);
    setFixedSize(Pixels({0, 0, form.width, form.height}).size());
    setAcceptDrops(Handles(dialog, WM_DROPFILES));
    CreateControls();
    OpenQueue(m_handle, dialog);
}

DialogWindow::~DialogWindow()
{
    CloseQueue(m_handle);
    RemoveWindow(m_handle);
    for (const auto& [id, control] : m_controls) {
        RemoveWindow(control);
    }
    for (const HWND control : m_unnamedControls) {
        RemoveWindow(control);
    }
}

void DialogWindow::CreateControls()
{
    QLabel* lastLabel = nullptr;
    QButtonGroup* group = nullptr;
    for (const ControlTemplate& control : m_dialog.Template().controls) {
        QWidget* const widget = MakeControl(*this, control);
        widget->setGeometry(Pixels(control.place));
        widget->setEnabled((control.flags & ControlDisabled) == 0);
        widget->setVisible((control.flags & ControlHidden) == 0);
        if (control.accessibleName != nullptr) {
            widget->setAccessibleName(control.accessibleName);
        }

        const HWND handle = AddWindow({widget, this});
        if (control.id == 0) {
            m_unnamedControls.push_back(handle);
        } else {
            m_controls.emplace(control.id, handle);
        }
        if (auto* const bar = dynamic_cast<ScrollBarControl*>(widget)) {
            bar->SetHandle(handle);
        }
        if (auto* const bar = dynamic_cast<TrackBarControl*>(widget)) {
            bar->SetHandle(handle);
        }
        if (auto* const frame = dynamic_cast<FrameControl*>(widget)) {
            frame->SetHandle(handle);
        }

        if (control.kind == ControlKind::Edit && lastLabel != nullptr) {
            lastLabel->setBuddy(widget);
            if (control.accessibleName == nullptr) {
                widget->setAccessibleName(WithoutMnemonic(lastLabel->text()));
            }
        }
        lastLabel = qobject_cast<QLabel*>(widget);

        if (control.kind == ControlKind::RadioButton) {
            if (group == nullptr || (control.flags & GroupStart) != 0) {
                group = new QButtonGroup(this);
            }
            group->addButton(static_cast<QAbstractButton*>(widget));
        }
        // The frame around controls must not lie over them.
        if (control.kind == ControlKind::GroupBox) {
            widget->lower();
        }
        if (!m_tabOrder.empty()) {
            setTabOrder(m_tabOrder.back(), widget);
        }
        m_tabOrder.push_back(widget);
    }
}

HWND DialogWindow::Control(int id) const
{
    const auto found = m_controls.find(id);
    return found != m_controls.end() ? found->second : nullptr;
}

void DialogWindow::FocusFirst()
{
    for (QWidget* const widget : m_tabOrder) {
        if ((widget->focusPolicy() & Qt::TabFocus) != 0 && widget->isVisibleTo(this) &&
            widget->isEnabled()) {
            widget->setFocus(Qt::TabFocusReason);
            return;
        }
    }
}

bool DialogWindow::TakesInput() const
{
    const QWidget* const bearer = ParentOfModeless(m_dialog) != nullptr ? parentWidget() : this;
    return ModalLoop::IsOpen(m_dialog) && WidgetWindow::Topmost() == bearer;
}

LRESULT DialogWindow::Notify(UINT message, WPARAM wParam, LPARAM lParam)
{
    return ModalLoop::IsOpen(m_dialog) ? m_dialog.Send(message, wParam, lParam) : 0;
}

void DialogWindow::StartTimer(UINT_PTR id, UINT period)
{
    if (ModalLoop::IsOpen(m_dialog)) {
        m_timers[id].start(static_cast<int>(std::clamp(period, ShortestPeriod, 0x7FFF'FFFFu)),
                           Qt::PreciseTimer, this);
    }
}

void DialogWindow::StopTimer(UINT_PTR id)
{
    m_timers.erase(id);
}

void DialogWindow::reject()
{
    NotifyCommand(IDCANCEL, BN_CLICKED);
}

void DialogWindow::closeEvent(QCloseEvent* event)
{
    event->ignore();
    if (TakesInput()) {
        Notify(WM_CLOSE);
    }
}

void DialogWindow::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_F1) {
        ServeHelpKey(m_handle);
    } else {
        QDialog::keyPressEvent(event);
    }
}

void DialogWindow::timerEvent(QTimerEvent* event)
{
    const auto timer = std::find_if(m_timers.begin(), m_timers.end(), [event](const auto& entry) {
        return entry.second.timerId() == event->timerId();
    });
    if (timer != m_timers.end()) {
        Notify(WM_TIMER, timer->first);
    } else {
        QDialog::timerEvent(event);
    }
}

// Only a minimized window paints on itself; otherwise its frame controls are what is painted.
void DialogWindow::paintEvent(QPaintEvent* event)
{
    QDialog::paintEvent(event);
    if (!isMinimized()) {
        return;
    }
    QPoint offset;
    QPaintDevice* const device = redirected(&offset);
    const PaintRequest request(m_handle, this, device, -offset, {}, event->region());
    Notify(WM_PAINT);
}

void DialogWindow::dragEnterEvent(QDragEnterEvent* event)
{
    const QList<QUrl> urls = event->mimeData()->urls();
    if (TakesInput() && urls.size() == 1 && urls.front().isLocalFile()) {
        event->acceptProposedAction();
    }
}

// The handler may open a box; the program that the file comes from must not wait for its answer.
void DialogWindow::dropEvent(QDropEvent* event)
{
    const QByteArray path = QFile::encodeName(event->mimeData()->urls().front().toLocalFile());
    event->acceptProposedAction();
    QTimer::singleShot(0, this, [this, path] {
        if (TakesInput()) {
            Notify(WM_DROPFILES, 0, reinterpret_cast<LPARAM>(path.constData()));
        }
    });
}

void DialogWindow::changeEvent(QEvent* event)
{
    QDialog::changeEvent(event);
    if (event->type() == QEvent::WindowTitleChange && ++m_titles >= MostTitlesUnanswered) {
        m_titles = 0;
        DropAnsweredX11Requests();
    }
}

bool MarkRejected(HWND field, const std::string& reason)
{
    return dynamic_cast<EditControl&>(*WidgetOf(field)).Reject(FromBytes(reason));
}

// A mouse press that took the focus away reaches its button only now, and its release went to the
// box: the click is lost, the button must not stay down.
void ReturnTo(HWND field)
{
    DialogWindow* const window = DialogOf(field);
    QTimer::singleShot(0, window, [window] {
        for (QAbstractButton* const button : window->findChildren<QAbstractButton*>()) {
            button->setDown(false);
        }
    });
    auto& edit = dynamic_cast<EditControl&>(*WidgetOf(field));
    edit.setFocus(Qt::OtherFocusReason);
    edit.selectAll();
}

namespace {

QRect Pixels(const DialogUnits& place)
{
    const RECT pixels = UnitsToPixels(place, BaseUnitX, BaseUnitY);
    return {QPoint(pixels.left, pixels.top), QPoint(pixels.right - 1, pixels.bottom - 1)};
}

} // namespace
