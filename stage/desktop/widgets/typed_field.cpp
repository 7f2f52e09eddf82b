#include "stage/desktop/widgets/typed_field.h"

#include <QKeyEvent>
#include <QToolTip>

namespace cadencora::stage {

TypedField::TypedField(Enter enter, QWidget* parent)
    : QLineEdit(parent), enter_(std::move(enter)) {}

void TypedField::showText(const QString& value) {
    shown_ = value;
    setText(value);
    setCursorPosition(0);
    mark({});
}

bool TypedField::settleOrStay() {
    if (settle()) return true;
    setFocus();
    return false;
}

bool TypedField::settle() {
    if (text() == shown_) {
        mark({});
        return true;
    }
    const QString typed = text();
    const auto entered = enter_(typed.toStdString());
    if (!entered) {
        mark(QString::fromStdString(
            entered.problem().what +
            (entered.problem().detail.empty() ? "" : ", " + entered.problem().detail)));
        return false;
    }
    if (text() == typed) shown_ = typed;
    mark({});
    return true;
}

void TypedField::keyPressEvent(QKeyEvent* event) {
    const bool enter = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (enter && !settle()) return event->accept(); // a dialog must not close over it
    QLineEdit::keyPressEvent(event);
}

void TypedField::focusOutEvent(QFocusEvent* event) {
    if (event->reason() != Qt::PopupFocusReason) settle();
    QLineEdit::focusOutEvent(event);
}

void TypedField::mark(const QString& reason) {
    setToolTip(reason);
    if (reason.isEmpty()) {
        setPalette({});
        return;
    }
    QPalette marked;
    const bool dark = marked.color(QPalette::Base).lightness() < 128;
    marked.setColor(QPalette::Base, dark ? QColor(110, 40, 40) : QColor(255, 200, 200));
    setPalette(marked);
    QToolTip::showText(mapToGlobal(QPoint(0, height())), reason, this);
}

} // namespace cadencora::stage
