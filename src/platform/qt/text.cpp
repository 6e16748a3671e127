// Text on its way to the screen.
#include "platform/qt/text.h"

#include <QWidget>

namespace {

constexpr qsizetype LongestTitle = 160;
const QString ChangeMark = QStringLiteral("[*]");

bool TurnsDirection(char16_t c)
{
    return c == 0x061C || c == 0x200E || c == 0x200F || (c >= 0x202A && c <= 0x202E) ||
           (c >= 0x2066 && c <= 0x2069);
}

QChar Shown(QChar character)
{
    const char16_t c = character.unicode();
    if (c == '\n' || c == '\t') {
        return character;
    }
    if (c < 0x20) {
        return QChar(0x2400 + c);
    }
    if (c == 0x7F) {
        return QChar(0x2421);
    }
    return TurnsDirection(c) || (c >= 0x80 && c < 0xA0) ? QChar(QChar::ReplacementCharacter)
                                                        : character;
}

} // namespace

QString FromBytes(std::string_view bytes)
{
    return QString::fromUtf8(bytes.data(), static_cast<qsizetype>(bytes.size()));
}

QString ShownText(std::string_view bytes)
{
    QString text = FromBytes(bytes);
    text.replace("\r\n", "\n");
    for (QChar& character : text) {
        character = Shown(character);
    }
    return text;
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
    QString title = ShownText(bytes);
    title.replace('\n', ' ');
    if (title.size() > LongestTitle) {
        title = title.left(LongestTitle / 2) + QChar(0x2026) + title.right(LongestTitle / 2 - 1);
    }
    window.setWindowTitle(title.replace(ChangeMark, ChangeMark + ChangeMark));
}

QString TitleOf(const QWidget& window)
{
    return window.windowTitle().replace(ChangeMark + ChangeMark, ChangeMark);
}
