// Message boxes, the open-file dialog and the wait cursor.
#include "platform/boxes.h"

#include "platform/dialog.h"
#include "platform/qt/dialog_window.h"
#include "platform/qt/text.h"
#include "platform/qt/window_table.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QGridLayout>
#include <QLineEdit>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPointer>
#include <QScreen>

#include <algorithm>

namespace {

constexpr int WidestLabel = 460;         // pixels; a wider word would not fit the box
constexpr qsizetype LongestLabel = 2000; // characters
constexpr qsizetype LongestLine = 2000;  // characters of a line that is laid out as one

// Opens the file whose name stands in its field. The toolkit's own way from the name to the file
// adds its default suffix to existing files, too, and mistakes files of the same name.
class OpenFileWindow : public QFileDialog
{
public:
    OpenFileWindow(QWidget* owner, const QString& extension)
        : QFileDialog(owner), m_extension(extension.section('.', -1))
    {
    }

    void accept() override
    {
        const QString file = NamedFile();
        if (file.isEmpty()) { // a folder to go to, or a name to be told that it is wrong
            QFileDialog::accept();
            return;
        }
        emit fileSelected(file);
        QDialog::accept();
    }

private:
    QString NamedFile() const
    {
        const auto* const field = findChild<QLineEdit*>("fileNameEdit");
        const QString name = field != nullptr ? field->text() : QString();
        if (name.isEmpty()) {
            return {};
        }
        for (const QString& suffix : {QString(), '.' + m_extension, '.' + m_extension.toUpper()}) {
            const QFileInfo file(directory(), name + suffix);
            if (file.isFile()) {
                return file.absoluteFilePath();
            }
        }
        return {};
    }

    const QString m_extension;
};

int AnswerOnLeaving(UINT style);
QMessageBox::StandardButtons ButtonsOf(UINT style);
QMessageBox::Icon IconOf(UINT style);
QWidget* OwnerOf(HWND owner);
void SetText(QMessageBox& box, const QString& text);
bool FitsLabel(const QMessageBox& box, const QString& text);
QString WithShortLines(const QString& text);
void Serve(QDialog& window, HWND owner, int& result);
QString NameFilter(const std::string& filter);

} // namespace

int MessageBoxA(HWND owner, const char* text, const char* caption, UINT style)
{
    if (IsSessionEnding()) {
        return AnswerOnLeaving(style);
    }
    auto* const box =
        new QMessageBox(IconOf(style), ShownTitle(caption), {}, ButtonsOf(style), OwnerOf(owner));
    box->setWindowFlag(Qt::WindowStaysOnTopHint, (style & MB_TOPMOST) != 0);
    box->setDefaultButton((style & MB_YESNO) != 0 ? QMessageBox::Yes : QMessageBox::Ok);
    SetText(*box, ShownText(text));

    int pressed = QMessageBox::NoButton;
    Serve(*box, owner, pressed);
    switch (pressed) {
    case QMessageBox::Ok:
        return IDOK;
    case QMessageBox::Yes:
        return IDYES;
    case QMessageBox::No:
        return IDNO;
    default:
        return AnswerOnLeaving(style);
    }
}

