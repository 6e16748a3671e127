// The program's dialogs on screens of every scale, in larger fonts, light and dark.
#include "display/view.h"
#include "platform/boxes.h"
#include "platform/paint.h"
#include "platform/qt/desktop_look.h"
#include "platform/qt/window_table.h"
#include "resources/main_dialog_template.h"
#include "resources/settings_dialog_template.h"
#include "support/window_operator.h"

#include <QApplication>
#include <QClipboard>
#include <QKeyEvent>
#include <QScreen>
#include <QWidget>
#include <QWindow>

#include <gtest/gtest.h>
#include <map>

namespace {

// Paints a checkerboard of single pixels, light at the upper left, over the whole image area.
class CheckeredDialog : public CDialog
{
public:
    explicit CheckeredDialog(const DialogTemplate& form) : CDialog(form, nullptr) {}

private:
    void OnPaint()
    {
        CWnd area = GetDlgItem(IdImageArea);
        CPaintDC dc(&area);
        RECT client;
        area.GetClientRect(&client);
        const int pitch = (client.right + 3) / 4 * 4;
        std::vector<BYTE> pixels(static_cast<std::size_t>(pitch * client.bottom));
        for (int i = 0; i < pitch * client.bottom; ++i) {
            const int row = client.bottom - 1 - i / pitch;
            pixels[static_cast<std::size_t>(i)] = (i % pitch + row) % 2 == 0 ? 255 : 0;
        }
        BITMAPINFO256 info;
        FillBitmapHeader(info, client.right, client.bottom);
        const auto width = static_cast<DWORD>(client.right);
        const auto height = static_cast<DWORD>(client.bottom);
        SetDIBitsToDevice(&dc, 0, 0, width, height, 0, 0, 0, height, pixels.data(), &info,
                          DIB_RGB_COLORS);
    }
    std::span<const DispatchEntry> DispatchTable() const override
    {
        static constexpr DispatchEntry Table[] = {on::Paint<&CheckeredDialog::OnPaint>()};
        return Table;
    }
};

bool IsFrame(const QWidget& widget)
{
    return widget.inherits("QGroupBox");
}

QString TextOf(const QWidget& widget)
{
    return widget.property(IsFrame(widget) ? "title" : "text").toString();
}

QImage Shown(const QWidget& window)
{
    QCoreApplication::processEvents();
    return window.screen()
        ->grabWindow(window.winId())
        .toImage()
        .convertToFormat(QImage::Format_RGB32);
}

QImage Shown(const QWidget& widget, const QImage& window)
{
    const QSize size(widget.width(), std::min(widget.height(), 64)); // a group's title, at its top
    return window.copy(QRect(widget.mapTo(widget.window(), QPoint()), size));
}

// The best contrast of any pixel with the background, which is the color of most.
double DrawnContrast(const QImage& image)
{
    std::map<QRgb, int> count;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            ++count[image.pixel(x, y)];
        }
    }
    const auto background =
        std::ranges::max_element(count, {}, [](auto& color) { return color.second; });
    double best = 1.0;
    for (const auto& [color, times] : count) {
        best = std::max(best, Contrast(QColor(color), QColor(background->first)));
    }
    return best;
}

void ExpectTextsAreWhole(const QWidget& window, const QImage& image, const std::string& look)
{
    QList<QWidget*> shown = window.findChildren<QWidget*>(Qt::FindDirectChildrenOnly);
    shown.removeIf([](const QWidget* widget) { return widget->isHidden(); });
    for (const QWidget* const widget : shown) {
        const std::string name =
            look + widget->accessibleName().toStdString() + " " + TextOf(*widget).toStdString();
        EXPECT_TRUE(window.rect().contains(widget->geometry())) << name;
        const QSize text = widget->fontMetrics().size(Qt::TextShowMnemonic, TextOf(*widget));
        const bool marked = widget->inherits("QCheckBox") || widget->inherits("QRadioButton");
        EXPECT_LE(marked ? widget->sizeHint().width() : text.width(), widget->width()) << name;
        EXPECT_LE(text.height(), widget->height()) << name;
        if (!TextOf(*widget).isEmpty()) {
            EXPECT_GE(DrawnContrast(Shown(*widget, image)), 4.5) << name;
        }
        for (const QWidget* const other : shown) {
            const bool isAround = IsFrame(*widget) != IsFrame(*other);
            EXPECT_TRUE(other == widget || isAround ||
                        !widget->geometry().intersects(other->geometry()))
                << name;
        }
    }
}

