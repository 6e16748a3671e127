// The windows of open dialogs and boxes, and the order in which they stand.
#include "platform/qt/modal_window.h"

#include "platform/policy.h"
#include "platform/scope.h"

#include <QApplication>
#include <QMessageBox>
#include <QScreen>
#include <QStyle>
#include <QTimer>

#include <algorithm>

namespace {

bool outermostRuns = false;

QWidget* WidgetOf(const ModalLoop& loop);
void EndMenus();

} // namespace

WidgetWindow::WidgetWindow(QDialog* widget, std::function<int(int result)> answer)
    : m_widget(widget), m_before(QApplication::activeWindow())
{
    if (answer) {
        QObject::connect(widget, &QDialog::finished,
                         [this, answer](int result) { m_loop->Quit(answer(result)); });
        QObject::connect(widget, &QObject::destroyed, [this] {
            if (m_loop != nullptr) {
                m_loop->Quit(0);
            }
        });
    }
}

// With its connections: cut before, the accessibility tree would keep the widget.
WidgetWindow::~WidgetWindow()
{
    if (m_widget != nullptr) {
        m_widget->hide();
    }
    if (QWidget* const below = Topmost()) {
        const bool wasBeside =
            m_before != nullptr && m_before->isVisible() && m_before->parentWidget() == below;
        (wasBeside ? m_before.data() : below)->activateWindow();
    }
    delete m_widget;
}

// Of two windows of which none belongs to the other, the toolkit blocks the older one only by the
// modality of the whole program.
void WidgetWindow::Show()
{
    EndMenus();
    const bool isBox = m_loop->Dialog() == nullptr;
    if (qobject_cast<QMessageBox*>(m_widget->parentWidget()) != nullptr) {
        PlaceAboveParent();
    }
    if (!m_loop->IsOutermost() || isBox) {
        m_widget->setWindowModality(Qt::ApplicationModal);
    }
    m_widget->show();
    m_place = m_widget->pos();
    m_widget->activateWindow();
}

// A title bar's height lower and to the right, so that two boxes do not look like one. What would
// stick out of the screen begins at its edge again. Until the window manager has framed the box
// below, the toolkit is wrong about its place by as much as the frame.
void WidgetWindow::PlaceAboveParent()
{
    constexpr int WidestFrame = 64;
    const QWidget& below = *m_widget->parentWidget();
    const std::vector<ModalLoop*>& loops = ModalLoop::Open();
    const auto own = std::ranges::find(loops, m_loop);
    const QPoint opened = own != loops.begin()
                              ? static_cast<WidgetWindow&>((*(own - 1))->Window()).m_place
                              : below.pos();
    const bool isMoved = (below.pos() - opened).manhattanLength() > WidestFrame;
    const int titleBar = below.style()->pixelMetric(QStyle::PM_TitleBarHeight);
    QPoint place = (isMoved ? below.pos() : opened) + QPoint(titleBar, titleBar);

    m_widget->ensurePolished();
    const QSize size = m_widget->sizeHint() + QSize(0, titleBar);
    const QRect screen = below.screen()->availableGeometry();
    if (place.x() + size.width() > screen.right()) {
        place.setX(screen.left());
    }
    if (place.y() + size.height() > screen.bottom()) {
        place.setY(screen.top());
    }
    m_widget->move(place);
}

// The outermost loop is the toolkit's main one, whose end is the end of all loops.
void WidgetWindow::Serve()
{
    if (m_loop->IsOutermost()) {
        const ScopedValue runs(outermostRuns, true);
        QApplication::exec();
    } else {
        m_events.exec();
    }
}

void WidgetWindow::Stop()
{
    m_events.quit();
    if (m_loop->IsOutermost() && outermostRuns) {
        QCoreApplication::exit();
    }
}

void WidgetWindow::Hide()
{
    if (m_widget != nullptr) {
        m_widget->hide();
    }
}

QWidget* WidgetWindow::Topmost()
{
    QWidget* const modal = QApplication::activeModalWidget();
    return modal != nullptr || ModalLoop::Open().empty() ? modal
                                                         : WidgetOf(*ModalLoop::Open().back());
}

QWidget* WidgetWindow::NextOwner()
{
    QWidget* const topmost = Topmost();
    return topmost != nullptr && topmost->isVisible() && !topmost->isMinimized() ? topmost
                                                                                 : nullptr;
}

// Closed and not only ended: a question of the toolkit whose loop ends without an answer counts as
// answered with Yes.
void CloseWindowsOfSystem()
{
    EndMenus();
    const auto isOurs = [](const QWidget* window) {
        return std::ranges::any_of(ModalLoop::Open(), [window](const ModalLoop* loop) {
            return WidgetOf(*loop) == window;
        });
    };
    for (QWidget* modal = QApplication::activeModalWidget(); modal != nullptr && !isOurs(modal);
         modal = QApplication::activeModalWidget()) {
        modal->close();
        modal->hide();
    }
}

void RunSoon(std::function<void()> action)
{
    QTimer::singleShot(0, std::move(action));
}

namespace {

QWidget* WidgetOf(const ModalLoop& loop)
{
    return static_cast<WidgetWindow&>(loop.Window()).Widget();
}

// They would keep the mouse and the keyboard.
void EndMenus()
{
    while (QWidget* const popup = QApplication::activePopupWidget()) {
        popup->close();
        popup->hide();
    }
}

} // namespace
