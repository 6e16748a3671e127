// The clipboard of the toolkit.
#include "platform/clipboard.h"

#include "platform/qt/text.h"

#include <QClipboard>
#include <QGuiApplication>

void SetClipboardText(const std::string& text)
{
    QGuiApplication::clipboard()->setText(FromBytes(text));
}
