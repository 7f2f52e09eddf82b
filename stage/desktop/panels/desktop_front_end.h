// The front end with windows: shows a plug-in's panels and messages, and waits for the user.
//
// Made before the document that it serves, since a host measures text from its first moment on.
#pragma once

#include "stage/desktop/panels/panel_view.h"
#include "stage/panels/front_end.h"

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
    void setMainWindow(QWidget* window) { mainWindow_ = window; } // parent of what is opened

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
    int askUser(QMessageBox::Icon icon, const QString& title, const QString& first,
                const QString& second, QMessageBox::StandardButtons buttons);

    PanelMetrics metrics_;
    Document* document_ = nullptr;
    QPointer<QWidget> mainWindow_;
    std::vector<QPointer<PanelWindow>> floating_;
};

} // namespace cadencora::stage
