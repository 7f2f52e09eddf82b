// The steps that the recorder has written down, each with what the user did in it.
#pragma once

#include "stage/desktop/document/document.h"

#include <QWidget>

class QPushButton;
class QTreeWidget;

namespace cadencora::stage {

class StepList : public QWidget {
public:
    explicit StepList(Document& document, QWidget* parent = nullptr);

private:
    void rebuild();
    void askSave(); // as a recipe

    Document& document_;
    QTreeWidget* steps_;
    QPushButton* save_;
    QPushButton* clear_;
};

} // namespace cadencora::stage
