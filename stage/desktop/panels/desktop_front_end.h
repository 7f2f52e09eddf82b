// The front end with windows: shows a plug-in's panels and messages, and waits for the user.
//
// Made before the document that it serves, since a host measures text from its first moment on.
#pragma once

#include "stage/desktop/document/document_front_end.h"
#include "stage/desktop/panels/panel_metrics.h"

#include <QMessageBox>
#include <QPointer>
#include <QWidget>

#include <vector>

namespace cadencora::stage {

class Document;
class PanelWindow;

class DesktopFrontEnd : public DocumentFrontEnd {
public:
    DesktopFrontEnd();
    ~DesktopFrontEnd() override;

    void serve(Document& document) { document_ = &document; }
    void setMainWindow(QWidget* window) { mainWindow_ = window; } // parent of what is opened

    // The floating panel opened last, shown again where the user closed it; false: no panel was
    // opened.
    bool bringUpPanel();
    void closePanels() override;

    // FrontEnd; sizes are panel pixels.
    const PanelMetrics& metrics() const override { return metrics_; }
    int displayWidth() const override;
    int displayHeight() const override;
    void showFloating(PanelModel& panel) override;
    bool runModal(PanelModel& panel) override;
    void panelDestroyed(PanelModel& panel) override;
    void show(const Message& message) override;
    bool ask(const Message& question) override;
    void working() override;

private:
    QWidget* parent() const; // of a dialog: what the user is in
    int askUser(QMessageBox::Icon icon, const QString& title, const QString& first,
                const QString& second, QMessageBox::StandardButtons buttons);

    PanelMetrics metrics_;
    Document* document_ = nullptr;
    QPointer<QWidget> mainWindow_;
    std::vector<QPointer<PanelWindow>> floating_;
};

} // namespace cadencora::stage
