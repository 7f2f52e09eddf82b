// Number fields, and sliders with their value.

#include "stage/desktop/panels/control_view.h"
#include "stage/desktop/widgets/typed_field.h"
#include "stage/panels/actions.h"

#include <QApplication>
#include <QKeyEvent>
#include <QSignalBlocker>
#include <QSlider>

namespace cadencora::stage {

namespace {

class NumberView : public ControlView {
public:
    NumberView(ControlModel& model, const PanelContext& context, QWidget* parent)
        : ControlView(model, context, parent),
          field_(new TypedField([this](const std::string& text) { return enter(text); }, this)) {
        setFocusProxy(field_);
    }
    bool settle() override { return field_->settleOrStay(); }

private:
    Result<> enter(const std::string& text) {
        return use([&](ControlModel& control) { return setByText(control, text, scene()); });
    }
    void showValue() override { field_->showText(qtText(valueText(model_, scene()))); }
    void place() override { field_->setGeometry(besideLabel()); }

    TypedField* field_;
};

class SliderView : public ControlView {
public:
    SliderView(ControlModel& model, const PanelContext& context, QWidget* parent)
        : ControlView(model, context, parent), slider_(new QSlider(Qt::Horizontal, this)),
          field_(new TypedField([this](const std::string& text) { return enter(text); }, this)),
          fieldWidth_(context.metrics.toScreen(context.metrics.width("-000000"))) {
        slider_->setRange(model.minimum, std::max(model.minimum, model.maximum));
        slider_->setPageStep(10);
        setFocusProxy(slider_);
        slider_->installEventFilter(this);
        connect(slider_, &QSlider::valueChanged, this, [this](int value) {
            (void)use([value](ControlModel& control) { return setInteger(control, value); });
            showValue();
        });
    }
    bool settle() override { return field_->settleOrStay(); }

private:
    // Numbers that are typed on the slider are meant for its field.
    bool eventFilter(QObject*, QEvent* event) override {
        if (event->type() != QEvent::KeyPress) return false;
        const QString typed = static_cast<QKeyEvent*>(event)->text();
        if (typed.isEmpty() || !(typed[0].isDigit() || typed[0] == QLatin1Char('-'))) return false;
        field_->setFocus();
        field_->selectAll();
        QApplication::sendEvent(field_, event);
        return true;
    }
    Result<> enter(const std::string& text) {
        auto entered =
            use([&](ControlModel& control) { return setByText(control, text, scene()); });
        if (entered) showValue();
        return entered;
    }
    void showValue() override {
        const QSignalBlocker quiet(slider_);
        slider_->setValue(model_.integer);
        field_->showText(qtText(valueText(model_, scene())));
    }
    void place() override {
        QRect box = besideLabel();
        field_->setGeometry(box.right() + 1 - fieldWidth_, 0, fieldWidth_, height());
        box.setWidth(box.width() - fieldWidth_ - gap());
        slider_->setGeometry(box);
    }

    QSlider* slider_;
    TypedField* field_;
    int fieldWidth_;
};

} // namespace

ControlView* makeNumber(ControlModel& model, const PanelContext& context, QWidget* parent) {
    return new NumberView(model, context, parent);
}

ControlView* makeSlider(ControlModel& model, const PanelContext& context, QWidget* parent) {
    return new SliderView(model, context, parent);
}

} // namespace cadencora::stage