void ExpectCheckerboard(const QWidget& area, const QImage& window, const std::string& look)
{
    const QRect inside = area.contentsRect().translated(area.mapTo(area.window(), QPoint()));
    int wrong = 0;
    for (int y = 0; y < inside.height(); ++y) {
        for (int x = 0; x < inside.width(); ++x) {
            const QRgb expected = (x + y) % 2 == 0 ? 0xFFFFFFFF : 0xFF000000;
            wrong += window.pixel(inside.topLeft() + QPoint(x, y)) != expected ? 1 : 0;
        }
    }
    EXPECT_EQ(wrong, 0) << look;
}

void ExpectFocusIsSeen(QWidget& window, const std::string& look)
{
    for (QWidget* const widget : window.findChildren<QWidget*>(Qt::FindDirectChildrenOnly)) {
        if (widget->isHidden() || !widget->isEnabled() || widget->focusPolicy() == Qt::NoFocus) {
            continue;
        }
        window.setFocus();
        const QImage without = Shown(*widget, Shown(window));
        widget->setFocus(Qt::TabFocusReason);
        EXPECT_NE(Shown(*widget, Shown(window)), without)
            << look << widget->accessibleName().toStdString() << TextOf(*widget).toStdString();
    }
}

TEST(Look, TextsAreWholeReadableAndPicturesSharp)
{
    constexpr std::pair<ColorScheme, bool> Colors[] = {// with high contrast?
                                                       {ColorScheme::Light, false},
                                                       {ColorScheme::Dark, false},
                                                       {ColorScheme::Dark, true}};

    for (const DialogTemplate* const form : {&MainDialogTemplate, &SettingsDialogTemplate}) {
        WindowOperator hand;
        CheckeredDialog dialog(*form);
        hand.Run(dialog, [&] {
            QWidget& window = *WidgetOf(dialog.GetSafeHwnd());
            ASSERT_EQ(QGuiApplication::screens().size(), 4);
            for (QScreen* const screen : QGuiApplication::screens()) {
                for (const int font : {11, 14, 18}) {
                    for (const auto& [scheme, isHighContrast] : Colors) {
                        SetFontPixels(font);
                        SetColorScheme(scheme, isHighContrast);
                        window.windowHandle()->setScreen(screen);
                        hand.Serve(1);
                        const std::string look =
                            std::string(form->title) + ", scale " + screen->name().toStdString() +
                            ", font " + std::to_string(font) + ", colors " +
                            std::to_string(int(scheme)) + (isHighContrast ? "+" : "") + ": ";
                        const QImage image = Shown(window);
                        ASSERT_EQ(image.size(), window.size()) << look;
                        ExpectTextsAreWhole(window, image, look);
                        if (form == &MainDialogTemplate) {
                            ExpectCheckerboard(
                                *WidgetOf(dialog.GetDlgItem(IdImageArea).GetSafeHwnd()), image,
                                look);
                        }
                        if (font == 11 && screen == QGuiApplication::primaryScreen()) {
                            ExpectFocusIsSeen(window, look);
                        }
                        if (font == 11) {
                            const double scale = screen->logicalDotsPerInch() / 96;
                            EXPECT_NEAR(window.width(), form->width * 1.5 * scale, 80) << look;
                        }
                    }
                }
            }
            window.windowHandle()->setScreen(QGuiApplication::primaryScreen());
            SetFontPixels(11);
            hand.Serve(1);
            EXPECT_EQ(window.width(), form->width * 6 / 4) << "as it was opened";
            EXPECT_EQ(window.height(), (form->height * 13 + 4) / 8);
            dialog.EndDialog(IDCANCEL);
        });
    }
    SetColorScheme(ColorScheme::Light);
}

TEST(Look, TheTextOfABoxBeginsAtItsLeftAndIsCopied)
{
    WindowOperator hand;
    CheckeredDialog dialog(SettingsDialogTemplate);
    hand.WhenBox("Hi", IDOK, [] {
        QWidget* const box = QApplication::activeModalWidget();
        const auto* const label = box->findChild<QWidget*>("qt_msgbox_label");
        EXPECT_LT(label->mapTo(box, QPoint()).x(), 25);
        QKeyEvent copy(QEvent::KeyPress, Qt::Key_C, Qt::ControlModifier);
        QCoreApplication::sendEvent(box, &copy);
        EXPECT_EQ(QGuiApplication::clipboard()->text().toStdString(), "Tarn test\n\nHi\n\nOK\n");
    });
    hand.Run(dialog, [&] {
        AfxMessageBox("Hi");
        dialog.EndDialog(IDCANCEL);
    });
}

} // namespace
