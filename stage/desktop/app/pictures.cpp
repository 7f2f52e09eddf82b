#include "stage/desktop/app/pictures.h"

#include "stage/desktop/app/main_window.h"
#include "stage/desktop/panels/panel_view.h"

#include <QApplication>
#include <QDir>
#include <QMessageBox>
#include <QPushButton>
#include <QTabBar>

#include <cstdio>

namespace cadencora::stage {

namespace {

QString fileName(QString text) {
    for (QChar& c : text)
        if (!c.isLetterOrNumber()) c = QLatin1Char('-');
    while (text.contains(QLatin1String("--")))
        text.replace(QLatin1String("--"), QLatin1String("-"));
    return text.toLower();
}

// Takes the dialogs that open, one by one, and accepts them.
class DialogCamera : public QObject {
public:
    QDir folder;
    QString name; // empty: none are taken
    int count = 0;
    bool failed = false;

    void take(QWidget& widget, const QString& picture) {
        QApplication::processEvents();
        if (!widget.grab().save(folder.filePath(picture + QStringLiteral(".png")))) failed = true;
    }

private:
    bool eventFilter(QObject* object, QEvent* event) override {
        auto* dialog = event->type() == QEvent::Show ? qobject_cast<QDialog*>(object) : nullptr;
        if (dialog && dialog->isModal())
            QMetaObject::invokeMethod(
                dialog, [this, dialog] { close(*dialog); }, Qt::QueuedConnection);
        return false;
    }
    void close(QDialog& dialog) {
        if (!name.isEmpty()) take(dialog, name + QLatin1Char('-') + QString::number(++count));
        if (auto* box = qobject_cast<QMessageBox*>(&dialog))
            if (auto* yes = box->button(QMessageBox::Yes)) return yes->click();
        dialog.accept();
    }
};

PanelWindow* panelWindow() {
    for (QWidget* widget : QApplication::topLevelWidgets())
        if (auto* panel = dynamic_cast<PanelWindow*>(widget)) return panel;
    return nullptr;
}

QPalette darkPalette() {
    QPalette dark(QColor(53, 53, 53));
    dark.setColor(QPalette::Base, QColor(35, 35, 35));
    dark.setColor(QPalette::AlternateBase, QColor(45, 45, 45));
    dark.setColor(QPalette::Highlight, QColor(52, 120, 190));
    return dark;
}

} // namespace

int drawPictures(MainWindow& window, const QString& folder) {
    DialogCamera camera;
    camera.folder.setPath(folder);
    if (!QDir().mkpath(folder)) {
        std::fprintf(stderr, "cannot make the folder %s\n", qPrintable(folder));
        return 1;
    }
    camera.take(window, QStringLiteral("main"));
    if (!panelWindow() && !window.startPlugin()) return 1;
    PanelWindow* panel = panelWindow();
    auto* tabs = panel ? panel->findChild<QTabBar*>() : nullptr;
    if (!tabs) return 1;
    qApp->installEventFilter(&camera);
    const auto selection = window.document().scene().selection;
    for (int tab = 0; tab < tabs->count(); ++tab) {
        tabs->setCurrentIndex(tab);
        camera.take(*panel, QStringLiteral("panel-") + fileName(tabs->tabText(tab)));
        for (QPushButton* button : panel->findChildren<QPushButton*>()) {
            if (!button->isVisible()) continue;
            camera.name = QStringLiteral("dialog-") + fileName(button->text());
            camera.count = 0;
            button->click();
            window.document().undo();
        }
    }
    tabs->setCurrentIndex(0);
    camera.name.clear();
    window.document().select(selection); // some commands select
    window.document().clearRecording();
    for (QPushButton* button : panel->findChildren<QPushButton*>())
        if (button->text() == QLatin1String("Destroy Keys")) button->click();
    camera.take(window, QStringLiteral("after"));

    QApplication::setPalette(darkPalette());
    camera.take(window, QStringLiteral("dark-main"));
    camera.take(*panel, QStringLiteral("dark-panel"));
    camera.name = QStringLiteral("dark-dialog");
    camera.count = 0;
    for (QPushButton* button : panel->findChildren<QPushButton*>())
        if (button->text() == QLatin1String("MoveRotateScale")) button->click();
    return camera.failed ? 1 : 0;
}

} // namespace cadencora::stage
