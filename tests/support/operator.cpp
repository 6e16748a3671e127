// What an operator expects and how it is met, the same over every window system.
#include "support/operator.h"

#include "platform/boxes.h"

#include <algorithm>
#include <gtest/gtest.h>

namespace {

// Runs one dialog as a program would.
class DialogProgram : public CWinApp
{
public:
    explicit DialogProgram(CDialog& dialog) : CWinApp("Tarn test"), m_dialog(dialog)
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
        m_result = m_dialog.DoModal();
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
    CDialog& m_dialog;
    int m_result = 0;
};

} // namespace

int Operator::Run(CDialog& dialog, const std::function<void()>& script)
{
    m_dialogs.insert(m_dialogs.begin(), {dialog.Template().title, 0, script});
    const int result =
        AfxGetApp() != nullptr ? dialog.DoModal() : DialogProgram(dialog).RunDialog();
    for (const Expectation& expected : m_boxes) {
        if (!expected.stays) {
            ADD_FAILURE() << "No box came with the text: " << expected.part;
        }
    }
    m_boxes.clear();
    m_dialogs.clear();
    return result;
}

void Operator::WhenBox(std::string part, int answer, std::function<void()> meanwhile)
{
    m_boxes.push_back({std::move(part), answer, std::move(meanwhile)});
}

void Operator::WhenEveryBox(std::string part, int answer, std::function<void()> meanwhile)
{
    m_boxes.push_back({std::move(part), answer, std::move(meanwhile), true});
}

void Operator::WhenDialog(std::string title, std::function<void()> script)
{
    m_dialogs.push_back({std::move(title), 0, std::move(script)});
}

void Operator::WhenFileDialog(std::string path, std::function<void()> meanwhile)
{
    m_files.push_back({std::move(path), 0, std::move(meanwhile)});
}

void Operator::Minimize(bool minimized)
{
    if (TakesInput() && Dialog().Template().minimizable) {
        Dialog().ShowWindow(minimized ? SW_MINIMIZE : SW_RESTORE);
    }
}

int Operator::Position(int id) const
{
    const HWND bar = Dialog().GetDlgItem(id).GetSafeHwnd();
    const auto control = std::ranges::find(Dialog().Template().controls, id, &ControlTemplate::id);
    return control->kind == ControlKind::TrackBar ? CSliderCtrl(bar).GetPos()
                                                  : CScrollBar(bar).GetScrollPos();
}

void Operator::Use(CDialog& dialog)
{
    const auto found = std::ranges::find(m_dialogs, dialog.Template().title, &Expectation::part);
    if (found != m_dialogs.end()) {
        const std::function<void()> script = found->meanwhile;
        m_dialogs.erase(found);
        script();
    } else if (m_improvisation.useDialog) {
        return m_improvisation.useDialog(dialog);
    } else {
        ADD_FAILURE() << "An unexpected dialog came: " << dialog.Template().title;
    }
    if (!IsSessionEnding()) {
        dialog.EndDialog(IDCANCEL);
    }
}

int Operator::Meet(const ShownBox& box)
{
    m_shown.push_back(box);
    const auto expected = std::ranges::find_if(
        m_boxes, [&](const Expectation& e) { return box.text.find(e.part) != std::string::npos; });
    if (expected != m_boxes.end()) {
        const Expectation expectation = *expected;
        if (!expected->stays) {
            m_boxes.erase(expected);
        }
        if (expectation.meanwhile) {
            expectation.meanwhile();
        }
        return expectation.answer;
    }
    if (m_improvisation.answerBox) {
        return m_improvisation.answerBox(box);
    }
    ADD_FAILURE() << "An unexpected box came: " << box.text;
    return 0;
}

std::string Operator::MeetFileDialog()
{
    if (m_files.empty()) {
        if (m_improvisation.chooseFile) {
            return m_improvisation.chooseFile();
        }
        ADD_FAILURE() << "An unexpected open-file dialog came";
        return {};
    }
    const Expectation expectation = m_files.front();
    m_files.erase(m_files.begin());
    if (expectation.meanwhile) {
        expectation.meanwhile();
    }
    return expectation.part;
}
