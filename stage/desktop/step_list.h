// The steps that the recorder has written down, each with what the user did in it.
#pragma once

#include "stage/desktop/document.h"

#include <QWidget>

class QTreeWidget;

namespace cadencora::stage {

class StepList : public QWidget {
public:
    explicit StepList(Document& document, QWidget* parent = nullptr);

private:
    void rebuild();

    Document& document_;
    QTreeWidget* steps_;
};

} // namespace cadencora::stage
