#include "stage/desktop/steps/preset_list.h"

#include "stage/desktop/widgets/qt_text.h"
#include "stage/user/recipe.h"

#include <QHBoxLayout>
#include <QInputDialog>
#include <QMessageBox>
#include <QPushButton>
#include <QStandardPaths>
#include <QTreeWidget>
#include <QUrl>
#include <QVBoxLayout>

namespace cadencora::stage {

namespace {

const QString ending = QStringLiteral(".recipe");

// Names may hold what file names may not.
QString fileNameOf(const QString& name) {
    return QString::fromLatin1(QUrl::toPercentEncoding(name, " ()")) + ending;
}

QString nameOf(const QString& fileName) {
    return QUrl::fromPercentEncoding(fileName.chopped(ending.size()).toLatin1());
}

} // namespace

PresetList::PresetList(Document& document, QWidget* parent)
    : QWidget(parent), document_(document),
      folder_(QStandardPaths::writableLocation(QStandardPaths::AppDataLocation) +
              QStringLiteral("/presets")),
      rows_(new QTreeWidget) {
    rows_->setObjectName(QStringLiteral("presets"));
    rows_->setHeaderHidden(true);
    rows_->setToolTip(tr("A double click presses the button with the values of the preset"));
    connect(rows_, &QTreeWidget::itemDoubleClicked, this, &PresetList::run);
    auto* runs = new QPushButton(tr("Run"));
    connect(runs, &QPushButton::clicked, this, &PresetList::run);
    auto* removes = new QPushButton(tr("Delete"));
    connect(removes, &QPushButton::clicked, this, &PresetList::remove);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(2, 2, 2, 2);
    column->addWidget(rows_);
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(runs);
    buttons->addWidget(removes);
    column->addLayout(buttons);
    showPresets();
}

void PresetList::showPresets() {
    rows_->clear();
    for (const QString& button : folder_.entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name)) {
        auto* above = new QTreeWidgetItem(rows_, {QUrl::fromPercentEncoding(button.toLatin1())});
        const QDir presets(folder_.filePath(button));
        for (const QString& file :
             presets.entryList({QStringLiteral("*") + ending}, QDir::Files, QDir::Name)) {
            auto* row = new QTreeWidgetItem(above, {nameOf(file)});
            row->setData(0, Qt::UserRole, presets.filePath(file));
        }
        if (above->childCount() == 0) delete above;
    }
    rows_->expandAll();
}

QString PresetList::currentFile() const {
    const QTreeWidgetItem* row = rows_->currentItem();
    return row ? row->data(0, Qt::UserRole).toString() : QString();
}

void PresetList::askName(const Step& step) {
    bool isGiven = false;
    const QString name = QInputDialog::getText(
        this, tr("Keep a Preset"), tr("Name of this preset of %1:").arg(qtText(step.press)),
        QLineEdit::Normal, {}, &isGiven);
    if (isGiven && !name.trimmed().isEmpty()) keep(step, name.trimmed());
}

// Where the step is taken is for the moment to say: a preset has the values alone.
bool PresetList::keep(const Step& step, const QString& name) {
    Step kept = step;
    kept.select.reset();
    kept.time.reset();
    kept.preview.reset();
    kept.keep = true;
    const QString button = QString::fromLatin1(QUrl::toPercentEncoding(qtText(step.press), " ()"));
    const QString path = folder_.filePath(button + QLatin1Char('/') + fileNameOf(name));
    folder_.mkpath(button);
    if (const auto saved = saveRecipe(path.toStdString(), {{kept}, {}}); !saved) {
        QMessageBox::critical(this, tr("Error"), qtText(saved.problem().text()));
        return false;
    }
    showPresets();
    document_.tell("kept the preset \"" + name.toStdString() + "\" of " + step.press);
    return true;
}

void PresetList::run() {
    const QString file = currentFile();
    if (file.isEmpty()) return;
    auto recipe = readRecipe(file.toStdString());
    const auto ran = recipe ? document_.run(recipe->steps) : Result<>(recipe.problem());
    if (!ran) QMessageBox::critical(this, tr("Error"), qtText(ran.problem().text()));
}

void PresetList::remove() {
    const QString file = currentFile();
    if (file.isEmpty() || !QFile::remove(file)) return;
    showPresets();
}

} // namespace cadencora::stage
