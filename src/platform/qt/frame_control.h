// A sunken frame whose inside the dialog's WM_PAINT handler paints, and which may take input.
#pragma once

#include "platform/types.h"

#include <QFrame>

#include <string_view>

class DialogWindow;

class FrameControl : public QFrame
{
public:
    // takesInput: it takes the focus, and its mouse and keys go to the dialog as messages.
    FrameControl(DialogWindow& dialog, bool takesInput);

    void SetHandle(HWND handle) { m_handle = handle; }
    void SetText(std::string_view text); // for screen readers

protected:
    bool eventFilter(QObject* target, QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    void Press(QMouseEvent& event, UINT leftMessage, UINT rightMessage);
    void Report(UINT message, const QMouseEvent& event);

    DialogWindow& m_dialog;
    const bool m_takesInput;
    HWND m_handle = nullptr;
    bool m_captured = false; // a press was reported, and not yet that all buttons are up
};
