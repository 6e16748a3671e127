// The nested message loops of dialogs and boxes, and the order in which their windows stand.
#include "platform/qt/modal_loop.h"

#include "platform/dialog.h"
#include "platform/dialog_hooks.h"
#include "platform/scope.h"

#include <QApplication>
#include <QMessageBox>
#include <QScreen>
#include <QStyle>
#include <QTimer>

#include <algorithm>
#include <vector>

namespace {

std::vector<ModalLoop*> loops; // outermost first
bool ending = false;
bool outermostRuns = false;

void EndMenus();

} // namespace

ModalLoop::ModalLoop(QWidget& window, CDialog* dialog) : m_window(&window), m_dialog(dialog)
{
    loops.push_back(this);
}

ModalLoop::~ModalLoop()
{
    std::erase(loops, this);
    if (loops.empty()) {
        ending = false;
    }
    if (m_window != nullptr) {
        m_window->hide();
    }
    if (QWidget* const below = TopmostWindow()) {
        below->activateWindow();
    }
    if (ending) {
        AskDialogSoon();
    }
}

// Of two windows of which none belongs to the other, the toolkit blocks the older one only by the
// modality of the whole program.
void ModalLoop::Open()
{
    EndMenus();
    if (qobject_cast<QMessageBox*>(m_window->parentWidget()) != nullptr) {
        PlaceAboveParent();
    }
    if (!IsOutermost() || m_dialog == nullptr) {
        m_window->setWindowModality(Qt::ApplicationModal);
    }
    m_window->show();
    m_place = m_window->pos();
    m_window->activateWindow();
}

// A title bar's height lower and to the right, so that two boxes do not look like one. What would
// stick out of the screen begins at its edge again. Until the window manager has framed the box
// below, the toolkit is wrong about its place by as much as the frame.
void ModalLoop::PlaceAboveParent()
{
    constexpr int WidestFrame = 64;
    const QWidget& below = *m_window->parentWidget();
    const auto own = std::find(loops.begin(), loops.end(), this);
    const QPoint opened = own != loops.begin() ? (*(own - 1))->m_place : below.pos();
    const bool isMoved = (below.pos() - opened).manhattanLength() > WidestFrame;
    const int titleBar = below.style()->pixelMetric(QStyle::PM_TitleBarHeight);
    QPoint place = (isMoved ? below.pos() : opened) + QPoint(titleBar, titleBar);

    m_window->ensurePolished();
    const QSize size = m_window->sizeHint() + QSize(0, titleBar);
    const QRect screen = below.screen()->availableGeometry();
    if (place.x() + size.width() > screen.right()) {
        place.setX(screen.left());
    }
    if (place.y() + size.height() > screen.bottom()) {
        place.setY(screen.top());
    }
    m_window->move(place);
}

// The outermost loop is the toolkit's main one, whose end is the end of all loops.
void ModalLoop::Run()
{
    while (!m_quit) {
        if (ending && IsOutermost() && m_dialog != nullptr) {
            AskDialogToEnd();
        } else if (ending) {
            return;
        } else if (IsOutermost()) {
            const ScopedValue runs(outermostRuns, true);
            QApplication::exec();
        } else {
            m_loop.exec();
        }
    }
}

void ModalLoop::Quit()
{
    if (m_quit) {
        return;
    }
    m_quit = true;
    m_loop.quit();
    const auto self = std::find(loops.begin(), loops.end(), this);
    const std::vector<ModalLoop*> inside(self + 1, loops.end());
    std::for_each(inside.rbegin(), inside.rend(), [](ModalLoop* loop) { loop->Leave(); });
    CloseWindowsOfToolkit();
    if (IsOutermost() && outermostRuns) {
        QCoreApplication::exit();
    }
}

QWidget* ModalLoop::TopmostWindow()
{
    QWidget* const modal = QApplication::activeModalWidget();
    return modal != nullptr || loops.empty() ? modal : loops.back()->m_window.data();
}

QWidget* ModalLoop::NextOwner()
{
    QWidget* const topmost = TopmostWindow();
    return topmost != nullptr && topmost->isVisible() && !topmost->isMinimized() ? topmost
                                                                                 : nullptr;
}

void ModalLoop::AskToEnd()
{
    if (loops.empty()) {
        return;
    }
    ending = true;
    const std::vector<ModalLoop*> open = loops;
    for (std::size_t i = open.size(); i-- > 0;) {
        open[i]->CloseWindowsOfToolkit();
        if (i > 0 || open[i]->m_dialog == nullptr) {
            open[i]->Leave();
        }
    }
    AskDialogSoon();
    if (outermostRuns) {
        QCoreApplication::exit();
    }
}

void ModalLoop::TellDisplayLost()
{
    ending = true;
    try {
        if (AfxGetApp() != nullptr) {
            AfxGetApp()->OnDisplayLost();
        }
    } catch (...) {
        ReportCurrentException(nullptr);
    }
}

bool IsSessionEnding()
{
    return ending;
}

bool ModalLoop::IsOutermost() const
{
    return loops.front() == this;
}

// When the handlers inside have returned: they may still need what the dialog is going to close.
void ModalLoop::AskDialogSoon()
{
    QTimer::singleShot(0, [] {
        if (ending && loops.size() == 1) {
            loops.front()->AskDialogToEnd();
        }
    });
}

// After a refusal boxes open again.
void ModalLoop::AskDialogToEnd()
{
    if (m_dialog == nullptr || m_quit) {
        return;
    }
    m_dialog->Send(WM_QUERYENDSESSION);
    if (!m_quit) {
        ending = false;
    }
}

// Closed and not only ended: a question of the toolkit whose loop ends without an answer counts as
// answered with Yes.
void ModalLoop::CloseWindowsOfToolkit() const
{
    EndMenus();
    const auto isOurs = [](const QWidget* window) {
        return std::any_of(loops.begin(), loops.end(),
                           [window](const ModalLoop* loop) { return loop->m_window == window; });
    };
    for (QWidget* modal = QApplication::activeModalWidget(); modal != nullptr && !isOurs(modal);
         modal = QApplication::activeModalWidget()) {
        modal->close();
        modal->hide();
    }
}

// As if the operator had left the window.
void ModalLoop::Leave()
{
    if (m_dialog != nullptr) {
        return m_dialog->EndDialog(IDCANCEL);
    }
    if (m_window != nullptr) {
        m_window->hide();
    }
    Quit();
}

namespace {

// They would keep the mouse and the keyboard.
void EndMenus()
{
    while (QWidget* const popup = QApplication::activePopupWidget()) {
        popup->close();
        popup->hide();
    }
}

} // namespace
