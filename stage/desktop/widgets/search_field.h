// A field to search with. As long as there is nothing of its own to take back, undo and redo are
// the scene's.
#pragma once

#include <QKeyEvent>
#include <QLineEdit>

namespace cadencora::stage {

class SearchField : public QLineEdit {
public:
    explicit SearchField(const QString& placeholder, QWidget* parent = nullptr)
        : QLineEdit(parent) {
        setPlaceholderText(placeholder);
        setClearButtonEnabled(true);
    }

    bool event(QEvent* event) override {
        if (event->type() == QEvent::ShortcutOverride) {
            const auto& key = static_cast<const QKeyEvent&>(*event);
            if ((key.matches(QKeySequence::Undo) && !isUndoAvailable()) ||
                (key.matches(QKeySequence::Redo) && !isRedoAvailable()))
                return QWidget::event(event);
        }
        return QLineEdit::event(event);
    }
};

} // namespace cadencora::stage
