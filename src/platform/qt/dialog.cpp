// Dialogs as windows of the toolkit.
#include "platform/field_text.h"
#include "platform/policy.h"
#include "platform/qt/control_widgets.h"
#include "platform/qt/desktop_look.h"
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
#include <QCheckBox>
#include <QCloseEvent>
#include <QFile>
#include <QGroupBox>
#include <QIcon>
#include <QLabel>
#include <QMimeData>
#include <QPixmap>
#include <QPushButton>
#include <QRadioButton>
#include <QScreen>
#include <QTimer>
#include <QWindow>

#include <algorithm>
#include <utility>

namespace {

constexpr UINT ShortestPeriod = 10; // milliseconds

constexpr int MostTitlesUnanswered = 64;

QSize NeededSize(const QWidget& widget);

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
    if (form.resizable) {
        flags |= Qt::WindowMaximizeButtonHint;
    }
    setWindowFlags(flags);
    SetTitle(*this, form.title);
    setAcceptDrops(Handles(dialog, WM_DROPFILES));
    if (owner != nullptr) {
        setScreen(owner->screen());
    }
    m_scale = ScaleOf(*screen());
    setFont(FontOf(*screen()));
    CreateControls();
    ShowHints();
    MeasureUnits();
    SetClientSize(OpeningSize());
    m_reported = size();
    PlaceControls();
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
        if (!m_placed.empty()) {
            setTabOrder(m_placed.back().widget, widget);
        }
        m_placed.push_back({widget, &control});
    }
}

// The average character of the font that the controls have, and as much more as the widest text
// needs: fonts of one height differ in their widths.
void DialogWindow::MeasureUnits()
{
    const QSize standard = StandardUnit(font());
    m_unit = {std::max(standard.width(), fontMetrics().averageCharWidth()),
              std::max(standard.height(), fontMetrics().height())};
    for (const auto& [widget, line] : m_placed) {
        const QSize needed = NeededSize(*widget);
        while (Pixels(line->place).width() < needed.width()) {
            m_unit.rwidth() += 1;
        }
        while (Pixels(line->place).height() < needed.height()) {
            m_unit.rheight() += 1;
        }
    }
}

QRect DialogWindow::Pixels(const DialogUnits& place) const
{
    const RECT pixels = UnitsToPixels(place, m_unit.width(), m_unit.height());
    return {QPoint(pixels.left, pixels.top), QPoint(pixels.right - 1, pixels.bottom - 1)};
}

QSize DialogWindow::OpeningSize() const
{
    const DialogTemplate& form = m_dialog.Template();
    return Pixels({0, 0, form.width, form.height}).size();
}

void DialogWindow::SetClientSize(QSize size)
{
    if (m_dialog.Template().resizable) {
        setMinimumSize(OpeningSize());
        resize(size);
    } else {
        setFixedSize(OpeningSize());
    }
}

void DialogWindow::PlaceControls()
{
    const QSize grown = size() - OpeningSize();
    for (const auto& [widget, line] : m_placed) {
        const RECT place = UnitsToPixels(line->place, m_unit.width(), m_unit.height());
        const RECT at = GrownPlace(place, line->flags, grown.width(), grown.height());
        widget->setGeometry(at.left, at.top, at.right - at.left, at.bottom - at.top);
    }
}

// On a screen of another scale, or with another font, everything is laid out again; what the
// operator has added to the window's size stays in proportion.
void DialogWindow::FollowDesktop()
{
    const QFont wanted = FontOf(*screen());
    if (wanted.pixelSize() == font().pixelSize() && ScaleOf(*screen()) == m_scale) {
        return;
    }
    const QSize grown = size() - OpeningSize();
    const double ratio = ScaleOf(*screen()) / std::exchange(m_scale, ScaleOf(*screen()));
    setFont(wanted);
    MeasureUnits();
    m_reported = {}; // the areas change also where the window keeps its size
    if (isMaximized()) {
        setMinimumSize(OpeningSize());
        QResizeEvent same(size(), size());
        return resizeEvent(&same);
    }
    SetClientSize(OpeningSize() + grown * ratio);
}

void DialogWindow::showEvent(QShowEvent* event)
{
    QDialog::showEvent(event);
    connect(windowHandle(), &QWindow::screenChanged, this, &DialogWindow::FollowDesktop,
            Qt::UniqueConnection);
}

void DialogWindow::resizeEvent(QResizeEvent* event)
{
    QDialog::resizeEvent(event);
    if (size() == m_reported) {
        return;
    }
    m_reported = size();
    PlaceControls();
    Notify(WM_SIZE, isMaximized() ? SIZE_MAXIMIZED : SIZE_RESTORED, MAKELPARAM(width(), height()));
}

// What a label shows is what a screen reader says about it.
void DialogWindow::ShowHints()
{
    for (const ControlHint& hint : m_dialog.Template().hints) {
        QWidget* const widget = WidgetOf(Control(hint.id));
        widget->setToolTip(hint.text);
        if (qobject_cast<QLabel*>(widget) == nullptr) {
            widget->setAccessibleDescription(hint.text);
        }
    }
}

HWND DialogWindow::Control(int id) const
{
    const auto found = m_controls.find(id);
    return found != m_controls.end() ? found->second : nullptr;
}

void DialogWindow::FocusFirst()
{
    for (const auto& [widget, line] : m_placed) {
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

bool DialogWindow::event(QEvent* event)
{
    const bool taken = QDialog::event(event);
    if (event->type() == QEvent::ApplicationFontChange) {
        FollowDesktop();
    }
    return taken;
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

// What the text takes, with what its control puts around it.
QSize NeededSize(const QWidget& widget)
{
    const QFontMetrics metrics = widget.fontMetrics();
    const int space = metrics.averageCharWidth();
    if (qobject_cast<const QCheckBox*>(&widget) != nullptr ||
        qobject_cast<const QRadioButton*>(&widget) != nullptr ||
        qobject_cast<const QLabel*>(&widget) != nullptr) {
        return {widget.sizeHint().width(), metrics.height()};
    }
    if (const auto* const button = qobject_cast<const QPushButton*>(&widget)) {
        return metrics.size(Qt::TextShowMnemonic, button->text()) + QSize(2 * space, 2);
    }
    if (const auto* const group = qobject_cast<const QGroupBox*>(&widget)) {
        return metrics.size(Qt::TextShowMnemonic, group->title()) + QSize(4 * space, 0);
    }
    return qobject_cast<const QLineEdit*>(&widget) != nullptr ? QSize(0, metrics.height() + 4)
                                                              : QSize();
}

} // namespace
