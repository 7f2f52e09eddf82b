// A whole panel of a plug-in: its controls where the model puts them, and the windows around it.
#pragma once

#include "stage/desktop/panels/control_view.h"

#include <QDialog>

namespace cadencora::stage {

class PanelView : public QWidget {
public:
    PanelView(PanelModel& panel, const PanelContext& context, QWidget* parent = nullptr);

    PanelModel& panel() { return panel_; }
    bool settle(); // enters what was typed; false: something is refused

private:
    void refresh();

    PanelModel& panel_;
    PanelContext context_;
    std::vector<ControlView*> controls_; // in the model's order
};

// Stays beside the main window; closing it closes the panel.
class PanelWindow : public QWidget {
public:
    PanelWindow(PanelModel& panel, const PanelContext& context, QWidget* parent);

    PanelModel& panel() { return view_->panel(); }
    void bringUp();

protected:
    bool event(QEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    PanelView* view_;
};

// Has OK and Cancel below the panel.
class PanelDialog : public QDialog {
public:
    PanelDialog(PanelModel& panel, const PanelContext& context, QWidget* parent);

    void accept() override; // not while a field is refused

private:
    PanelView* view_;
};

} // namespace cadencora::stage
