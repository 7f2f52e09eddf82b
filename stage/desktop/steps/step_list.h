// The steps that the recorder has written down, each with what the user did in it.
#pragma once

#include "stage/desktop/document/document.h"

#include <QWidget>

class QPushButton;
class QTreeWidget;

namespace cadencora::stage {

class StepList : public QWidget {
    Q_OBJECT
public:
    explicit StepList(Document& document, QWidget* parent = nullptr);

signals:
    // To become a recipe, which is to be saved at once or not.
    void taken(const std::vector<cadencora::stage::Step>& steps, bool saves);
    void presetWanted(const cadencora::stage::Step& step);

private:
    void showSteps();
    const RecordedStep* chosen() const; // the current row's, else the last one; null: no step

    Document& document_;
    QTreeWidget* rows_;
    QPushButton* save_;
    QPushButton* recipe_;
    QPushButton* preset_;
    QPushButton* clear_;
    std::vector<RecordedStep> shown_;
    std::size_t revision_ = static_cast<std::size_t>(-1); // of what is shown
};

} // namespace cadencora::stage
