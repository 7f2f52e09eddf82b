// Draws the windows of the desktop program into PNG files, for the manual:
//
//   make_screenshots SCENE ITEM FRAME FOLDER
//
// main.png is the window with the item selected, at the frame; panel-TAB.png is each tab of the
// plug-in's panel; dialog-BUTTON-N.png are the dialogs and messages that each button opens, all
// accepted, and what they did undone; after.png is the window after "Destroy Keys"; dark-*.png are
// in a dark palette.

#include "stage/desktop/app/main_window.h"
#include "stage/desktop/widgets/look.h"
#include "tests/desktop/windows.h"

#include <QDir>
#include <QMessageBox>
#include <QSettings>
#include <QTabBar>
#include <QTemporaryDir>

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
class DialogCamera : public DialogWatcher {
public:
    explicit DialogCamera(const QString& folder) : folder_(folder) {}

    QString name; // empty: dialogs are accepted without a picture
    int count = 0;

    void take(QWidget& widget, const QString& picture) {
        QApplication::processEvents();
        if (!widget.grab().save(folder_.filePath(picture + QStringLiteral(".png")))) failed_ = true;
    }
    bool failed() const { return failed_; }

private:
    void opened(QDialog& dialog) override {
        if (!name.isEmpty()) take(dialog, name + QLatin1Char('-') + QString::number(++count));
        if (auto* box = qobject_cast<QMessageBox*>(&dialog))
            if (auto* yes = box->button(QMessageBox::Yes)) return yes->click();
        dialog.accept();
    }

    QDir folder_;
    bool failed_ = false;
};

void takeTabs(DialogCamera& camera, MainWindow& window, PanelWindow& panel, QTabBar& tabs) {
    for (int tab = 0; tab < tabs.count(); ++tab) {
        tabs.setCurrentIndex(tab);
        camera.take(panel, QStringLiteral("panel-") + fileName(tabs.tabText(tab)));
        for (QPushButton* button : panel.findChildren<QPushButton*>()) {
            if (!button->isVisible()) continue;
            camera.name = QStringLiteral("dialog-") + fileName(button->text());
            camera.count = 0;
            button->click();
            window.document().undo();
        }
    }
    tabs.setCurrentIndex(0);
}

int drawPictures(MainWindow& window, const QString& folder) {
    DialogCamera camera(folder);
    camera.take(window, QStringLiteral("main"));
    PanelWindow* panel = findPanelWindow();
    auto* tabs = panel ? panel->findChild<QTabBar*>() : nullptr;
    if (!tabs) return 1;
    const auto selection = window.document().scene().selection;
    takeTabs(camera, window, *panel, *tabs);
    camera.name.clear();
    window.document().select(selection); // some commands select
    window.document().clearRecording();
    findButton(*panel, "Destroy Keys")->click();
    camera.take(window, QStringLiteral("after"));

    applyLook(Look::dark);
    camera.take(window, QStringLiteral("dark-main"));
    camera.take(*panel, QStringLiteral("dark-panel"));
    camera.name = QStringLiteral("dark-dialog");
    camera.count = 0;
    findButton(*panel, "MoveRotateScale")->click();
    return camera.failed() ? 1 : 0;
}

} // namespace

int makeScreenshots(int argc, char** argv) {
    QApplication application(argc, argv);
    const QStringList words = QApplication::arguments();
    if (words.size() != 5) {
        std::fputs("usage: make_screenshots SCENE ITEM FRAME FOLDER\n", stderr);
        return 2;
    }
    const QTemporaryDir settings; // the user's own stay as they are
    QSettings::setDefaultFormat(QSettings::IniFormat);
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, settings.path());

    MainWindow window;
    window.show();
    if (!QDir().mkpath(words[4]) || !window.openFile(words[1]) || !window.startPlugin()) return 1;
    Document& document = window.document();
    const ItemId item = document.scene().findItem(words[2].toStdString());
    if (item == ItemId::none) {
        std::fprintf(stderr, "no item is named \"%s\"\n", qPrintable(words[2]));
        return 2;
    }
    document.select({item});
    document.goToFrame(words[3].toInt());
    return drawPictures(window, words[4]);
}

} // namespace cadencora::stage

int main(int argc, char** argv) {
    return cadencora::stage::makeScreenshots(argc, argv);
}
