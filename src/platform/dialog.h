// Dialogs, the exchange of data between their controls and members, and the application object.
#pragma once

#include "platform/controls.h"
#include "platform/dialog_template.h"

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <utility>

using HICON = const IconResource*;

class CDialog;

// One pass of CDialog::DoDataExchange over the controls and members of a dialog.
class CDataExchange
{
public:
    enum class Pass
    {
        Check,         // looks for a text that cannot be taken and changes nothing
        Read,          // controls -> members, after a Check that found none
        Write,         // members -> controls
        RestoreChecks, // members -> controls, check boxes only
    };

    CDataExchange(CDialog* dialog, Pass pass)
        : m_pDlg(dialog),
          m_bSaveAndValidate(pass == Pass::Check || pass == Pass::Read ? TRUE : FALSE),
          m_pass(pass)
    {
    }

    CDialog* m_pDlg;
    BOOL m_bSaveAndValidate; // TRUE: Check or Read
    Pass m_pass;
    bool m_leavingField = false;    // the pass serves an edit field's loss of the focus
    HWND m_rejectedField = nullptr; // the first one, null for none
    std::string m_rejectionReason;  // for the operator
};

// Each binds the control of this id of the pass's dialog to the member. An id that the template
// does not hold is a programming error and ends the program with a message on standard error.
//
// A text that is no number of the member's type (empty, not a number, nan, inf, a sign where
// unsigned, out of range) rejects the field.
void DDX_Control(CDataExchange* dx, int id, CWnd& control);
void DDX_Text(CDataExchange* dx, int id, std::uint32_t& value);
void DDX_Text(CDataExchange* dx, int id, double& value);
void DDX_Check(CDataExchange* dx, int id, BOOL& value);
// id: the group's first radio button; value: index of the checked one in its group, -1 for none.
void DDX_Radio(CDataExchange* dx, int id, int& value);
void DDX_Slider(CDataExchange* dx, int id, std::int32_t& value);

class CDialog : public CWnd
{
public:
    // The template must outlive the dialog. parent: the owner window, null for none.
    CDialog(const DialogTemplate& dialogTemplate, CWnd* parent);
    ~CDialog() override;
    CDialog(const CDialog&) = delete;
    CDialog& operator=(const CDialog&) = delete;

    // Creates the window, runs OnInitDialog, shows the window and serves messages until EndDialog;
    // returns its result. With a parent, the parent takes no input meanwhile. When the program is
    // asked to end, every open dialog ends with IDCANCEL.
    int DoModal();
    void EndDialog(int result);

    // A modeless dialog: creates the window, runs OnInitDialog, shows the window and returns while
    // it is open; FALSE while the session ends. The parent, an open modal dialog, goes on taking
    // input, and the dialog takes input whenever its parent does. EndDialog closes it, and so does
    // the parent's end, and an exception of OnInitDialog. Create opens it anew.
    BOOL Create();

    // Every event of the dialog comes through here: the handler that the dispatch table names, or
    // the default processing. Send(WM_COMMAND, id) is a click on the control of that id, with a
    // check box or radio button as the click has left it.
    // An exception of a handler ends here, in a box with its text.
    LRESULT Send(UINT message, WPARAM wParam = 0, LPARAM lParam = 0);

    // TRUE: reads the controls into the members; FALSE: writes the members into the controls. A
    // reading that finds a rejected field changes no member and returns FALSE: the check boxes show
    // the members again, a box names the field and says what it takes, and the focus goes back to
    // it. An operator who was told and leaves the field as it is, is not told again before acting.
    BOOL UpdateData(BOOL saveAndValidate = TRUE);

    CWnd GetDlgItem(int id) const;
    void SetDlgItemText(int id, const std::string& text);
    void SetDlgItemInt(int id, std::int32_t value); // decimal
    // Checks the radio button check of the group first .. last and clears the others.
    void CheckRadioButton(int first, int last, int check);
    void SetIcon(HICON icon, BOOL big);

    const DialogTemplate& Template() const { return m_template; }
    virtual std::span<const DispatchEntry> DispatchTable() const { return {}; }

protected:
    // FALSE: the handler has set the focus itself.
    virtual BOOL OnInitDialog();
    virtual void DoDataExchange(CDataExchange* dx);
    virtual void OnOK();     // reads the controls; unless a field was rejected, ends with IDOK
    virtual void OnCancel(); // ends with IDCANCEL

    // The default processing of the message being handled: WM_CLOSE ends the dialog with IDCANCEL,
    // the commands IDOK and IDCANCEL run OnOK and OnCancel, any other does nothing.
    LRESULT Default();

private:
    LRESULT Dispatch(UINT message, WPARAM wParam, LPARAM lParam);
    void CloseModeless();

    struct MessageInService
    {
        UINT message;
        WPARAM wParam;
        LPARAM lParam;
    };

    const DialogTemplate& m_template;
    CWnd* m_parent;
    std::shared_ptr<void> m_modelessWindow; // null for a modal dialog
    MessageInService m_current{};
};

// True from the moment the program is asked to end or its display is lost until its outermost
// dialog has ended: nothing may be begun that would have to be ended by hand, and no dialog and no
// box opens.
bool IsSessionEnding();

// Tells the operator in a box of the exception being handled, which ended a handler of this dialog.
// Throws nothing: without memory for a box the text goes to standard error.
void ReportCurrentException(HWND dialog) noexcept;

// The application object, one for the life of the process.
class CWinApp : public CCmdTarget
{
public:
    explicit CWinApp(const char* name);
    ~CWinApp() override;

    // Sets the windowing system up and calls InitInstance; when it returns TRUE, serves messages
    // until the main window is gone. Returns the process's exit code.
    int Run(int argc, char** argv);

    virtual BOOL InitInstance() { return TRUE; }
    virtual std::span<const DispatchEntry> DispatchTable() const { return {}; }

    // The connection to the display is lost: the process ends when this returns, and no operation
    // on windows works any more. Called wherever a handler may be at work.
    virtual void OnDisplayLost() {}

    void OnHelp(); // shows the program's name and version, and the help
    const std::string& Name() const { return m_name; }
    void SetVersion(const char* version) { m_version = version; }
    void SetHelp(std::string text) { m_help = std::move(text); }

    CWnd* m_pMainWnd = nullptr;

protected:
    // Classic flat control look; today's toolkits draw three-dimensional controls by themselves.
    BOOL Enable3dControls() { return TRUE; }

private:
    std::string m_name;
    std::string m_version;
    std::string m_help;
};

// The application object, or null outside its life.
CWinApp* AfxGetApp();
