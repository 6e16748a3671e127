// Message boxes, the open-file dialog and the wait cursor. All boxes serve timers and posted
// messages while they are open. Only the topmost of all boxes and dialogs takes input, and it has
// the keyboard; further boxes stand lower and to the right of the one below.
#pragma once

#include "platform/controls.h"
#include "platform/types.h"

#include <string>

inline constexpr UINT MB_OK = 0x00;
inline constexpr UINT MB_OKCANCEL = 0x01;
inline constexpr UINT MB_YESNO = 0x04;
inline constexpr UINT MB_ICONHAND = 0x10;
inline constexpr UINT MB_ICONSTOP = MB_ICONHAND;
inline constexpr UINT MB_ICONEXCLAMATION = 0x30;
inline constexpr UINT MB_ICONASTERISK = 0x40;
inline constexpr UINT MB_TOPMOST = 0x40000;

// Shows the text, never as markup, and returns the answer: IDOK, IDCANCEL, IDYES or IDNO. Escape
// and the close button answer IDCANCEL, or IDNO of a Yes/No box, or IDOK of an OK box. A text too
// long for the screen scrolls. The box stands over whatever is topmost; owner may be null. For 300
// ms after it came, and after it came back from under another box, a question, which has several
// buttons, ignores what may have been meant for what stood there before: Enter, Space, letters, and
// presses of the mouse.
int MessageBoxA(HWND owner, const char* text, const char* caption, UINT style);

// The same with the application's name as caption.
int AfxMessageBox(const char* text, UINT style = MB_OK);

inline constexpr DWORD OFN_FILEMUSTEXIST = 0x1000;

class CFileDialog
{
public:
    // open: TRUE (the only use here); filter: "label|pattern||"; fileName may be null. A typed name
    // that is no file is looked for with the default extension ("*.q32"), in small and in capital
    // letters.
    CFileDialog(BOOL open, const char* defaultExtension, const char* fileName, DWORD flags,
                const char* filter, CWnd* parent);

    // The folder shown first; the working folder when empty.
    void SetInitialFolder(const std::string& folder) { m_folder = folder; }
    int DoModal();                                            // IDOK or IDCANCEL
    const std::string& GetPathName() const { return m_path; } // after IDOK: the full path

private:
    std::string m_defaultExtension, m_fileName, m_filter, m_folder, m_path;
    DWORD m_flags;
    CWnd* m_parent;
};

// The wait cursor, for the life of the object or until Restore.
class CWaitCursor
{
public:
    CWaitCursor();
    ~CWaitCursor();
    CWaitCursor(const CWaitCursor&) = delete;
    CWaitCursor& operator=(const CWaitCursor&) = delete;
    void Restore();

private:
    bool m_shown = true;
};
