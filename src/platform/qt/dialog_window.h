// The widget behind a dialog: turns what the toolkit reports into messages of the dialog.
#pragma once

#include "platform/dialog.h"

#include <QBasicTimer>
#include <QDialog>

#include <map>
#include <vector>

class DialogWindow : public QDialog
{
public:
    // Creates the window and the controls of the dialog's template, not shown yet. owner may be
    // null.
    DialogWindow(CDialog& dialog, QWidget* owner);
    ~DialogWindow() override; // every handle of the dialog is dead from here on

    CDialog& Dialog() const { return m_dialog; }
    HWND Handle() const { return m_handle; }
    HWND Control(int id) const; // null when the template does not hold it

    void FocusFirst(); // the first control in the template's order that takes the focus

    // False behind a box or another dialog: there a handler of this one is still at work.
    bool TakesInput() const;

    // Sends the dialog a message of one of its controls or of the window itself, unless it ended.
    LRESULT Notify(UINT message, WPARAM wParam = 0, LPARAM lParam = 0);
    // The notification code of the control of this id.
    void NotifyCommand(int id, UINT code) { Notify(WM_COMMAND, MAKEWPARAM(UINT(id), code)); }

    void StartTimer(UINT_PTR id, UINT period);
    void StopTimer(UINT_PTR id);

protected:
    bool event(QEvent* event) override;
    void reject() override;
    void closeEvent(QCloseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void timerEvent(QTimerEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    void changeEvent(QEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    struct PlacedControl
    {
        QWidget* widget;
        const ControlTemplate* line;
    };

    void CreateControls();
    void ShowHints();
    void MeasureUnits();
    QRect Pixels(const DialogUnits& place) const;
    QSize OpeningSize() const;
    void SetClientSize(QSize size);
    void PlaceControls();
    void FollowDesktop();

    CDialog& m_dialog;
    HWND m_handle;
    std::map<int, HWND> m_controls;
    std::vector<HWND> m_unnamedControls;
    std::vector<PlacedControl> m_placed; // in Tab order
    QSize m_unit;                        // the average character's size, in pixels
    QSize m_reported;                    // the client area's size that the dialog knows
    double m_scale = 1.0;                // of the screen that it was laid out for
    std::map<UINT_PTR, QBasicTimer> m_timers;
    int m_titles = 0; // that the windowing system was told since it last answered
};