int AfxMessageBox(const char* text, UINT style)
{
    const DialogWindow* const active = dynamic_cast<DialogWindow*>(QApplication::activeWindow());
    return MessageBoxA(active != nullptr ? active->Handle() : nullptr, text,
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
    const HWND owner = m_parent != nullptr ? m_parent->GetSafeHwnd() : nullptr;
    auto* const window = new OpenFileWindow(OwnerOf(owner), FromBytes(m_defaultExtension));
    // The native dialog of a desktop could not be closed when the program is asked to end.
    window->setOption(QFileDialog::DontUseNativeDialog);
    window->setAcceptMode(QFileDialog::AcceptOpen);
    window->setFileMode((m_flags & OFN_FILEMUSTEXIST) != 0 ? QFileDialog::ExistingFile
                                                           : QFileDialog::AnyFile);
    window->setNameFilter(NameFilter(m_filter));
    window->setDirectory(m_folder.empty() ? QDir::currentPath()
                                          : QFile::decodeName(m_folder.c_str()));
    if (!m_fileName.empty()) {
        window->selectFile(QFile::decodeName(m_fileName.c_str()));
    }

    // A drag runs a loop of its own, and leads nowhere from here.
    for (auto* const view : window->findChildren<QAbstractItemView*>()) {
        view->setDragEnabled(false);
    }

    QString chosen;
    QObject::connect(window, &QFileDialog::fileSelected,
                     [&chosen](const QString& file) { chosen = file; });
    int result = QDialog::Rejected;
    Serve(*window, owner, result);
    if (result != QDialog::Accepted || chosen.isEmpty()) {
        return IDCANCEL;
    }
    m_path = QFile::encodeName(chosen).toStdString();
    return IDOK;
}

CWaitCursor::CWaitCursor()
{
    QApplication::setOverrideCursor(Qt::WaitCursor);
}

CWaitCursor::~CWaitCursor()
{
    Restore();
}

void CWaitCursor::Restore()
{
    if (m_shown) {
        QApplication::restoreOverrideCursor();
    }
    m_shown = false;
}

namespace {

int AnswerOnLeaving(UINT style)
{
    return (style & MB_YESNO) != 0 ? IDNO : (style & MB_OKCANCEL) != 0 ? IDCANCEL : IDOK;
}

QMessageBox::StandardButtons ButtonsOf(UINT style)
{
    if ((style & MB_YESNO) != 0) {
        return QMessageBox::Yes | QMessageBox::No;
    }
    if ((style & MB_OKCANCEL) != 0) {
        return QMessageBox::Ok | QMessageBox::Cancel;
    }
    return QMessageBox::Ok;
}

QMessageBox::Icon IconOf(UINT style)
{
    switch (style & 0xF0) {
    case MB_ICONHAND:
        return QMessageBox::Critical;
    case MB_ICONEXCLAMATION:
        return QMessageBox::Warning;
    case MB_ICONASTERISK:
        return QMessageBox::Information;
    default:
        return QMessageBox::NoIcon;
    }
}

// Window managers hide a box together with an owner that is minimized or not shown yet.
QWidget* OwnerOf(HWND owner)
{
    QWidget* const widget = WidgetOf(owner);
    QWidget* const window = widget != nullptr ? widget->window() : nullptr;
    return window != nullptr && window->isVisible() && !window->isMinimized() ? window : nullptr;
}

void SetText(QMessageBox& box, const QString& text)
{
    box.setTextFormat(Qt::PlainText);
    if (FitsLabel(box, text)) {
        box.setText(text);
        return;
    }
    auto* const view = new QPlainTextEdit(&box);
    view->setReadOnly(true);
    view->setWordWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    view->setTabChangesFocus(true);
    view->setPlainText(WithShortLines(text));
    const QSize screen = box.screen()->availableSize();
    view->setMinimumSize(std::min(640, screen.width() * 3 / 4), std::min(480, screen.height() / 2));
    static_cast<QGridLayout*>(box.layout())->addWidget(view, 0, 2);
}

bool FitsLabel(const QMessageBox& box, const QString& text)
{
    if (text.size() > LongestLabel) {
        return false;
    }
    const QFontMetrics metrics = box.fontMetrics();
    for (const QString& word : text.split(QChar(' '))) {
        for (const QString& piece : word.split(QChar('\n'))) {
            if (metrics.horizontalAdvance(piece) > WidestLabel) {
                return false;
            }
        }
    }
    const int height =
        metrics.boundingRect(QRect(0, 0, WidestLabel, 0), Qt::TextWordWrap, text).height();
    return height < box.screen()->availableSize().height() / 2;
}

// The toolkit lays a line out as a whole, which for a line of a megabyte takes minutes.
QString WithShortLines(const QString& text)
{
    QString broken;
    qsizetype length = 0;
    for (const QChar character : text) {
        length = character == '\n' ? 0 : length + 1;
        if (length > LongestLine && !character.isLowSurrogate()) {
            broken += '\n';
            length = 1;
        }
        broken += character;
    }
    return broken;
}

// Shows the window and serves messages until it is closed or destroyed with its owner. result
// keeps its value unless the window was closed by the operator.
void Serve(QDialog& window, HWND owner, int& result)
{
    const QPointer<QDialog> open(&window);
    ModalLoop loop([open] {
        if (open != nullptr) {
            open->reject();
        }
    });
    QObject::connect(&window, &QDialog::finished, [&](int finished) {
        result = finished;
        loop.Quit();
    });
    QObject::connect(&window, &QObject::destroyed, [&loop] { loop.Quit(); });
    window.setWindowModality(window.parentWidget() != nullptr ? Qt::WindowModal
                                                              : Qt::ApplicationModal);
    window.show();
    window.activateWindow();
    loop.Run();
    delete open; // with its connections: cut before, the accessibility tree would keep it
    if (QWidget* const ownerWindow = OwnerOf(owner)) {
        ownerWindow->activateWindow();
    }
}

// "label|pattern||" in the toolkit's way, "label (pattern)".
QString NameFilter(const std::string& filter)
{
    const QString text = FromBytes(filter);
    const QString label = text.section('|', 0, 0).section('(', 0, 0).trimmed();
    const QString patterns = text.section('|', 1, 1).replace(';', ' ');
    return label + " (" + patterns + ")";
}

} // namespace
