// Running a recipe on a folder: by the headless program, which is beside this one, so that a file
// that goes wrong costs nothing here.
#pragma once

#include "stage/user/recipe.h"

#include <QString>

class QWidget;

namespace cadencora::stage {

// Shows what the program says as it goes, with a button to stop it; returns when the user closes
// that.
void runOnFolder(const Recipe& recipe, const QString& from, const QString& to, QWidget* parent);

} // namespace cadencora::stage
