// Colours that several views have in common.
#pragma once

#include <QColor>

namespace cadencora::stage {

// The colour with an opacity of 0 to 255.
inline QColor faint(QColor colour, int opacity) {
    colour.setAlpha(opacity);
    return colour;
}

// The colour of the range that the last command touched.
inline QColor changedColour() {
    return {225, 150, 30};
}

} // namespace cadencora::stage
