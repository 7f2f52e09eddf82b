// The front end with windows: shows a plug-in's panels and messages, and waits for the user.
//
// Made before the document that it serves, since a host measures text from its first moment on.
#pragma once

#include "stage/desktop/panels/panel_view.h"
#include "stage/panels/front_end.h"

#include <QMainWindow>
#include <QMessageBox>
#include <QPointer>
#include <QWidget>

#include <vector>

namespace cadencora::stage {

class Document;

class DesktopFrontEnd : public FrontEnd {
public:
    DesktopFrontEnd();
    ~DesktopFrontEnd() override;

    void serve(Document& document) { document_ = &document; }
    // What is opened belongs to the window, and opens over the view where nobody has put it yet.
    void setMainWindow(QMainWindow* window, QWidget* view) {
        mainWindow_ = window;
        view_ = view;
    }

    // The floating panels, shown again where the user closed them; false: no panel was opened.
    bool bringUpPanels();
    void closePanels();

    // FrontEnd; sizes are panel pixels.
    const PanelMetrics& metrics() const override { return metrics_; }
    int displayWidth() const override;
    int displayHeight() const override;
    void showFloating(PanelModel& panel) override;
    bool runModal(PanelModel& panel) override;
    void panelClosed(PanelModel& panel) override { delete takeWindow(panel); }
    void panelDestroyed(PanelModel& panel) override;
    void show(const Message& message) override;
    bool ask(const Message& question) override;
    void working() override;

private:
    PanelWindow* takeWindow(const PanelModel& panel); // null: it has none
    QWidget* parent() const;                          // of a dialog: what the user is in
    void setPanelsEnabled(bool enabled);
    int askUser(QMessageBox::Icon icon, const QString& title, const QString& first,
                const QString& second, QMessageBox::StandardButtons buttons);

    PanelMetrics metrics_;
    Document* document_ = nullptr;
    QPointer<QMainWindow> mainWindow_;
    QPointer<QWidget> view_;
    std::vector<QPointer<PanelWindow>> floating_;
    std::vector<PanelDialog*> dialogs_; // that wait, the last one on top
};

} // namespace cadencora::stage
