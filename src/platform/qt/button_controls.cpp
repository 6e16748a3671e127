// The buttons, and how accessibility tools see them.
#include "platform/qt/button_controls.h"

#include "platform/qt/desktop_look.h"
#include "platform/qt/dialog_window.h"
#include "platform/qt/modal_window.h"
#include "platform/qt/text.h"

#include <QAccessibleWidget>
#include <QApplication>
#include <QButtonGroup>
#include <QCheckBox>
#include <QKeyEvent>
#include <QPainter>
#include <QPointer>
#include <QPushButton>
#include <QRadioButton>
#include <QStyle>
#include <QStyleOptionButton>
#include <QTimer>

namespace {

template <typename Base>
class ButtonControl : public Base
{
public:
    ButtonControl(DialogWindow& dialog, const ControlTemplate& control);

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
};

class MnemonicFilter : public QObject
{
public:
    using QObject::QObject;
    bool eventFilter(QObject* target, QEvent* event) override;
};

class AccessibleButton : public QAccessibleWidget
{
public:
    AccessibleButton(QAbstractButton* button, QAccessible::Role role);

    QString text(QAccessible::Text kind) const override;
    QAccessible::State state() const override;
    QStringList actionNames() const override;
    void doAction(const QString& name) override;
    QStringList keyBindingsForAction(const QString& name) const override;

private:
    const QString& Action() const
    {
        return m_button->isCheckable() ? toggleAction() : pressAction();
    }

    QAbstractButton* m_button;
};

QAbstractButton* Neighbor(const QAbstractButton& button, int key);
QAccessibleInterface* AccessButton(const QString& className, QObject* object);

} // namespace

QAbstractButton* MakeButton(DialogWindow& dialog, const ControlTemplate& control)
{
    if (control.kind == ControlKind::CheckBox) {
        return new ButtonControl<QCheckBox>(dialog, control);
    }
    if (control.kind == ControlKind::RadioButton) {
        return new ButtonControl<QRadioButton>(dialog, control);
    }
    // Enter presses the button that has the focus, as it does on every button of the platform.
    auto* const button = new ButtonControl<QPushButton>(dialog, control);
    button->setAutoDefault(true);
    button->setDefault(control.kind == ControlKind::DefaultButton);
    return button;
}

// The focus first: the field that is left may speak up, keep it, or even end the dialog.
void PressAsTheMouseDoes(QAbstractButton& button)
{
    const auto isReached = [&button] {
        const auto* const dialog = dynamic_cast<DialogWindow*>(button.window());
        const bool takesInput =
            dialog != nullptr ? dialog->TakesInput() : WidgetWindow::Topmost() == button.window();
        return takesInput && button.isEnabled() && button.isVisible();
    };
    if (!isReached()) {
        return;
    }
    if ((button.focusPolicy() & Qt::ClickFocus) != 0) {
        button.setFocus(Qt::MouseFocusReason);
        if (!isReached() || button.window()->focusWidget() != &button) {
            return;
        }
    }
    button.click();
}

void UnifyPresses()
{
    static QPointer<MnemonicFilter> filter; // of the present application
    if (filter == nullptr) {
        filter = new MnemonicFilter(qApp);
        qApp->installEventFilter(filter);
    }
    QAccessible::installFactory(AccessButton);
}

