#include "stage/desktop/panels/control_view.h"

#include "stage/panels/actions.h"
#include "stage/panels/labels.h"

#include <QLabel>
#include <QResizeEvent>

namespace cadencora::stage {

static bool isButton(ControlType type) {
    return type == ControlType::button || type == ControlType::loadButton ||
           type == ControlType::saveButton;
}

ControlView::ControlView(ControlModel& model, const PanelContext& context, QWidget* parent)
    : QWidget(parent), model_(model), context_(context) {
    setObjectName(qtText(shownLabel(model)));
    if (model.labelWidth == 0) return;
    auto* label = new QLabel(qtText(shownLabel(model)), this);
    label->setTextFormat(Qt::PlainText);
    label->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    label_ = label;
}

QRect ControlView::besideLabel() const {
    // From where it lies on the panel, so that boxes below each other begin at the same pixel.
    const int start = context_.metrics.toScreen(model_.rect.x + model_.labelWidth) -
                      context_.metrics.toScreen(model_.rect.x);
    return {start, 0, width() - start, height()};
}

// A list box reaches as far as the buttons below it that belong to it.
static Rect shownRect(const ControlModel& model) {
    Rect rect = model.rect;
    if (model.type != ControlType::listBox) return rect;
    for (const ControlModel* below : model.panel->controls)
        if (below->type != ControlType::listBox && below->section == model.label &&
            below->rect.y >= rect.y + rect.height && isButton(below->type))
            rect.width = std::max(rect.width, below->rect.x + below->rect.width - rect.x);
    return rect;
}

void ControlView::refresh() {
    setGeometry(context_.metrics.place(shownRect(model_)));
    // What an erased control had of the focus goes on to its neighbour.
    setVisible(model_.drawn && !model_.panel->destroyed);
    if (shownRedraws_ == model_.redraws) return;
    shownRedraws_ = model_.redraws;
    if (!model_.panel->destroyed) showValue();
}

void ControlView::resizeEvent(QResizeEvent*) {
    if (label_) label_->setGeometry(0, 0, besideLabel().left() - gap(), height());
    place();
}

ControlView* makeControlView(ControlModel& model, const PanelContext& context, QWidget* parent) {
    switch (model.type) {
    case ControlType::button:
        return makeButton(model, context, parent);
    case ControlType::toggle:
        return makeToggle(model, context, parent);
    case ControlType::choice:
        return makeChoice(model, context, parent);
    case ControlType::tabs:
        return makeTabs(model, context, parent);
    case ControlType::integer:
    case ControlType::number:
        return makeNumber(model, context, parent);
    case ControlType::slider:
        return makeSlider(model, context, parent);
    case ControlType::listBox:
        return makeListBox(model, context, parent);
    case ControlType::item:
        return makeItemList(model, context, parent);
    case ControlType::file:
    case ControlType::directory:
        return makePathField(model, context, parent);
    case ControlType::loadButton:
    case ControlType::saveButton:
        return makePathButton(model, context, parent);
    }
    return nullptr;
}

QString buttonText(const ControlModel& model) {
    return withoutShortcut(qtText(shownLabel(model)));
}

QString withoutShortcut(QString text) {
    return text.replace(QLatin1Char('&'), QLatin1String("&&"));
}

} // namespace cadencora::stage
