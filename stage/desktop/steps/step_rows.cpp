#include "stage/desktop/steps/step_rows.h"

#include "stage/desktop/widgets/qt_text.h"
#include "stage/scene/summary.h"
#include "stage/user/recipe.h"

#include <QApplication>
#include <QStyle>

namespace cadencora::stage {

namespace {

std::string joined(const std::vector<std::string>& names) {
    std::string text;
    for (const std::string& name : names)
        text += (text.empty() ? "" : ", ") + name;
    return text.empty() ? "nothing" : text;
}

QTreeWidgetItem* addRow(QTreeWidgetItem* step, const std::string& text) {
    auto* row = new QTreeWidgetItem(step, {qtText(text)});
    row->setToolTip(0, row->text(0));
    return row;
}

} // namespace

QTreeWidgetItem* makeStepRow(const Step& step, const std::string& shortfall) {
    QString press = step.isStart ? QObject::tr("(start of the plug-in)") : qtText(step.press);
    if (!step.keep) press += QObject::tr(" (taken back)");
    auto* row = new QTreeWidgetItem({press});
    if (step.select) addRow(row, "select " + joined(*step.select));
    if (step.time) addRow(row, "at frame " + frameText(*step.time));
    if (step.preview)
        addRow(row, "preview " + std::to_string(step.preview->first) + " to " +
                        std::to_string(step.preview->second));
    for (std::size_t i = 0; i < step.settings.size(); ++i)
        addRow(row, settingText(step.settings[i]))
            ->setData(0, settingRole, static_cast<qulonglong>(i));
    for (const bool yes : step.answers)
        addRow(row, yes ? "answer yes" : "answer no");
    if (step.cancel) addRow(row, "cancel");
    if (shortfall.empty()) return row;
    addRow(row, "cannot be repeated as it was: " + shortfall);
    row->setIcon(0, QApplication::style()->standardIcon(QStyle::SP_MessageBoxWarning));
    return row;
}

} // namespace cadencora::stage
