// Dialogs as windows of the toolkit.
#include "platform/dialog.h"

#include "platform/boxes.h"
#include "platform/dialog_hooks.h"
#include "platform/field_text.h"
#include "platform/qt/control_widgets.h"
#include "platform/qt/dialog_window.h"
#include "platform/qt/frame_control.h"
#include "platform/qt/icon.h"
#include "platform/qt/messages.h"
#include "platform/qt/paint_request.h"
#include "platform/qt/text.h"
#include "platform/qt/window_table.h"
#include "platform/qt/x11.h"
#include "platform/scope.h"

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

// The character cell of the 8-point sans serif that the templates are designed in. It is fixed
// here, so that a dialog has the same pixels with every font.
constexpr int BaseUnitX = 6;
constexpr int BaseUnitY = 13;
constexpr UINT ShortestPeriod = 10; // milliseconds

constexpr int MostTitlesUnanswered = 64;

QRect Pixels(const DialogUnits& place);

} // namespace

CDialog::CDialog(const DialogTemplate& dialogTemplate, CWnd* parent)
    : m_template(dialogTemplate), m_parent(parent)
{
}

CDialog::~CDialog() = default;

int CDialog::DoModal()
{
    if (IsSessionEnding()) {
        return IDCANCEL;
    }

    // The handle dies with the window, also when the initialization throws.
    struct Handle
    {
        HWND& window;
        ~Handle() { window = nullptr; }
    } const handle{m_hWnd};
    DialogWindow window(*this, m_parent != nullptr ? ModalLoop::NextOwner() : nullptr);
    m_hWnd = window.Handle();

    const BOOL defaultFocus = OnInitDialog();
    window.Open();
    if (defaultFocus) {
        window.FocusFirst();
    }
    return window.Serve();
}

void CDialog::EndDialog(int result)
{
    if (DialogWindow* const window = DialogOf(m_hWnd)) {
        window->End(result);
    }
}

void CDialog::SetIcon(HICON icon, BOOL)
{
    QWidget* const widget = WidgetOf(m_hWnd);
    if (widget != nullptr && icon != nullptr) {
        widget->setWindowIcon(QPixmap::fromImage(ImageOf(*icon)));
    }
}

CWnd CDialog::GetDlgItem(int id) const
{
    const DialogWindow* const window = DialogOf(m_hWnd);
    return CWnd(window != nullptr ? window->Control(id) : nullptr);
}

DialogWindow::DialogWindow(CDialog& dialog, QWidget* owner)
    : QDialog(owner), m_dialog(dialog), m_handle(AddWindow({this, this})), m_loop(*this, &dialog)
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
    setAcceptDrops(TakesDrops());
    CreateControls();
    OpenQueue(m_handle);
}

DialogWindow::~DialogWindow()
{
    m_ended = true;
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

void DialogWindow::Open()
{
    if (!m_ended && !IsSessionEnding()) {
        m_loop.Open();
    }
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

int DialogWindow::Serve()
{
    m_loop.Run();
    return m_result;
}

void DialogWindow::End(int result)
{
    if (m_ended) {
        return;
    }
    m_ended = true;
    m_result = result;
    m_timers.clear();
    hide();
    m_loop.Quit();
}

bool DialogWindow::TakesInput() const
{
    return !m_ended && ModalLoop::TopmostWindow() == this;
}

LRESULT DialogWindow::Notify(UINT message, WPARAM wParam, LPARAM lParam)
{
    return m_ended ? 0 : m_dialog.Send(message, wParam, lParam);
}

void DialogWindow::StartTimer(UINT_PTR id, UINT period)
{
    if (!m_ended) {
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
    if (event->key() != Qt::Key_F1 || AfxGetApp() == nullptr) {
        return QDialog::keyPressEvent(event);
    }
    try {
        for (const DispatchEntry& entry : AfxGetApp()->DispatchTable()) {
            if (entry.message == WM_COMMAND && entry.id == ID_HELP) {
                entry.call(*AfxGetApp(), MAKEWPARAM(ID_HELP, BN_CLICKED), 0);
            }
        }
    } catch (...) {
        ReportCurrentException(m_handle);
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

bool DialogWindow::TakesDrops() const
{
    const std::span<const DispatchEntry> table = m_dialog.DispatchTable();
    return std::any_of(table.begin(), table.end(),
                       [](const DispatchEntry& entry) { return entry.message == WM_DROPFILES; });
}

// A box that opened inside a paint event would have the toolkit paint inside its painting; it waits
// for the end of it, and so that every further painting does not bring one more, it stands alone.
void ReportException(HWND dialog, const std::string& text)
{
    constexpr UINT Style = MB_OK | MB_ICONSTOP | MB_TOPMOST;
    const std::string caption = AfxGetApp() != nullptr ? AfxGetApp()->Name() : "";
    if (!PaintRequest::IsAnyServed()) {
        MessageBoxA(dialog, text.c_str(), caption.c_str(), Style);
        return;
    }
    static bool waiting = false;
    if (waiting) {
        return;
    }
    QTimer::singleShot(0, [dialog, text, caption] {
        const ScopeExit shown([] { waiting = false; });
        try {
            MessageBoxA(dialog, text.c_str(), caption.c_str(), Style);
        } catch (...) {
            ReportCurrentException(dialog);
        }
    });
    waiting = true;
}

void RejectEdit(const CDataExchange& dx)
{
    auto* const edit = dynamic_cast<EditControl*>(WidgetOf(dx.m_rejectedField));
    const bool isNew = edit->Reject(FromBytes(dx.m_rejectionReason));
    if (!isNew && dx.m_leavingField) {
        return;
    }
    DialogWindow* const window = DialogOf(dx.m_rejectedField);
    {
        const ScopedValue shown(window->m_showsRejection, true);
        MessageBoxA(window->Handle(), dx.m_rejectionReason.c_str(), AfxGetApp()->Name().c_str(),
                    MB_OK | MB_ICONEXCLAMATION | MB_TOPMOST);
    }
    // A mouse press that took the focus away reaches its button only now, and its release went to
    // the box: the click is lost, the button must not stay down.
    QTimer::singleShot(0, window, [window] {
        for (QAbstractButton* const button : window->findChildren<QAbstractButton*>()) {
            button->setDown(false);
        }
    });
    edit->setFocus(Qt::OtherFocusReason);
    edit->selectAll();
}

namespace {

QRect Pixels(const DialogUnits& place)
{
    const RECT pixels = UnitsToPixels(place, BaseUnitX, BaseUnitY);
    return {QPoint(pixels.left, pixels.top), QPoint(pixels.right - 1, pixels.bottom - 1)};
}

} // namespace
