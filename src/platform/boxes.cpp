// Message boxes, the open-file dialog and the wait cursor, whatever draws them.
#include "platform/boxes.h"

#include "platform/policy.h"

#include <utility>

namespace {

int waitCursors = 0;

int AnswerOnLeaving(UINT style);
bool Offers(UINT style, int answer);
int RunModal(ModalWindow& window);

} // namespace

int MessageBoxA(HWND owner, const char* text, const char* caption, UINT style)
{
    if (IsSessionEnding()) {
        return AnswerOnLeaving(style);
    }
    const int answer = RunModal(*MakeBox(owner, text, caption, style));
    return Offers(style, answer) ? answer : AnswerOnLeaving(style);
}

int AfxMessageBox(const char* text, UINT style)
{
    const CDialog* const top = ModalLoop::TopDialog();
    return MessageBoxA(top != nullptr ? top->GetSafeHwnd() : nullptr, text,
                       AfxGetApp() != nullptr ? AfxGetApp()->Name().c_str() : "", style);
}

CFileDialog::CFileDialog(BOOL, const char* defaultExtension, const char* fileName, DWORD flags,
                         const char* filter, CWnd* parent)
    : m_defaultExtension(defaultExtension != nullptr ? defaultExtension : ""),
      m_fileName(fileName != nullptr ? fileName : ""),
      m_filter(filter != nullptr ? filter : ""),
      m_flags(flags),
      m_parent(parent)
{
}

int CFileDialog::DoModal()
{
    if (IsSessionEnding()) {
        return IDCANCEL;
    }
    std::string path;
    const bool mustExist = (m_flags & OFN_FILEMUSTEXIST) != 0;
    const int answer = RunModal(*MakeFileChooser(
        {m_defaultExtension, m_fileName, m_filter, m_folder, mustExist, m_parent}, path));
    if (answer != IDOK || path.empty()) {
        return IDCANCEL;
    }
    m_path = path;
    return IDOK;
}

CWaitCursor::CWaitCursor()
{
    if (waitCursors++ == 0) {
        ShowWaitCursor(true);
    }
}

CWaitCursor::~CWaitCursor()
{
    Restore();
}

void CWaitCursor::Restore()
{
    if (std::exchange(m_shown, false) && --waitCursors == 0) {
        ShowWaitCursor(false);
    }
}

namespace {

int AnswerOnLeaving(UINT style)
{
    return (style & MB_YESNO) != 0 ? IDNO : (style & MB_OKCANCEL) != 0 ? IDCANCEL : IDOK;
}

bool Offers(UINT style, int answer)
{
    if ((style & MB_YESNO) != 0) {
        return answer == IDYES || answer == IDNO;
    }
    return answer == IDOK || (answer == IDCANCEL && (style & MB_OKCANCEL) != 0);
}

int RunModal(ModalWindow& window)
{
    ModalLoop loop(window);
    if (!IsSessionEnding()) {
        window.Show();
    }
    return loop.Run();
}

} // namespace
