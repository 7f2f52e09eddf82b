// Draws the windows of the desktop program into PNG files, for the manual:
//
//   make_screenshots SCENE ITEM FRAME FOLDER [dark]
//
// first.png is the first screen; main.png is the window with the item selected, at the frame, and
// labelled.png the same with the names of its parts; panel-TAB.png is each tab of the
// plug-in's panel; dialog-BUTTON-N.png are the dialogs and messages that each button opens, all
// accepted, and what they did undone; asking.png is the window while the first dialog of "Destroy
// Keys" asks for a range, the dialog beside it; after.png is the window after "Destroy Keys";
// front.png has names, trail and bones without meshes, seen from the front; channels.png a curve
// with its tangents and a hidden one; recipe.png the recipe of what was done; docked.png the panel
// docked; clips.png the list of clips, where the file has several; manual.png, shortcuts-1.png,
// about-1.png and rate-1.png are what the menus open. All are in the light look, or in the dark
// one. With OpenGL meshes are shaded, so it is best run under xvfb-run. The scene is one file.

#include "stage/desktop/app/main_window.h"
#include "stage/desktop/views/timeline.h"
#include "stage/desktop/widgets/look.h"
#include "tests/desktop/windows.h"

#include <QDir>
#include <QListWidget>
#include <QMessageBox>
#include <QPainter>
#include <QSettings>
#include <QTabBar>
#include <QTemporaryDir>
#include <QTextBrowser>
#include <QTimer>
#include <QToolButton>
#include <QTreeWidget>

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
    QWidget* beside = nullptr; // not null: the next dialog is taken beside it, as asking.png

    void take(QWidget& widget, const QString& picture) {
        QApplication::processEvents();
        if (!widget.grab().save(folder_.filePath(picture + QStringLiteral(".png")))) failed_ = true;
    }
    bool failed() const { return failed_; }

private:
    void opened(QDialog& dialog) override {
        if (beside && !qobject_cast<QMessageBox*>(&dialog)) {
            QApplication::processEvents();
            const QPixmap window = beside->grab(), front = dialog.grab();
            QPixmap both(window.width() + front.width() + 12,
                         std::max(window.height(), front.height()));
            both.setDevicePixelRatio(window.devicePixelRatio());
            both.fill(QColor(110, 120, 135));
            QPainter painter(&both);
            painter.drawPixmap(0, 0, window);
            painter.drawPixmap(QPointF((window.width() + 12) / window.devicePixelRatio(), 30),
                               front);
            painter.end();
            failed_ = !both.save(folder_.filePath(QStringLiteral("asking.png"))) || failed_;
            beside = nullptr;
        }
        if (!name.isEmpty()) take(dialog, name + QLatin1Char('-') + QString::number(++count));
        if (auto* box = qobject_cast<QMessageBox*>(&dialog))
            if (auto* yes = box->button(QMessageBox::Yes)) return yes->click();
        dialog.accept();
    }

    QDir folder_;
    bool failed_ = false;
};

// Names over the middle of what they are of.
void label(QPixmap& picture, const MainWindow& window) {
    struct Part {
        const char *name, *widget;
        int column, row; // of its place in the widget, in tenths
    };
    constexpr Part parts[] = {
        {"Items: what is selected here is what commands work on", "tree", 5, 8},
        {"Recorded steps, a recipe, presets", "steps", 5, 5},
        {"Viewport: drag to orbit, click to select", "viewport", 5, 9},
        {"Curves: drag a box to mark a range", "curves", 5, 5},
        {"Timeline", "timeline", 7, 5},
        {"Channels: hide, single out", "channels", 5, 5},
        {"What the last command did", "news", 6, 5},
    };
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    QFont bold = window.font();
    bold.setBold(true);
    painter.setFont(bold);
    for (const Part& part : parts) {
        const auto* widget = window.findChild<QWidget*>(QString::fromUtf8(part.widget));
        if (!widget) continue;
        const QPoint at = widget->mapTo(
            &window, QPoint(widget->width() * part.column / 10, widget->height() * part.row / 10));
        const QRect room(at - QPoint(widget->width() < 300 ? 80 : 220, 30),
                         QSize(widget->width() < 300 ? 160 : 440, 60));
        const int flags = Qt::AlignCenter | Qt::TextWordWrap;
        const QString text = QString::fromUtf8(part.name);
        const QRect box = painter.boundingRect(room, flags, text).adjusted(-8, -5, 8, 5);
        painter.setPen(QPen(QColor(150, 90, 0), 1.5));
        painter.setBrush(QColor(255, 225, 150));
        painter.drawRoundedRect(box, 6, 6);
        painter.setPen(Qt::black);
        painter.drawText(room, flags, text);
    }
}

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

