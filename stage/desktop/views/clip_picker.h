// Which of the animations of a file is open; there to be seen where a file holds several. A click
// opens the list of them, with a field to search in.
#pragma once

#include "stage/desktop/document/document.h"

#include <QWidget>

class QLineEdit;
class QListWidget;
class QToolButton;

namespace cadencora::stage {

class ClipPicker : public QWidget {
    Q_OBJECT
public:
    explicit ClipPicker(Document& document, QWidget* parent = nullptr);

signals:
    void chosen(const QString& clip); // by the user; may be refused

private:
    void showClips();
    void openList();
    void filter(const QString& wanted);
    void choose();
    bool eventFilter(QObject* object, QEvent* event) override;

    Document& document_;
    QToolButton* open_;
    QWidget* popup_;
    QLineEdit* search_;
    QListWidget* clips_;
};

} // namespace cadencora::stage
