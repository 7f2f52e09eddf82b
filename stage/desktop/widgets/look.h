// How the program looks: as the system does, light or dark; and its icon.
#pragma once

#include <QIcon>
#include <QPalette>

namespace cadencora::stage {

enum class Look { system, light, dark };

// From now on, in all windows.
void applyLook(Look look);
QPalette lookPalette(Look look); // light or dark

// A curve with its keys.
QIcon programIcon();

} // namespace cadencora::stage
