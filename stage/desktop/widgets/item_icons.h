// Small pictures of the kinds of items, drawn in the palette's colours.
#pragma once

#include "stage/scene/scene.h"

#include <QColor>
#include <QIcon>

class QPalette;

namespace cadencora::stage {

QIcon itemIcon(ItemType type, const QPalette& palette);

// The colour by which a kind of item is known in lists and in the viewport.
QColor itemColour(ItemType type, bool dark);

// Whether a palette is light on dark.
bool isDark(const QPalette& palette);

} // namespace cadencora::stage
