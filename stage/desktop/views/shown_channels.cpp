#include "stage/desktop/views/shown_channels.h"

#include "stage/desktop/widgets/qt_text.h"
#include "stage/plot/marks.h"

#include <algorithm>

namespace cadencora::stage {

ShownChannels::ShownChannels(Document& document) : document_(document) {
    connect(&document, &Document::changed, this, [this](Changes what) {
        if (what.testFlag(Change::scene)) hidden_.clear();
        if (what & (Changes(Change::scene) | Change::selection | Change::keys)) find();
    });
    find();
}

void ShownChannels::find() {
    constexpr std::size_t most = 1000;
    const Scene& scene = document_.scene();
    curves_ = shownCurves(scene, scene.selection, document_.host().journal());
    leftOut_ = curves_.size() > most ? curves_.size() - most : 0;
    curves_.resize(curves_.size() - leftOut_);
    if (std::ranges::find(curves_, current_, &ShownCurve::envelope) == curves_.end())
        current_ = EnvelopeId::none;
    emit curvesChanged();
}

bool ShownChannels::isVisible(EnvelopeId curve) const {
    return !hidden_.contains(curve);
}

std::vector<ShownCurve> ShownChannels::visible() const {
    std::vector<ShownCurve> shown;
    for (const ShownCurve& curve : curves_)
        if (isVisible(curve.envelope)) shown.push_back(curve);
    return shown;
}

void ShownChannels::setVisible(EnvelopeId curve, bool visible) {
    if (visible)
        hidden_.erase(curve);
    else
        hidden_.insert(curve);
    emit choiceChanged();
}

void ShownChannels::setAllVisible() {
    hidden_.clear();
    emit choiceChanged();
}

void ShownChannels::singleOut(EnvelopeId curve) {
    const std::vector<ShownCurve> shown = visible();
    const bool isAlone = shown.size() == 1 && shown.front().envelope == curve;
    hidden_.clear();
    for (const ShownCurve& other : curves_)
        if (!isAlone && other.envelope != curve) hidden_.insert(other.envelope);
    current_ = curve;
    emit choiceChanged();
}

void ShownChannels::setCurrent(EnvelopeId curve) {
    if (current_ == curve) return;
    current_ = curve;
    emit choiceChanged();
}

QColor curveColour(const ShownCurve& curve, bool dark) {
    const Colour& colour = colours[curve.place % colourCount];
    return QColor(qtText(dark ? colour.dark : colour.light));
}

} // namespace cadencora::stage
