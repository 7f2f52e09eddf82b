// A recipe at hand: opened from a file or taken over from the recorded steps, edited, saved, and
// run on the open scene or on a folder of files.
#pragma once

#include "stage/desktop/document/document.h"
#include "stage/user/recipe.h"

#include <QWidget>

class QLabel;
class QPushButton;
class QTreeWidget;
class QTreeWidgetItem;

namespace cadencora::stage {

class RecipeEditor : public QWidget {
    Q_OBJECT
public:
    explicit RecipeEditor(Document& document, QWidget* parent = nullptr);

    const Recipe& recipe() const { return recipe_; }
    void take(const std::vector<Step>& steps);
    bool openFile(const QString& path); // false: what is wrong was shown
    bool saveFile(const QString& path);
    void run(); // on the open scene
    void askSave();

private:
    void askOpen();
    void askFolder();
    void removeStep();
    void moveStep(int by);
    void editValue(QTreeWidgetItem* row);
    void showSteps(int current);
    int currentStep() const; // -1: none
    bool mayReplace();
    void showProblem(const Problem& problem);

    Document& document_;
    QLabel* name_;
    QTreeWidget* rows_;
    std::vector<QPushButton*> needSteps_;
    Recipe recipe_;
    QString file_;
    bool isModified_ = false;
};

} // namespace cadencora::stage
