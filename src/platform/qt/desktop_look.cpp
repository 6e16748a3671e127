// Follows the desktop: scale, font and colors.
#include "platform/qt/desktop_look.h"

#include "platform/qt/desktop_settings.h"

#include <QApplication>
#include <QFontDatabase>
#include <QPainter>
#include <QPalette>
#include <QPointer>
#include <QScreen>
#include <QTimer>
#include <QWidget>

#include <algorithm>
#include <cmath>
#include <map>
#include <optional>
#include <string>

namespace {

constexpr double StandardFontPixels = 11;
constexpr double UnitWidth = 6; // the character cell of that font
constexpr double UnitHeight = 13;
constexpr double StandardFontPoints = 9; // of a desktop that has set none
constexpr double StandardDots = 96;      // an inch, at scale 1

constexpr double OutlineContrast = 3.0;

struct Look
{
    double fontPixels = StandardFontPixels;
    double factor = 1.0;                     // for all screens
    std::map<QString, double> screenFactors; // by the screen's name
    std::optional<ColorScheme> scheme;       // none: as the theme has it
    bool highContrast = false;
};
Look look;

struct ThemeWatch : QObject
{
    using QObject::QObject;
    bool eventFilter(QObject* target, QEvent* event) override;
};

QByteArray TakeVariable(const char* name);
double PositiveNumber(const QByteArray& text);
void FollowFont();
void FollowSettings(const DesktopSettings& settings);
void ApplyColors();
QPalette SchemePalette(ColorScheme scheme, bool highContrast);
QPalette ReadablePalette(QPalette palette);
bool IsDark(const QPalette& palette);
double Luminance(const QColor& color);

} // namespace

void TakeOverScaling()
{
    look.factor = PositiveNumber(TakeVariable("QT_SCALE_FACTOR"));
    for (const QByteArray& entry : TakeVariable("QT_SCREEN_SCALE_FACTORS").split(';')) {
        const qsizetype mark = entry.indexOf('=');
        if (mark > 0) {
            look.screenFactors[QString::fromLocal8Bit(entry.left(mark))] =
                PositiveNumber(entry.mid(mark + 1));
        }
    }
    qputenv("QT_ENABLE_HIGHDPI_SCALING", "0");
}

void UseDesktopLook()
{
    static QPointer<ThemeWatch> watch; // of the present application
    if (watch != nullptr) {
        return;
    }
    FollowFont();
    FollowSettings(ReadDesktopSettings());
    new DesktopSettingsWatch(qApp, FollowSettings);
    watch = new ThemeWatch(qApp);
    qApp->installEventFilter(watch);
}

// Virtual screens have odd resolutions that mean nothing; desktops set eighths.
double ScaleOf(const QScreen& screen)
{
    const auto named = look.screenFactors.find(screen.name());
    const double own = named != look.screenFactors.end()
                           ? named->second
                           : screen.logicalDotsPerInch() / StandardDots;
    return std::max(1.0, std::round(own * look.factor * 8) / 8);
}

QFont FontOf(const QScreen& screen)
{
    QFont font("MS Sans Serif");
    font.setStyleHint(QFont::SansSerif);
    font.setPixelSize(static_cast<int>(std::lround(look.fontPixels * ScaleOf(screen))));
    return font;
}

QSize StandardUnit(const QFont& font)
{
    const double size = font.pixelSize() / StandardFontPixels;
    return {static_cast<int>(std::lround(UnitWidth * size)),
            static_cast<int>(std::lround(UnitHeight * size))};
}

int ScaledPixels(int pixels, const QScreen& screen)
{
    return static_cast<int>(std::lround(pixels * ScaleOf(screen)));
}

QColor Readable(const QColor& text, const QColor& background, double contrast)
{
    const QColor end = Luminance(background) < 0.18 ? Qt::white : Qt::black;
    QColor moved = text;
    for (int step = 1; step <= 20 && Contrast(moved, background) < contrast; ++step) {
        const auto mixed = [step](int from, int to) { return from + (to - from) * step / 20; };
        moved = QColor(mixed(text.red(), end.red()), mixed(text.green(), end.green()),
                       mixed(text.blue(), end.blue()));
    }
    return moved;
}

void DrawDarkOutline(QPainter& painter, const QPalette& palette, const QRect& area, bool round)
{
    const QColor window = palette.color(QPalette::Window);
    if (!IsDark(palette)) {
        return;
    }
    painter.setPen(Readable(palette.color(QPalette::Mid), window, OutlineContrast));
    const QRect edge = area.adjusted(0, 0, -1, -1);
    round ? painter.drawEllipse(edge) : painter.drawRect(edge);
}

double Contrast(const QColor& one, const QColor& other)
{
    const double a = Luminance(one) + 0.05;
    const double b = Luminance(other) + 0.05;
    return std::max(a, b) / std::min(a, b);
}

void SetFontPixels(double pixels)
{
    look.fontPixels = pixels;
    QApplication::setFont(FontOf(*QGuiApplication::primaryScreen()));
    // The toolkit tells windows with a font of their own nothing.
    for (QWidget* const window : QApplication::topLevelWidgets()) {
        QEvent change(QEvent::ApplicationFontChange);
        QCoreApplication::sendEvent(window, &change);
    }
}