namespace {

template <typename Base>
ButtonControl<Base>::ButtonControl(DialogWindow& dialog, const ControlTemplate& control)
    : Base(ShownText(control.text), &dialog)
{
    QObject::connect(this, &QAbstractButton::clicked, this,
                     [&dialog, id = control.id] { dialog.NotifyCommand(id, BN_CLICKED); });
}

bool MnemonicFilter::eventFilter(QObject* target, QEvent* event)
{
    auto* const button =
        event->type() == QEvent::Shortcut ? qobject_cast<QAbstractButton*>(target) : nullptr;
    if (button == nullptr || static_cast<QShortcutEvent*>(event)->isAmbiguous()) {
        return QObject::eventFilter(target, event);
    }
    PressAsTheMouseDoes(*button);
    return true;
}

// The toolkit moves on from a radio button only when that one is checked.
template <typename Base>
void ButtonControl<Base>::keyPressEvent(QKeyEvent* event)
{
    if (QAbstractButton* const neighbor = Neighbor(*this, event->key())) {
        PressAsTheMouseDoes(*neighbor);
    } else {
        Base::keyPressEvent(event);
    }
}

// The toolkit draws the default button and the one with the focus alike, and the focus of the
// others only after the Tab key.
template <typename Base>
void ButtonControl<Base>::paintEvent(QPaintEvent* event)
{
    Base::paintEvent(event);
    QPainter painter(this);
    if (this->isCheckable()) {
        QStyleOptionButton option;
        this->initStyleOption(&option);
        const bool round = qobject_cast<QRadioButton*>(this) != nullptr;
        const auto part = round ? QStyle::SE_RadioButtonIndicator : QStyle::SE_CheckBoxIndicator;
        DrawDarkOutline(painter, this->palette(),
                        this->style()->subElementRect(part, &option, this), round);
    }
    if (this->hasFocus()) {
        const int inset = this->isCheckable() ? 0 : 3;
        painter.setPen(QPen(this->palette().color(QPalette::ButtonText), 1, Qt::DotLine));
        painter.drawRect(this->rect().adjusted(inset, inset, -inset - 1, -inset - 1));
    }
}

AccessibleButton::AccessibleButton(QAbstractButton* button, QAccessible::Role role)
    : QAccessibleWidget(button, role), m_button(button)
{
}

QString AccessibleButton::text(QAccessible::Text kind) const
{
    const QString text = QAccessibleWidget::text(kind);
    if (kind == QAccessible::Name && text.isEmpty()) {
        return WithoutMnemonic(m_button->text());
    }
    if (kind == QAccessible::Accelerator && text.isEmpty()) {
        return m_button->shortcut().toString(QKeySequence::NativeText);
    }
    return text;
}

QAccessible::State AccessibleButton::state() const
{
    QAccessible::State state = QAccessibleWidget::state();
    state.checkable = m_button->isCheckable();
    state.checked = m_button->isChecked();
    state.pressed = m_button->isDown();
    const auto* const pushButton = qobject_cast<QPushButton*>(m_button);
    state.defaultButton = pushButton != nullptr && pushButton->isDefault();
    return state;
}

QStringList AccessibleButton::actionNames() const
{
    return m_button->isEnabled() ? QStringList{Action(), setFocusAction()} : QStringList();
}

// The tool that asks must not wait for the answer to a box that the click may open.
void AccessibleButton::doAction(const QString& name)
{
    if (name == pressAction() || name == toggleAction()) {
        QTimer::singleShot(0, m_button, [button = m_button] { PressAsTheMouseDoes(*button); });
    } else {
        QAccessibleWidget::doAction(name);
    }
}

QStringList AccessibleButton::keyBindingsForAction(const QString& name) const
{
    return name == Action() ? QStringList{m_button->shortcut().toString()} : QStringList();
}

// The radio button that this key moves on to, from the last of the group to the first; else null.
QAbstractButton* Neighbor(const QAbstractButton& button, int key)
{
    const int step = key == Qt::Key_Left || key == Qt::Key_Up      ? -1
                     : key == Qt::Key_Right || key == Qt::Key_Down ? 1
                                                                   : 0;
    if (step == 0 || button.group() == nullptr) {
        return nullptr;
    }
    const QList<QAbstractButton*> group = button.group()->buttons();
    const qsizetype own = group.indexOf(&button);
    for (qsizetype i = 1; i < group.size(); ++i) {
        QAbstractButton* const next = group[(own + (group.size() + step) * i) % group.size()];
        if (next->isEnabled() && next->isVisible()) {
            return next;
        }
    }
    return nullptr;
}

QAccessibleInterface* AccessButton(const QString& className, QObject* object)
{
    static const std::pair<QString, QAccessible::Role> Roles[] = {
        {QStringLiteral("QPushButton"), QAccessible::PushButton},
        {QStringLiteral("QCheckBox"), QAccessible::CheckBox},
        {QStringLiteral("QRadioButton"), QAccessible::RadioButton}};
    auto* const button = qobject_cast<QAbstractButton*>(object);
    if (button == nullptr || qobject_cast<QDialog*>(button->window()) == nullptr) {
        return nullptr;
    }
    for (const auto& [name, role] : Roles) {
        if (name == className) {
            return new AccessibleButton(button, role);
        }
    }
    return nullptr;
}

} // namespace
