#include "stage/desktop/steps/step_list.h"

#include "stage/desktop/steps/step_rows.h"

#include <QGridLayout>
#include <QPushButton>
#include <QVBoxLayout>

#include <algorithm>

namespace cadencora::stage {

StepList::StepList(Document& document, QWidget* parent)
    : QWidget(parent), document_(document), rows_(new QTreeWidget),
      save_(new QPushButton(tr("Save Recipe…"))), recipe_(new QPushButton(tr("Edit…"))),
      preset_(new QPushButton(tr("Preset…"))), clear_(new QPushButton(tr("Clear"))) {
    rows_->setObjectName(QStringLiteral("recorded"));
    rows_->setHeaderHidden(true);
    rows_->setUniformRowHeights(true);
    recipe_->setToolTip(tr("Take the steps over into the recipe beside, to edit and run them"));
    preset_->setToolTip(tr("Keep the chosen step under a name, to press its button with the same "
                           "values again"));
    clear_->setToolTip(tr("Forget the steps; the scene stays as it is"));
    connect(recipe_, &QPushButton::clicked, this,
            [this] { emit taken(document_.recorder().steps(), false); });
    save_->setToolTip(tr("Save the steps as a recipe, for this program and for cadencora run"));
    connect(save_, &QPushButton::clicked, this,
            [this] { emit taken(document_.recorder().steps(), true); });
    connect(preset_, &QPushButton::clicked, this, [this] {
        if (const RecordedStep* step = chosen()) emit presetWanted(step->step);
    });
    connect(clear_, &QPushButton::clicked, &document, &Document::clearRecording);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(2, 2, 2, 2);
    column->addWidget(rows_);
    auto* buttons = new QGridLayout;
    buttons->setSpacing(2);
    buttons->addWidget(save_, 0, 0);
    buttons->addWidget(recipe_, 0, 1);
    buttons->addWidget(preset_, 1, 0);
    buttons->addWidget(clear_, 1, 1);
    column->addLayout(buttons);
    connect(&document, &Document::changed, this, &StepList::showSteps);
    showSteps();
}

// Only the rows from the first other step on are made anew: lists grow long.
void StepList::showSteps() {
    if (document_.recorder().revision() == revision_) return;
    revision_ = document_.recorder().revision();
    std::vector<RecordedStep> now = document_.recorder().recorded();
    const auto same = static_cast<int>(std::ranges::mismatch(shown_, now).in1 - shown_.begin());
    while (rows_->topLevelItemCount() > same)
        delete rows_->takeTopLevelItem(rows_->topLevelItemCount() - 1);
    for (auto step = now.begin() + same; step != now.end(); ++step) {
        QTreeWidgetItem* row = makeStepRow(step->step, step->shortfall);
        rows_->addTopLevelItem(row);
        row->setExpanded(true);
    }
    shown_ = std::move(now);
    for (QPushButton* button : {save_, recipe_, preset_, clear_}) {
        if (shown_.empty() && button == window()->focusWidget())
            rows_->setFocus(); // no field gets the keys
        button->setEnabled(!shown_.empty());
    }
    rows_->scrollToBottom();
}

const RecordedStep* StepList::chosen() const {
    if (shown_.empty()) return nullptr;
    QTreeWidgetItem* row = rows_->currentItem();
    if (row && row->parent()) row = row->parent();
    const int at = row ? rows_->indexOfTopLevelItem(row) : -1;
    return at < 0 ? &shown_.back() : &shown_[static_cast<std::size_t>(at)];
}

} // namespace cadencora::stage
