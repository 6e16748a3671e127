// Text on its way to the screen: any bytes may come, none of them may act.
#pragma once

#include <QString>

#include <string_view>

class QWidget;

// UTF-8 to text; bytes that are not UTF-8 become U+FFFD.
QString FromBytes(std::string_view bytes);

// The same for texts that are only shown, see shown_text.h.
QString ShownText(std::string_view bytes);

// A control's text as it is spoken: "&" marks the letter behind it, "&&" stands for one.
QString WithoutMnemonic(const QString& text);

// Shows the title on one line, with the middle left out when it is over long.
void SetTitle(QWidget& window, std::string_view bytes);
QString TitleOf(const QWidget& window);
