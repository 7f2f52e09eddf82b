// From panel pixels to the screen's: text sizes for the panel model and places for its controls.
//
// Plug-ins place controls in steps that are made for a small font. A panel pixel is therefore a
// share of the font's line height, so that what fits there fits here in a font of readable size.
#pragma once

#include "stage/panels/panel.h"

#include <QFont>
#include <QFontMetricsF>
#include <QRect>

namespace cadencora::stage {

class PanelMetrics : public TextMetrics {
public:
    explicit PanelMetrics(const QFont& font);

    // In panel pixels, rounded up.
    int width(std::string_view text) const override;
    int lineHeight() const override;

    // A rectangle of the model on the screen. Neighbours stay neighbours.
    QRect place(const Rect& rect) const;
    int toScreen(int pixels) const;
    int toPanel(int screenPixels) const;

    const QFont& font() const { return font_; }

private:
    QFont font_;
    QFontMetricsF text_;
    double scale_; // screen pixels per panel pixel
};

} // namespace cadencora::stage
