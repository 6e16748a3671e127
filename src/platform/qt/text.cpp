// Text on its way to the screen.
#include "platform/qt/text.h"

#include "platform/shown_text.h"

#include <QWidget>

namespace {

const QString ChangeMark = QStringLiteral("[*]");

} // namespace

QString FromBytes(std::string_view bytes)
{
    return QString::fromUtf8(bytes.data(), static_cast<qsizetype>(bytes.size()));
}

QString ShownText(std::string_view bytes)
{
    return QString::fromStdU16String(Shown(FromBytes(bytes).toStdU16String()));
}

QString WithoutMnemonic(const QString& text)
{
    QString spoken;
    for (qsizetype i = 0; i < text.size(); ++i) {
        i += text[i] == '&' ? 1 : 0;
        if (i < text.size()) {
            spoken += text[i];
        }
    }
    return spoken;
}

// To the toolkit "[*]" is the mark of a changed document, and two in a row are the text.
void SetTitle(QWidget& window, std::string_view bytes)
{
    QString title =
        QString::fromStdU16String(ShownAsTitle(FromBytes(EndsOf(bytes)).toStdU16String()));
    window.setWindowTitle(title.replace(ChangeMark, ChangeMark + ChangeMark));
}

QString TitleOf(const QWidget& window)
{
    return window.windowTitle().replace(ChangeMark + ChangeMark, ChangeMark);
}
