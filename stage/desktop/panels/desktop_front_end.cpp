#include "stage/desktop/panels/desktop_front_end.h"

#include "stage/desktop/document/document.h"

#include <QApplication>
#include <QScreen>

namespace cadencora::stage {

namespace {

QString line(const Message& message, std::size_t index) {
    return index < message.lines.size() ? qtText(message.lines[index]) : QString();
}

} // namespace

DesktopFrontEnd::DesktopFrontEnd() : metrics_(QApplication::font()) {}

DesktopFrontEnd::~DesktopFrontEnd() {
    closePanels();
}

int DesktopFrontEnd::displayWidth() const {
    return metrics_.toPanel(QApplication::primaryScreen()->availableGeometry().width());
}

int DesktopFrontEnd::displayHeight() const {
    return metrics_.toPanel(QApplication::primaryScreen()->availableGeometry().height());
}

void DesktopFrontEnd::showFloating(PanelModel& panel) {
    delete takeWindow(panel); // that the user has closed
    auto* window = new PanelWindow(panel, {*document_, metrics_}, mainWindow_, view_);
    floating_.emplace_back(window);
    window->bringUp();
}

bool DesktopFrontEnd::bringUpPanels() {
    for (const auto& window : floating_)
        if (window) window->bringUp();
    return !floating_.empty();
}

void DesktopFrontEnd::closePanels() {
    for (const auto& window : floating_)
        delete window.data();
    floating_.clear();
}

bool DesktopFrontEnd::runModal(PanelModel& panel) {
    Recorder& recorder = document_->recorder();
    recorder.dialogOpened(panel, document_->scene());
    PanelDialog dialog(panel, {*document_, metrics_}, parent(), view_);
    document_->dialogOpened(panel);
    dialogs_.push_back(&dialog);
    setPanelsEnabled(false);
    const bool accepted = [&] {
        const WorkClock::Pause pause(document_->clock());
        return dialog.wait();
    }();
    dialogs_.pop_back();
    setPanelsEnabled(dialogs_.empty());
    document_->dialogClosed();
    if (!accepted) document_->countRefusal();
    recorder.dialogClosed(panel, accepted, document_->scene());
    return accepted;
}

PanelWindow* DesktopFrontEnd::takeWindow(const PanelModel& panel) {
    std::erase(floating_, nullptr);
    for (auto window = floating_.begin(); window != floating_.end(); ++window) {
        if (&(*window)->panel() != &panel) continue;
        PanelWindow* taken = *window;
        floating_.erase(window);
        return taken;
    }
    return nullptr;
}

void DesktopFrontEnd::panelDestroyed(PanelModel& panel) {
    PanelWindow* window = takeWindow(panel);
    if (!window) return;
    window->hide();
    window->deleteLater(); // its control may be what destroys the panel
}

void DesktopFrontEnd::show(const Message& message) {
    const bool error = message.kind == MessageKind::error;
    if (error) document_->countError();
    askUser(error ? QMessageBox::Critical : QMessageBox::Information,
            error ? QStringLiteral("Error") : QStringLiteral("Information"), line(message, 0),
            line(message, 1), QMessageBox::Ok);
}

bool DesktopFrontEnd::ask(const Message& question) {
    const int answer = askUser(QMessageBox::Question, line(question, 0), line(question, 1),
                               line(question, 2), QMessageBox::Yes | QMessageBox::No);
    document_->recorder().answered(answer == QMessageBox::Yes);
    if (answer != QMessageBox::Yes) document_->countRefusal();
    return answer == QMessageBox::Yes;
}

int DesktopFrontEnd::askUser(QMessageBox::Icon icon, const QString& title, const QString& first,
                             const QString& second, QMessageBox::StandardButtons buttons) {
    QMessageBox box(icon, title, first, buttons, parent());
    box.setTextFormat(Qt::PlainText);
    box.setInformativeText(second);
    box.setTextInteractionFlags(Qt::TextSelectableByMouse);
    const WorkClock::Pause pause(document_->clock());
    return box.exec();
}

void DesktopFrontEnd::working() {
    document_->clock().tick();
}

QWidget* DesktopFrontEnd::parent() const {
    if (QWidget* modal = QApplication::activeModalWidget()) return modal;
    if (!dialogs_.empty()) return dialogs_.back();
    return mainWindow_;
}

// A dialog leaves the main window alive, for its time and its views; what acts on the scene there
// does nothing meanwhile. The panels and the dialogs below it are disabled.
void DesktopFrontEnd::setPanelsEnabled(bool enabled) {
    for (const auto& window : floating_)
        if (window) window->setEnabled(enabled);
    for (PanelDialog* dialog : dialogs_)
        dialog->setEnabled(dialog == dialogs_.back());
}

} // namespace cadencora::stage
