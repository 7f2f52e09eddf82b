// The steps of a recipe as rows of a tree.
#pragma once

#include "stage/user/scripted_user.h"

#include <QTreeWidget>

namespace cadencora::stage {

// A row for the step, with rows below it for what the user does in it. The rows of settings hold
// "LABEL=VALUE" and have their number, from 0, as settingRole; the others have no such number.
constexpr int settingRole = Qt::UserRole;
QTreeWidgetItem* makeStepRow(const Step& step, const std::string& shortfall = {});

} // namespace cadencora::stage
