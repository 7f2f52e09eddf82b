#include "stage/desktop/views/step_list.h"

#include "stage/scene/summary.h"
#include "stage/user/recipe.h"

#include <QFileDialog>
#include <QHBoxLayout>
#include <QMessageBox>
#include <QPushButton>
#include <QStyle>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace cadencora::stage {

namespace {

std::string joined(const std::vector<std::string>& names) {
    std::string text;
    for (const std::string& name : names)
        text += (text.empty() ? "" : ", ") + name;
    return text.empty() ? "nothing" : text;
}

void addRow(QTreeWidgetItem* step, const std::string& text) {
    auto* row = new QTreeWidgetItem(step, {QString::fromStdString(text)});
    row->setToolTip(0, row->text(0));
}

} // namespace

StepList::StepList(Document& document, QWidget* parent)
    : QWidget(parent), document_(document), steps_(new QTreeWidget),
      save_(new QPushButton(tr("Save Recipe…"))), clear_(new QPushButton(tr("Clear"))) {
    steps_->setHeaderHidden(true);
    steps_->setUniformRowHeights(true);
    clear_->setToolTip(tr("Forget the steps; the scene stays as it is"));
    save_->setToolTip(tr("Write the steps into a file that the program cadencora runs"));
    connect(save_, &QPushButton::clicked, this, &StepList::askSave);
    connect(clear_, &QPushButton::clicked, &document, &Document::clearRecording);
    auto* rows = new QVBoxLayout(this);
    rows->setContentsMargins(0, 0, 0, 0);
    rows->addWidget(steps_);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(save_);
    buttons->addWidget(clear_);
    rows->addLayout(buttons);
    connect(&document, &Document::changed, this, [this](Changes what) {
        if (!(what & Change::time) || what & ~Changes(Change::time)) rebuild();
    });
    rebuild();
}

void StepList::rebuild() {
    steps_->clear();
    for (const RecordedStep& recorded : document_.recorder().recorded()) {
        const Step& step = recorded.step;
        QString press = QString::fromStdString(step.press);
        if (!step.keep) press += tr(" (taken back)");
        auto* row = new QTreeWidgetItem(steps_, {press});
        if (step.select) addRow(row, "select " + joined(*step.select));
        if (step.time) addRow(row, "at frame " + frameText(*step.time));
        if (step.preview)
            addRow(row, "preview " + std::to_string(step.preview->first) + " to " +
                            std::to_string(step.preview->second));
        for (const auto& [label, value] : step.settings)
            addRow(row, label + " = " + value);
        for (const bool yes : step.answers)
            addRow(row, yes ? "answer yes" : "answer no");
        if (step.cancel) addRow(row, "cancel");
        if (recorded.shortfall.empty()) continue;
        addRow(row, "cannot be repeated as it was: " + recorded.shortfall);
        row->setIcon(0, style()->standardIcon(QStyle::SP_MessageBoxWarning));
    }
    for (QPushButton* button : {save_, clear_})
        button->setEnabled(steps_->topLevelItemCount() > 0);
    steps_->expandAll();
    steps_->scrollToBottom();
}

void StepList::askSave() {
    QFileDialog picker(this, tr("Save the Recipe"), {}, tr("Recipes (*.recipe)"));
    picker.setAcceptMode(QFileDialog::AcceptSave);
    picker.setDefaultSuffix(QStringLiteral("recipe"));
    if (picker.exec() != QDialog::Accepted || picker.selectedFiles().isEmpty()) return;
    const auto saved = saveRecipe(picker.selectedFiles().first().toStdString(),
                                  {document_.recorder().steps(), {}});
    if (!saved)
        QMessageBox::critical(this, tr("Error"), QString::fromStdString(saved.problem().text()));
}

} // namespace cadencora::stage
