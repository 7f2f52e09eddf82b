// One control of a panel on the screen: shows what its model holds and forwards what the user does.
//
// makeControlView makes the view for each type of control. Views act only through Document::use.
#pragma once

#include "stage/desktop/document/document.h"
#include "stage/desktop/panels/panel_metrics.h"
#include "stage/desktop/widgets/qt_text.h"

#include <QWidget>

namespace cadencora::stage {

// What every view of a panel works with.
struct PanelContext {
    Document& document;
    const PanelMetrics& metrics;
};

class ControlView : public QWidget {
public:
    ControlView(ControlModel& model, const PanelContext& context, QWidget* parent);

    ControlModel& model() { return model_; }

    // Takes over place, visibility and, where the model was drawn again, the value.
    void refresh();

    // Takes what was typed and not yet entered. Where the model refuses it: false, and the field
    // has the focus.
    virtual bool settle() { return true; }

    // A field for a text, such as a path. It is the first thing that a user types into.
    virtual bool isTextField() const { return false; }
    virtual void startTyping() {} // takes the focus, its text selected

protected:
    virtual void showValue() = 0; // the model's, without firing anything
    virtual void place() = 0;     // the parts inside the view's size

    Result<> use(const Document::Action& action) { return context_.document.use(model_, action); }
    int gap() const { return context_.metrics.toScreen(4); }
    QRect besideLabel() const;
    const Scene& scene() const { return context_.document.scene(); }
    Document& document() { return context_.document; }

    void resizeEvent(QResizeEvent* event) override;

    ControlModel& model_;

private:
    PanelContext context_;
    QWidget* label_ = nullptr; // before the control's box
    int shownRedraws_ = -1;
};

ControlView* makeControlView(ControlModel& model, const PanelContext& context, QWidget* parent);

// By kind; see makeControlView.
ControlView* makeButton(ControlModel& model, const PanelContext& context, QWidget* parent);
ControlView* makeToggle(ControlModel& model, const PanelContext& context, QWidget* parent);
ControlView* makeChoice(ControlModel& model, const PanelContext& context, QWidget* parent);
ControlView* makeTabs(ControlModel& model, const PanelContext& context, QWidget* parent);
ControlView* makeNumber(ControlModel& model, const PanelContext& context, QWidget* parent);
ControlView* makeSlider(ControlModel& model, const PanelContext& context, QWidget* parent);
ControlView* makeListBox(ControlModel& model, const PanelContext& context, QWidget* parent);
ControlView* makeItemList(ControlModel& model, const PanelContext& context, QWidget* parent);
ControlView* makePathField(ControlModel& model, const PanelContext& context, QWidget* parent);
ControlView* makePathButton(ControlModel& model, const PanelContext& context, QWidget* parent);

// A label's "&" is a character, not the mark of a shortcut.
QString withoutShortcut(QString text);
QString buttonText(const ControlModel& model);

} // namespace cadencora::stage
