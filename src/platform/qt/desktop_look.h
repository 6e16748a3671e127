// What the desktop says about how things look: the scale of its screens, the size of its texts, its
// colors, light or dark.
#pragma once

#include <QColor>
#include <QFont>
#include <QSize>

class QPainter;
class QPalette;
class QRect;
class QScreen;

// Coordinates are device pixels: takes the toolkit's own scaling over. Before the toolkit is set
// up.
void TakeOverScaling();

// Gives the toolkit the desktop's look, now and whenever it changes.
void UseDesktopLook();

double ScaleOf(const QScreen& screen); // 1 or more
QFont FontOf(const QScreen& screen);   // of dialogs and boxes on it
QSize StandardUnit(const QFont& font); // its average character, where it is of the usual shape
int ScaledPixels(int pixels, const QScreen& screen);

// The text's color, moved away from the background's until one can be read on the other. Thin
// strokes lose a third of the contrast when they are smoothed; a mark needs no more than what is
// seen.
inline constexpr double MarkContrast = 4.5;
inline constexpr double TextContrast = 7.0;
QColor Readable(const QColor& text, const QColor& background, double contrast = TextContrast);
// Draws the outline of a control where the palette is dark: the toolkit's own, darker than the
// window, is not seen there.
void DrawDarkOutline(QPainter& painter, const QPalette& palette, const QRect& area,
                     bool round = false);
double Contrast(const QColor& one, const QColor& other); // 1 to 21

// What the desktop has set, for tests.
void SetFontPixels(double pixels); // at scale 1
enum class ColorScheme
{
    Light,
    Dark,
};
void SetColorScheme(ColorScheme scheme, bool highContrast = false);
