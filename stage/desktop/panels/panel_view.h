// A whole panel of a plug-in: its controls where the model puts them, and the windows around it.
#pragma once

#include "stage/desktop/panels/control_view.h"

#include <QDialog>
#include <QDockWidget>
#include <QMainWindow>

namespace cadencora::stage {

class PanelView : public QWidget {
public:
    PanelView(PanelModel& panel, const PanelContext& context, QWidget* parent = nullptr);

    PanelModel& panel() { return panel_; }
    bool settle();                      // enters what was typed; false: something is refused
    ControlView* onlyTextField() const; // null unless there is exactly one

private:
    void refresh();

    PanelModel& panel_;
    PanelContext context_;
    std::vector<ControlView*> controls_; // in the model's order
};

// Floats over the main window or is docked to it, where the user put it last; closing it closes the
// panel. `view`: over which it opens first.
class PanelWindow : public QDockWidget {
public:
    PanelWindow(PanelModel& panel, const PanelContext& context, QMainWindow* window,
                const QWidget* view);

    PanelModel& panel() { return view_->panel(); }
    void bringUp();

protected:
    bool event(QEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void moveEvent(QMoveEvent* event) override;

private:
    void rememberPlace();

    PanelView* view_;
    QMainWindow* window_;
    Qt::DockWidgetArea area_ = Qt::RightDockWidgetArea; // where it was docked last
    bool isPlaced_ = false;
};

// Has OK and Cancel below the panel. Opens where the last one of its title was; the first one over
// `view`.
class PanelDialog : public QDialog {
public:
    PanelDialog(PanelModel& panel, const PanelContext& context, QWidget* parent,
                const QWidget* view);

    bool wait(); // until the user has closed it; true: accepted. Other windows stay alive.

    void accept() override; // not while a field is refused
    void done(int result) override;

private:
    PanelView* view_;
    QString title_; // the panel's
};

} // namespace cadencora::stage