void takeViews(DialogCamera& camera, MainWindow& window) {
    const auto switchAll = [&] {
        for (const char* name : {"&Names", "M&eshes", "Tr&ail of the Selected Item"})
            findEntry(window, name)->trigger();
    };
    switchAll();
    findEntry(window, "From the F&ront")->trigger();
    findEntry(window, "Frame the Whole &Motion")->trigger();
    camera.take(window, QStringLiteral("front"));
    switchAll();
    auto* channels = window.findChild<QTreeWidget*>(QStringLiteral("channels"));
    channels->setCurrentItem(channels->topLevelItem(0));
    const auto showSecond = [&](Qt::CheckState state) {
        if (QTreeWidgetItem* second = channels->topLevelItem(1)) second->setCheckState(0, state);
    };
    showSecond(Qt::Unchecked);
    camera.take(window, QStringLiteral("channels"));
    showSecond(Qt::Checked);
    auto* clip = window.findChild<QToolButton*>(QStringLiteral("clip"));
    if (!clip->isVisible()) return;
    clip->click();
    QWidget* list = clip->parentWidget()->findChild<QListWidget*>()->window();
    camera.take(*list, QStringLiteral("clips"));
    list->close();
}

void takeMenus(DialogCamera& camera, MainWindow& window) {
    findEntry(window, "&Manual")->trigger();
    QWidget* manual = window.findChild<QTextBrowser*>(QStringLiteral("manual"))->window();
    camera.take(*manual, QStringLiteral("manual"));
    manual->close();
    const std::pair<const char*, const char*> dialogs[] = {{"&Shortcuts", "shortcuts"},
                                                           {"&About Cadencora", "about"},
                                                           {"&Rate and Last Frame…", "rate"}};
    for (const auto& [entry, name] : dialogs) {
        camera.name = QString::fromUtf8(name);
        camera.count = 0;
        findEntry(window, entry)->trigger();
    }
    camera.name.clear();
}

int drawPictures(MainWindow& window, const QString& folder) {
    DialogCamera camera(folder);
    camera.take(window, QStringLiteral("main"));
    QPixmap labelled = window.grab();
    label(labelled, window);
    if (!labelled.save(QDir(folder).filePath(QStringLiteral("labelled.png")))) return 1;
    PanelWindow* panel = findPanelWindow();
    auto* tabs = panel ? panel->findChild<QTabBar*>() : nullptr;
    if (!tabs) return 1;
    const auto selection = window.document().scene().selection;
    takeTabs(camera, window, *panel, *tabs);
    camera.name.clear();
    window.document().select(selection); // some commands select
    window.document().clearRecording();
    const Scene& scene = window.document().scene();
    const auto third = scene.lastFrame / 3;
    dynamic_cast<Timeline&>(*window.findChild<QWidget*>(QStringLiteral("timeline")))
        .markFrames(third, 2 * third);
    camera.beside = &window;
    findButton(*panel, "Destroy Keys")->click();
    camera.beside = nullptr;
    window.document().goToFrame(third * 3 / 2);
    camera.take(window, QStringLiteral("after"));

    findButton(window, "Edit…")->click();
    camera.take(window, QStringLiteral("recipe"));
    window.document().undo();
    takeViews(camera, window);
    takeMenus(camera, window);
    window.addDockWidget(Qt::RightDockWidgetArea, panel);
    panel->setFloating(false);
    camera.take(window, QStringLiteral("docked"));
    return camera.failed() ? 1 : 0;
}

} // namespace

int makeScreenshots(int argc, char** argv) {
    QApplication application(argc, argv);
    const QStringList words = QApplication::arguments();
    const bool isDark = words.size() == 6 && words[5] == QLatin1String("dark");
    if (words.size() != 5 && !isDark) {
        std::fputs("usage: make_screenshots SCENE ITEM FRAME FOLDER [dark]\n", stderr);
        return 2;
    }
    const QTemporaryDir scratch; // the user's settings stay as they are
    QSettings::setDefaultFormat(QSettings::IniFormat);
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, scratch.path());
    applyLook(isDark ? Look::dark : Look::light);

    MainWindow window;
    window.show();
    // Until the window is there. To quit would close it.
    QTimer::singleShot(500, &application, [] { QApplication::exit(); });
    QApplication::exec();
    if (QDir().mkpath(words[4]))
        window.grab().save(QDir(words[4]).filePath(QStringLiteral("first.png")));
    // A copy, since clips are saved beside the scene.
    const QString scene = scratch.filePath(QFileInfo(words[1]).fileName());
    if (!QDir().mkpath(words[4]) || !QFile::copy(words[1], scene) || !window.openFile(scene) ||
        !window.startPlugin())
        return 1;
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
