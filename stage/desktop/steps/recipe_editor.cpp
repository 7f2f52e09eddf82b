#include "stage/desktop/steps/recipe_editor.h"

#include "stage/desktop/steps/folder_run.h"
#include "stage/desktop/steps/step_rows.h"
#include "stage/desktop/widgets/qt_text.h"

#include <QFileDialog>
#include <QFileInfo>
#include <QGridLayout>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QSignalBlocker>
#include <QVBoxLayout>

#include <algorithm>

namespace cadencora::stage {

RecipeEditor::RecipeEditor(Document& document, QWidget* parent)
    : QWidget(parent), document_(document), name_(new QLabel), rows_(new QTreeWidget) {
    rows_->setObjectName(QStringLiteral("recipe"));
    rows_->setHeaderHidden(true);
    rows_->setUniformRowHeights(true);
    rows_->setToolTip(tr("A double click on LABEL=VALUE edits the value"));
    connect(rows_, &QTreeWidget::itemChanged, this, &RecipeEditor::editValue);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(2, 2, 2, 2);
    column->addWidget(name_);
    column->addWidget(rows_, 1);
    auto* buttons = new QGridLayout;
    buttons->setSpacing(2);
    const auto add = [&](int row, int place, const QString& text, const QString& tip,
                         const std::function<void()>& act, bool needsSteps) {
        auto* button = new QPushButton(text);
        button->setToolTip(tip);
        connect(button, &QPushButton::clicked, this, act);
        buttons->addWidget(button, row, place);
        if (needsSteps) needSteps_.push_back(button);
    };
    add(
        0, 0, tr("Open…"), tr("Open a recipe"), [this] { askOpen(); }, false);
    add(
        0, 1, tr("Save…"), tr("Save the recipe, for this program and for cadencora run"),
        [this] { askSave(); }, true);
    add(
        0, 2, tr("Delete"), tr("Take the step out"), [this] { removeStep(); }, true);
    add(
        1, 0, tr("Up"), tr("Move the step up"), [this] { moveStep(-1); }, true);
    add(
        1, 1, tr("Down"), tr("Move the step down"), [this] { moveStep(1); }, true);
    add(
        1, 2, tr("Folder…"), tr("Run the recipe on all files of a folder"), [this] { askFolder(); },
        true);
    auto* runs = new QPushButton(tr("Run on This Scene"));
    connect(runs, &QPushButton::clicked, this, &RecipeEditor::run);
    needSteps_.push_back(runs);
    buttons->addWidget(runs, 2, 0, 1, 3);
    column->addLayout(buttons);
    showSteps(-1);
}

void RecipeEditor::showProblem(const Problem& problem) {
    QMessageBox::critical(this, tr("Error"), qtText(problem.text()));
}

void RecipeEditor::showSteps(int current) {
    const QSignalBlocker quiet(rows_);
    rows_->clear();
    for (const Step& step : recipe_.steps) {
        QTreeWidgetItem* row = makeStepRow(step);
        rows_->addTopLevelItem(row);
        for (int i = 0; i < row->childCount(); ++i)
            if (row->child(i)->data(0, settingRole).isValid())
                row->child(i)->setFlags(row->child(i)->flags() | Qt::ItemIsEditable);
    }
    rows_->expandAll();
    if (current >= 0) rows_->setCurrentItem(rows_->topLevelItem(current));
    for (QPushButton* button : needSteps_)
        button->setEnabled(!recipe_.steps.empty());
    const QString name = file_.isEmpty() ? tr("not saved") : QFileInfo(file_).fileName();
    name_->setText(recipe_.steps.empty() ? tr("Open a recipe, or take over recorded steps")
                   : isModified_         ? name + QStringLiteral(" *")
                                         : name);
}

int RecipeEditor::currentStep() const {
    QTreeWidgetItem* row = rows_->currentItem();
    if (row && row->parent()) row = row->parent();
    return row ? rows_->indexOfTopLevelItem(row) : -1;
}

bool RecipeEditor::mayReplace() {
    if (!isModified_ || recipe_.steps.empty()) return true;
    return QMessageBox::question(this, tr("Unsaved recipe"),
                                 tr("Replace the recipe, which has not been saved?")) ==
           QMessageBox::Yes;
}

void RecipeEditor::take(const std::vector<Step>& steps) {
    if (!mayReplace()) return;
    recipe_ = {steps, {}};
    file_.clear();
    isModified_ = true;
    showSteps(-1);
}

bool RecipeEditor::openFile(const QString& path) {
    auto read = readRecipe(path.toStdString());
    if (!read) {
        showProblem(read.problem());
        return false;
    }
    recipe_ = std::move(*read);
    file_ = path;
    isModified_ = false;
    showSteps(-1);
    return true;
}

bool RecipeEditor::saveFile(const QString& path) {
    if (const auto saved = saveRecipe(path.toStdString(), recipe_); !saved) {
        showProblem(saved.problem());
        return false;
    }
    file_ = path;
    isModified_ = false;
    showSteps(currentStep());
    document_.tell("saved the recipe " + path.toStdString());
    return true;
}

void RecipeEditor::askOpen() {
    if (!mayReplace()) return;
    const QString path = QFileDialog::getOpenFileName(this, tr("Open a Recipe"), {},
                                                      tr("Recipes (*.recipe);;All files (*)"));
    if (!path.isEmpty()) openFile(path);
}

void RecipeEditor::askSave() {
    QFileDialog picker(this, tr("Save the Recipe"), {}, tr("Recipes (*.recipe)"));
    picker.setAcceptMode(QFileDialog::AcceptSave);
    picker.setDefaultSuffix(QStringLiteral("recipe"));
    if (!file_.isEmpty()) picker.selectFile(file_);
    if (picker.exec() != QDialog::Accepted || picker.selectedFiles().isEmpty()) return;
    saveFile(picker.selectedFiles().first());
}

void RecipeEditor::askFolder() {
    const QString from = QFileDialog::getExistingDirectory(this, tr("Folder of Files to Work On"));
    if (from.isEmpty()) return;
    const QString to = QFileDialog::getExistingDirectory(this, tr("Folder for the Results"));
    if (!to.isEmpty()) runOnFolder(recipe_, from, to, this);
}

void RecipeEditor::run() {
    const auto ran = document_.run(recipe_.steps);
    if (!ran) showProblem(ran.problem());
}

void RecipeEditor::removeStep() {
    const int at = currentStep();
    if (at < 0) return;
    recipe_.steps.erase(recipe_.steps.begin() + at);
    isModified_ = true;
    showSteps(std::min(at, static_cast<int>(recipe_.steps.size()) - 1));
}

void RecipeEditor::moveStep(int by) {
    const int at = currentStep(), to = at + by;
    if (at < 0 || to < 0 || to >= static_cast<int>(recipe_.steps.size())) return;
    std::swap(recipe_.steps[static_cast<std::size_t>(at)],
              recipe_.steps[static_cast<std::size_t>(to)]);
    isModified_ = true;
    showSteps(to);
}

// What cannot be a setting leaves the old one.
void RecipeEditor::editValue(QTreeWidgetItem* row) {
    const QVariant number = row->data(0, settingRole);
    if (!number.isValid() || !row->parent()) return;
    const int at = rows_->indexOfTopLevelItem(row->parent());
    Step::Setting& setting =
        recipe_.steps[static_cast<std::size_t>(at)].settings[number.toULongLong()];
    auto typed = parseSetting(row->text(0).toStdString(), "the recipe");
    if (!typed) {
        const QSignalBlocker quiet(rows_);
        row->setText(0, qtText(settingText(setting)));
        return showProblem(typed.problem());
    }
    setting = std::move(*typed);
    isModified_ = true;
    showSteps(at);
}

} // namespace cadencora::stage