void SetColorScheme(ColorScheme scheme, bool highContrast)
{
    look.scheme = scheme;
    look.highContrast = highContrast;
    ApplyColors();
}

namespace {

bool ThemeWatch::eventFilter(QObject* target, QEvent* event)
{
    if (event->type() == QEvent::ThemeChange) {
        QTimer::singleShot(0, this, [] {
            FollowFont();
            ApplyColors();
        });
    }
    return QObject::eventFilter(target, event);
}

QByteArray TakeVariable(const char* name)
{
    const QByteArray value = qgetenv(name);
    qunsetenv(name);
    return value;
}

double PositiveNumber(const QByteArray& text)
{
    bool isNumber = false;
    const double number = text.toDouble(&isNumber);
    return isNumber && number > 0 ? number : 1.0;
}

void FollowFont()
{
    const double points = QFontDatabase::systemFont(QFontDatabase::GeneralFont).pointSizeF();
    SetFontPixels(StandardFontPixels * std::max(points, StandardFontPoints) / StandardFontPoints);
}

void FollowSettings(const DesktopSettings& settings)
{
    look.scheme = !settings.prefersDark   ? std::nullopt
                  : *settings.prefersDark ? std::optional(ColorScheme::Dark)
                                          : std::optional(ColorScheme::Light);
    look.highContrast = settings.highContrast;
    ApplyColors();
}

// A theme that is as light or as dark as the desktop's setting keeps its own colors.
void ApplyColors()
{
    QApplication::setPalette(QPalette());
    QPalette palette = QApplication::palette();
    const bool dark = look.scheme ? *look.scheme == ColorScheme::Dark : IsDark(palette);
    if (dark != IsDark(palette) || look.highContrast) {
        palette = SchemePalette(dark ? ColorScheme::Dark : ColorScheme::Light, look.highContrast);
    }
    QApplication::setPalette(ReadablePalette(palette));
}

QPalette SchemePalette(ColorScheme scheme, bool highContrast)
{
    const bool dark = scheme == ColorScheme::Dark;
    const QColor window =
        highContrast ? (dark ? 0x000000u : 0xFFFFFFu) : (dark ? 0x2B2B2Bu : 0xEFEFEFu);
    const QColor button = highContrast ? window : QColor(dark ? 0x3A3A3Au : 0xEFEFEFu);
    const QColor text =
        highContrast ? (dark ? 0xFFFFFFu : 0x000000u) : (dark ? 0xE6E6E6u : 0x000000u);
    const QColor base = highContrast ? window : QColor(dark ? 0x1E1E1Eu : 0xFFFFFFu);
    QPalette palette(button, window);
    for (const QPalette::ColorRole role :
         {QPalette::WindowText, QPalette::Text, QPalette::ButtonText, QPalette::ToolTipText}) {
        palette.setColor(role, text);
        palette.setColor(QPalette::Disabled, role, dark ? 0x8C8C8Cu : 0x7A7A7Au);
    }
    palette.setColor(QPalette::Base, base);
    palette.setColor(QPalette::AlternateBase, dark ? base.lighter(120) : base.darker(105));
    palette.setColor(QPalette::ToolTipBase, base);
    palette.setColor(QPalette::PlaceholderText, dark ? 0x8C8C8Cu : 0x7A7A7Au);
    palette.setColor(QPalette::Highlight, dark ? 0x5A9BF5u : 0x1F5FBFu);
    palette.setColor(QPalette::HighlightedText, dark ? 0x000000u : 0xFFFFFFu);
    if (dark) {
        palette.setColor(QPalette::Mid, 0x757575u); // of the groups' frames
    }
    palette.setColor(QPalette::Link, dark ? 0x8AB4F8u : 0x1F5FBFu);
    return palette;
}

QPalette ReadablePalette(QPalette palette)
{
    static constexpr struct
    {
        QPalette::ColorRole text, background;
    } Pairs[] = {
        {QPalette::WindowText, QPalette::Window},
        {QPalette::Text, QPalette::Base},
        {QPalette::ButtonText, QPalette::Button},
        {QPalette::HighlightedText, QPalette::Highlight},
        {QPalette::ToolTipText, QPalette::ToolTipBase},
        {QPalette::PlaceholderText, QPalette::Base},
    };
    for (const auto group : {QPalette::Active, QPalette::Inactive, QPalette::Disabled}) {
        for (const auto& pair : Pairs) {
            palette.setColor(
                group, pair.text,
                Readable(palette.color(group, pair.text), palette.color(group, pair.background)));
        }
    }
    return palette;
}

bool IsDark(const QPalette& palette)
{
    return Luminance(palette.color(QPalette::Window)) <
           Luminance(palette.color(QPalette::WindowText));
}

// As people see it, 0 to 1.
double Luminance(const QColor& color)
{
    const auto linear = [](double part) {
        return part <= 0.04045 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) +
           0.0722 * linear(color.blueF());
}

} // namespace
