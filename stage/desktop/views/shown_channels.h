// Which channels of the selected items are on show in the curves, and which of them is looked at
// closely. The list and the curves share it.
#pragma once

#include "stage/desktop/document/document.h"
#include "stage/desktop/drawing/curve_lines.h"

#include <QColor>

#include <unordered_set>

namespace cadencora::stage {

class ShownChannels : public QObject {
    Q_OBJECT
public:
    explicit ShownChannels(Document& document);

    // Those with keys, or with keys before the last edit; at most 1,000.
    const std::vector<ShownCurve>& all() const { return curves_; }
    std::size_t leftOut() const { return leftOut_; } // beyond the 1,000
    std::vector<ShownCurve> visible() const;

    bool isVisible(EnvelopeId curve) const;
    void setVisible(EnvelopeId curve, bool visible);
    void setAllVisible();
    void singleOut(EnvelopeId curve); // hides all others; again: shows them

    // The one whose tangents are shown; none: no curve.
    EnvelopeId current() const { return current_; }
    void setCurrent(EnvelopeId curve);

signals:
    void curvesChanged(); // others, or other keys
    void choiceChanged(); // what of them is on show, and the current one

private:
    void find();

    Document& document_;
    std::vector<ShownCurve> curves_;
    std::size_t leftOut_ = 0;
    std::unordered_set<EnvelopeId> hidden_;
    EnvelopeId current_ = EnvelopeId::none;
};

// A curve's colour on a light or a dark ground.
QColor curveColour(const ShownCurve& curve, bool dark);

} // namespace cadencora::stage
