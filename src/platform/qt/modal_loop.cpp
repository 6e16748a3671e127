// The nested message loops of dialogs and boxes.
#include "platform/qt/modal_loop.h"

#include "platform/dialog.h"
#include "platform/qt/dialog_window.h"

#include <QApplication>
#include <QTimer>

#include <algorithm>
#include <chrono>
#include <vector>

namespace {

constexpr std::chrono::milliseconds EndingPeriod(10);

std::vector<ModalLoop*> loops; // outermost first
bool ending = false;

// The toolkit's own boxes and menus run loops that stand in nobody's list here.
void LeaveToolkitLoops()
{
    for (QWidget* const window : QApplication::topLevelWidgets()) {
        auto* const dialog = qobject_cast<QDialog*>(window);
        if (!window->isVisible() || dynamic_cast<DialogWindow*>(window) != nullptr) {
            continue;
        }
        if (dialog != nullptr) {
            dialog->reject();
        } else if (window->windowType() == Qt::Popup) {
            window->close();
        }
    }
}

} // namespace

ModalLoop::ModalLoop(std::function<void()> cancel, CDialog* dialog)
    : m_cancel(std::move(cancel)), m_dialog(dialog)
{
    loops.push_back(this);
}

ModalLoop::~ModalLoop()
{
    std::erase(loops, this);
    if (loops.empty() && m_dialog != nullptr) {
        ending = false;
    }
}

void ModalLoop::Run()
{
    if (!m_quit) {
        m_loop.exec();
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
    std::for_each(inside.rbegin(), inside.rend(), [](ModalLoop* loop) { loop->m_cancel(); });
}

bool ModalLoop::IsInnermost(const CDialog* dialog)
{
    return !loops.empty() && loops.back()->m_dialog == dialog;
}

void ModalLoop::AskToEnd()
{
    if (loops.empty()) {
        return;
    }
    ending = true;
    LeaveToolkitLoops();
    const std::vector<ModalLoop*> open = loops;
    for (std::size_t i = open.size(); i-- > 0;) {
        if (i > 0 || open[i]->m_dialog == nullptr) {
            open[i]->m_cancel();
        }
    }
    EndOutermost();
}

// Asks again until the handlers that had opened the inner loops have returned: they may still need
// what the dialog's handler is going to close.
void ModalLoop::EndOutermost()
{
    QTimer::singleShot(EndingPeriod, [] {
        if (loops.empty() || !ending) { // meanwhile the program has ended
            return;
        }
        if (loops.size() > 1) {
            LeaveToolkitLoops();
            return EndOutermost();
        }
        ModalLoop* const outermost = loops.front();
        if (outermost->m_dialog != nullptr) {
            outermost->m_dialog->Send(WM_QUERYENDSESSION);
        }
        ending = outermost->m_quit; // a refusal lets boxes open again
    });
}

bool IsSessionEnding()
{
    return ending;
}
