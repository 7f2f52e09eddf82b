// Which of the animations of a file is open; there to be seen where a file holds several.
#pragma once

#include "stage/desktop/document/document.h"

#include <QWidget>

class QComboBox;

namespace cadencora::stage {

class ClipPicker : public QWidget {
    Q_OBJECT
public:
    explicit ClipPicker(Document& document, QWidget* parent = nullptr);

signals:
    void chosen(const QString& clip); // by the user; may be refused

private:
    void showClips();

    Document& document_;
    QComboBox* clips_;
};

} // namespace cadencora::stage
