// The widgets behind the controls that say more to their dialog than the toolkit's own do.
#pragma once

#include "platform/dialog_template.h"
#include "platform/qt/dialog_window.h"

#include <QLineEdit>
#include <QScrollBar>
#include <QSlider>

// The widget of a control, child of the dialog's window, wired to report to it; not placed yet.
QWidget* MakeControl(DialogWindow& dialog, const ControlTemplate& control);

// A one-line edit field that reports the loss of the focus and can show that its text was rejected.
class EditControl : public QLineEdit
{
public:
    EditControl(DialogWindow& dialog, int id);

    // Marks the text as rejected until it changes or is written again. False when it is marked
    // already, so that the operator has been told.
    bool Reject(const QString& reason);
    void Write(const QString& text);

protected:
    void focusOutEvent(QFocusEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void Accept();

    DialogWindow& m_dialog;
    int m_id;
    bool m_rejected = false;
    QString m_hint; // the tool tip while nothing is rejected
};

// A scroll bar that never moves by itself: it reports what the operator wants, and the dialog's
// handler sets the position.
class ScrollBarControl : public QScrollBar
{
public:
    ScrollBarControl(DialogWindow& dialog, Qt::Orientation orientation);

    void SetHandle(HWND handle) { m_handle = handle; }
    void SetRange(int minimum, int maximum);
    void SetPosition(int position);

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;

private:
    void OnAction(int action);
    void OnReleased();
    void OnMovedFromOutside(int position);
    void Report(UINT code, int position = 0);

    DialogWindow& m_dialog;
    HWND m_handle = nullptr;
    int m_position = 0;
    int m_wheel = 0; // what is left of the turns, in eighths of a degree
};

// A horizontal track bar that reports every drawing and every move by the operator.
class TrackBarControl : public QSlider
{
public:
    TrackBarControl(DialogWindow& dialog, int id);

    void SetHandle(HWND handle) { m_handle = handle; }
    void SetRange(int minimum, int maximum);
    void SetPosition(int position);

protected:
    void paintEvent(QPaintEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;

private:
    void OnMoved();
    void Report(UINT code);

    DialogWindow& m_dialog;
    HWND m_handle = nullptr;
    int m_id;
    int m_position = 0;
};
