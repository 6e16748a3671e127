// The windows of open dialogs and boxes, and the order in which they stand.
#pragma once

#include "platform/backend.h"

#include <QDialog>
#include <QEventLoop>
#include <QPointer>

class WidgetWindow : public ModalWindow
{
public:
    // The widget goes with this object, or before it with its owner. answer: what its loop quits
    // with when the operator has closed it with a result of the toolkit's.
    explicit WidgetWindow(QDialog* widget, std::function<int(int result)> answer = {});
    ~WidgetWindow() override;

    void Show() override;
    void Serve() override;
    void Stop() override;
    void Hide() override;
    QWidget* Widget() const { return m_widget; }

    // The window that takes input, also one that the toolkit opened by itself; null for none.
    static QWidget* Topmost();
    // What the next window belongs to. Null when the topmost is minimized or not shown yet: window
    // managers would hide the next one with it.
    static QWidget* NextOwner();

private:
    void PlaceAboveParent();

    QPointer<QDialog> m_widget;
    QPointer<QWidget> m_before; // had the keyboard; perhaps a modeless dialog beside the topmost
    QPoint m_place;             // of the frame, as the window was opened
    QEventLoop m_events;
};
