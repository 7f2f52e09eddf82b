// The windows of the desktop program, found and watched from outside, as the tests and the program
// that draws the manual's pictures need them.
#pragma once

#include "stage/desktop/panels/panel_view.h"

#include <QAction>
#include <QApplication>
#include <QDialog>
#include <QEvent>
#include <QPushButton>

namespace cadencora::stage {

// The plug-in's floating panel; null where none is open.
inline PanelWindow* findPanelWindow() {
    for (QWidget* widget : QApplication::topLevelWidgets())
        if (auto* panel = dynamic_cast<PanelWindow*>(widget)) return panel;
    return nullptr;
}

// The nth button of that text in a window; null where there are fewer.
inline QPushButton* findButton(QWidget& window, const char* text, int nth = 0) {
    for (QPushButton* found : window.findChildren<QPushButton*>())
        if (found->text() == QString::fromUtf8(text) && nth-- == 0) return found;
    return nullptr;
}

// The entry of a window's menus that has a text, its shortcut's mark included; null: there is none.
inline QAction* findEntry(const QWidget& window, const char* text) {
    for (QAction* found : window.findChildren<QAction*>())
        if (found->text() == QString::fromUtf8(text)) return found;
    return nullptr;
}

// Is told of every dialog that a command waits for once it is shown and waits for the user.
class DialogWatcher : public QObject {
public:
    DialogWatcher() { qApp->installEventFilter(this); }
    ~DialogWatcher() override { qApp->removeEventFilter(this); }

protected:
    virtual void opened(QDialog& dialog) = 0;

private:
    bool eventFilter(QObject* object, QEvent* event) override {
        auto* dialog = event->type() == QEvent::Show ? qobject_cast<QDialog*>(object) : nullptr;
        if (dialog && (dialog->isModal() || dynamic_cast<PanelDialog*>(dialog)))
            QMetaObject::invokeMethod(
                dialog, [this, dialog] { opened(*dialog); }, Qt::QueuedConnection);
        return false;
    }
};

} // namespace cadencora::stage
