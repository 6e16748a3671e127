// Message boxes and the open-file dialog.
#include "platform/boxes.h"

#include "platform/policy.h"
#include "platform/qt/button_controls.h"
#include "platform/qt/desktop_look.h"
#include "platform/qt/modal_window.h"
#include "platform/qt/text.h"
#include "platform/shown_text.h"

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QApplication>
#include <QClipboard>
#include <QDialogButtonBox>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QGridLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QScreen>

#include <algorithm>
#include <utility>

namespace {

constexpr int WidestLabel = 460; // pixels at scale 1; a wider word would not fit the box
constexpr int WidestView = 640;  // the same for a text that scrolls
constexpr int MostLines = 40;    // that such a text shows at once
constexpr int AroundView = 130;  // pixels at scale 1: title bar, buttons and panels

// Opens the file whose name stands in its field. The toolkit's own way from the name to the file
// adds its default suffix to existing files, too, and mistakes files of the same name.
class OpenFileWindow : public QFileDialog
{
public:
    OpenFileWindow(QWidget* owner, const QString& extension)
        : QFileDialog(owner), m_extension(extension.section('.', -1))
    {
    }

    // Without the keyboard the toolkit shortens a path to the name of the file that it then finds
    // in the list, which may be another folder's.
    void HoldWrittenPath()
    {
        auto* const field = findChild<QLineEdit*>("fileNameEdit");
        connect(field, &QLineEdit::textChanged, field, [field](const QString& written) {
            if (field->text() != written) {
                field->setText(written);
            }
        });
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

class BoxWindow : public QMessageBox
{
public:
    BoxWindow(const char* text, const char* caption, UINT style);

protected:
    bool eventFilter(QObject* target, QEvent* event) override;

private:
    void Arrange();
    void Copy() const;
    bool TakesKey(const QKeyEvent& key);
    bool IsTooEarly() const;

    QElapsedTimer m_reached;    // since the box came to the operator, or came back
    bool m_hadKeyboard = false; // since then
};

bool IsTypedText(const QKeyEvent& key);
int AnswerOf(int result);
QMessageBox::StandardButtons ButtonsOf(UINT style);
QMessageBox::Icon IconOf(UINT style);
void SetText(QMessageBox& box, const QString& text);
bool FitsLabel(const QMessageBox& box, const QString& text);
QString NameFilter(const std::string& filter);

} // namespace

std::unique_ptr<ModalWindow> MakeBox(HWND, const char* text, const char* caption, UINT style)
{
    return std::make_unique<WidgetWindow>(new BoxWindow(text, caption, style), &AnswerOf);
}

std::unique_ptr<ModalWindow> MakeFileChooser(const FileRequest& request, std::string& path)
{
    auto* const widget =
        new OpenFileWindow(WidgetWindow::NextOwner(), FromBytes(request.defaultExtension));
    auto window = std::make_unique<WidgetWindow>(
        widget, [](int result) { return result == QDialog::Accepted ? IDOK : IDCANCEL; });
    widget->setFont(FontOf(*widget->screen()));
    // The native dialog of a desktop could not be closed when the program is asked to end.
    widget->setOption(QFileDialog::DontUseNativeDialog);
    widget->setAcceptMode(QFileDialog::AcceptOpen);
    widget->setFileMode(request.mustExist ? QFileDialog::ExistingFile : QFileDialog::AnyFile);
    widget->setNameFilter(NameFilter(request.filter));
    widget->setDirectory(request.folder.empty() ? QDir::currentPath()
                                                : QFile::decodeName(request.folder.c_str()));
    if (!request.fileName.empty()) {
        widget->selectFile(QFile::decodeName(request.fileName.c_str()));
    }

    widget->HoldWrittenPath();

    // A drag runs a loop of its own, and leads nowhere from here.
    for (auto* const view : widget->findChildren<QAbstractItemView*>()) {
        view->setDragEnabled(false);
    }
    QObject::connect(widget, &QFileDialog::fileSelected, [&path](const QString& file) {
        path = QFile::encodeName(file).toStdString();
    });
    return window;
}

namespace {

BoxWindow::BoxWindow(const char* text, const char* caption, UINT style)
    : QMessageBox(IconOf(style), {}, {}, ButtonsOf(style), WidgetWindow::NextOwner())
{
    SetTitle(*this, caption);
    setWindowFlags(Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint |
                   Qt::WindowSystemMenuHint | Qt::WindowCloseButtonHint);
    setWindowFlag(Qt::WindowStaysOnTopHint, (style & MB_TOPMOST) != 0);
    setFont(FontOf(*screen()));
    setDefaultButton((style & MB_YESNO) != 0 ? QMessageBox::Yes : QMessageBox::Ok);
    SetText(*this, ShownText(text));
    Arrange();
    installEventFilter(this);
    for (QWidget* const widget : findChildren<QWidget*>()) {
        widget->installEventFilter(this);
    }
}

// Text without an icon begins at the left edge; the buttons stand in the middle, without pictures.
void BoxWindow::Arrange()
{
    if (icon() == QMessageBox::NoIcon) {
        auto* const grid = static_cast<QGridLayout*>(layout());
        for (int i = grid->count() - 1; i >= 0; --i) {
            if (grid->itemAt(i)->spacerItem() != nullptr) {
                grid->itemAt(i)->spacerItem()->changeSize(0, 0, QSizePolicy::Fixed);
            }
        }
        const QPlainTextEdit* const view = findChild<QPlainTextEdit*>();
        grid->setColumnStretch(view != nullptr ? 2 : 1, 1);
    }
    findChild<QDialogButtonBox*>()->setCenterButtons(true);
    for (QAbstractButton* const button : buttons()) {
        button->setIcon({});
    }
}

// The whole box, as text: caption, text and buttons.
void BoxWindow::Copy() const
{
    const auto* const view = findChild<const QPlainTextEdit*>();
    QString all = TitleOf(*this).isEmpty() ? QString() : TitleOf(*this) + "\n\n";
    all += (view != nullptr ? view->toPlainText() : text()) + "\n\n";
    for (const QAbstractButton* const button : buttons()) {
        all += WithoutMnemonic(button->text()) + "  ";
    }
    QGuiApplication::clipboard()->setText(all.trimmed() + "\n");
}

bool BoxWindow::eventFilter(QObject* target, QEvent* event)
{
    switch (event->type()) {
    case QEvent::Show:
    case QEvent::WindowUnblocked: // what stood over it is gone
        m_hadKeyboard = false;
        m_reached.start();
        break;
    case QEvent::WindowActivate:
        if (!std::exchange(m_hadKeyboard, true)) {
            m_reached.start();
        }
        break;
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonDblClick:
        if (IsTooEarly()) {
            return true;
        }
        break;
    case QEvent::KeyPress:
        if (TakesKey(*static_cast<QKeyEvent*>(event))) {
            return true;
        }
        break;
    default:
        break;
    }
    return QMessageBox::eventFilter(target, event);
}

// A message that only waits to be read is never too early.
bool BoxWindow::IsTooEarly() const
{
    return buttons().size() > 1 && (!m_reached.isValid() || m_reached.elapsed() < DeafTime);
}

// A letter presses its button at once; the toolkit would wait a moment, in which another box may
// open.
bool BoxWindow::TakesKey(const QKeyEvent& key)
{
    // A key that is still held down from before repeats itself for longer.
    if (IsTypedText(key) && (IsTooEarly() || (buttons().size() > 1 && key.isAutoRepeat()))) {
        return true;
    }
    if (key.matches(QKeySequence::Copy)) {
        const auto* const view = findChild<const QPlainTextEdit*>();
        const bool partOfView = view != nullptr && view->textCursor().hasSelection();
        const auto labels = findChildren<const QLabel*>();
        const bool partOfLabel = std::any_of(labels.begin(), labels.end(), [](const QLabel* label) {
            return label->hasSelectedText();
        });
        if (!partOfView && !partOfLabel) {
            Copy();
        }
        return !partOfView && !partOfLabel;
    }
    for (QAbstractButton* const button : buttons()) {
        const QKeySequence letter = button->shortcut();
        if (!letter.isEmpty() && letter[0].key() == key.key() && key.modifiers() == 0) {
            PressAsTheMouseDoes(*button);
            return true;
        }
    }
    return false;
}

bool IsTypedText(const QKeyEvent& key)
{
    constexpr Qt::KeyboardModifiers NoText = Qt::AltModifier | Qt::ControlModifier;
    const bool isEnter = key.key() == Qt::Key_Return || key.key() == Qt::Key_Enter;
    return isEnter ||
           (!key.text().isEmpty() && key.text()[0].isPrint() && (key.modifiers() & NoText) == 0);
}

int AnswerOf(int result)
{
    switch (result) {
    case QMessageBox::Ok:
        return IDOK;
    case QMessageBox::Yes:
        return IDYES;
    case QMessageBox::No:
        return IDNO;
    default:
        return IDCANCEL;
    }
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

void SetText(QMessageBox& box, const QString& text)
{
    box.setTextFormat(Qt::PlainText);
    box.setTextInteractionFlags(Qt::TextSelectableByMouse);
    if (FitsLabel(box, text)) {
        box.setText(text);
        return;
    }
    auto* const view = new QPlainTextEdit(&box);
    view->setReadOnly(true);
    view->setWordWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    view->setTabChangesFocus(true);
    view->setPlainText(QString::fromStdU16String(WithShortLines(text.toStdU16String())));
    const QScreen& screen = *box.screen();
    const QSize available = screen.availableSize();
    const int margins =
        static_cast<int>(2 * view->document()->documentMargin()) + 2 * view->frameWidth();
    const int lines = std::min(MostLines, view->blockCount()) * view->fontMetrics().lineSpacing();
    view->setMinimumSize(
        std::min(ScaledPixels(WidestView, screen), available.width() * 3 / 4),
        std::min(lines + margins, available.height() - ScaledPixels(AroundView, screen)));
    static_cast<QGridLayout*>(box.layout())->addWidget(view, 0, 2);
}

bool FitsLabel(const QMessageBox& box, const QString& text)
{
    if (text.size() > qsizetype{LongestLabel}) {
        return false;
    }
    const QFontMetrics metrics = box.fontMetrics();
    const int widest = ScaledPixels(WidestLabel, *box.screen());
    for (const QString& word : text.split(QChar(' '))) {
        for (const QString& piece : word.split(QChar('\n'))) {
            if (metrics.horizontalAdvance(piece) > widest) {
                return false;
            }
        }
    }
    const int height =
        metrics.boundingRect(QRect(0, 0, widest, 0), Qt::TextWordWrap, text).height();
    return height < box.screen()->availableSize().height() / 2;
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
