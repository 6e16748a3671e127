// The stack of nested loops, and how the end of the program unwinds it.
#include "platform/policy.h"

#include <algorithm>
#include <utility>

namespace {

std::vector<ModalLoop*> loops; // outermost first
bool ending = false;

} // namespace

ModalLoop::ModalLoop(ModalWindow& window, CDialog* dialog)
    : m_window(window), m_dialog(dialog), m_result(dialog != nullptr ? IDCANCEL : 0)
{
    m_window.m_loop = this;
    loops.push_back(this);
}

ModalLoop::~ModalLoop()
{
    std::erase(loops, this);
    m_window.m_loop = nullptr;
    if (loops.empty()) {
        ending = false;
    }
    if (ending) {
        RunSoon(&AskOutermost);
    }
}

int ModalLoop::Run()
{
    while (!m_over) {
        if (!ending) {
            m_window.Serve();
        } else if (IsOutermost() && m_dialog != nullptr) {
            AskOutermost();
        } else {
            break;
        }
    }
    return m_result;
}

void ModalLoop::Quit(int result)
{
    if (std::exchange(m_over, true)) {
        return;
    }
    m_result = result;
    const std::vector<ModalLoop*> inside(std::ranges::find(loops, this) + 1, loops.end());
    std::for_each(inside.rbegin(), inside.rend(), [](ModalLoop* loop) { loop->Leave(); });
    CloseWindowsOfSystem();
    m_window.Hide();
    m_window.Stop();
}

bool ModalLoop::IsOutermost() const
{
    return loops.front() == this;
}

const std::vector<ModalLoop*>& ModalLoop::Open()
{
    return loops;
}

ModalLoop* ModalLoop::Of(const CDialog& dialog)
{
    const auto found = std::ranges::find(loops, &dialog, &ModalLoop::m_dialog);
    return found != loops.end() ? *found : nullptr;
}

bool ModalLoop::IsOpen(const CDialog& dialog)
{
    const CDialog* const parent = ParentOfModeless(dialog);
    const ModalLoop* const loop = Of(parent != nullptr ? *parent : dialog);
    return loop != nullptr && !loop->m_over;
}

bool ModalLoop::TakesInput(const CDialog& dialog)
{
    const CDialog* const parent = ParentOfModeless(dialog);
    return IsOpen(dialog) && loops.back()->m_dialog == (parent != nullptr ? parent : &dialog);
}

CDialog* ModalLoop::TopDialog()
{
    const auto top = std::find_if(loops.rbegin(), loops.rend(),
                                  [](const ModalLoop* loop) { return loop->m_dialog != nullptr; });
    return top != loops.rend() ? (*top)->m_dialog : nullptr;
}

void ModalLoop::AskToEnd()
{
    if (loops.empty()) {
        return;
    }
    ending = true;
    const std::vector<ModalLoop*> open = loops;
    for (std::size_t i = open.size(); i-- > 0;) {
        CloseWindowsOfSystem();
        if (i > 0 || open[i]->m_dialog == nullptr) {
            open[i]->Leave();
        }
    }
    RunSoon(&AskOutermost);
    loops.front()->m_window.Stop();
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

void ModalLoop::AskOutermost()
{
    if (!ending || loops.size() != 1 || loops.front()->m_over ||
        loops.front()->m_dialog == nullptr) {
        return;
    }
    ModalLoop* const outermost = loops.front();
    outermost->m_dialog->Send(WM_QUERYENDSESSION);
    ending = outermost->m_over;
}

void ModalLoop::Leave()
{
    if (m_dialog != nullptr) {
        m_dialog->EndDialog(IDCANCEL);
    } else {
        Quit(0);
    }
}
