// The main window's menus and shortcuts.

#include "stage/desktop/app/main_window.h"
#include "stage/desktop/app/recent_files.h"
#include "stage/desktop/panels/control_view.h"
#include "stage/desktop/views/curve_view.h"
#include "stage/desktop/views/time_axis.h"
#include "stage/desktop/views/viewport.h"

#include <QAction>
#include <QDialogButtonBox>
#include <QDockWidget>
#include <QFileDialog>
#include <QFormLayout>
#include <QInputDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QSettings>
#include <QSpinBox>

#include <cmath>

namespace cadencora::stage {

static const QString undoMegabytes = QStringLiteral("undoMegabytes");

// How much memory the history may take: the oldest edits make room.
void MainWindow::askUndoMemory() {
    if (document_.isBusy()) return;
    const Journal& journal = document_.host().journal();
    bool isGiven = false;
    const int megabytes = QInputDialog::getInt(
        this, tr("Undo Memory"), tr("Megabytes that edits to be undone may take:"),
        static_cast<int>(journal.budget() >> 20), 1, 1 << 20, 1, &isGiven);
    if (!isGiven) return;
    QSettings().setValue(undoMegabytes, megabytes);
    document_.host().setUndoBudget(static_cast<std::size_t>(megabytes) << 20);
    showNews();
}

void MainWindow::addFileMenu() {
    QMenu* menu = menuBar()->addMenu(tr("&File"));
    menu->addAction(tr("&New"), QKeySequence::New, this, &MainWindow::makeNew);
    menu->addAction(tr("&Open…"), QKeySequence::Open, this, &MainWindow::askOpen);
    QMenu* recent = menu->addMenu(tr("Open &Recent"));
    connect(recent, &QMenu::aboutToShow, this, [this, recent] { fillRecent(*recent); });
    menu->addSeparator();
    menu->addAction(tr("&Save"), QKeySequence::Save, this, &MainWindow::save);
    menu->addAction(tr("Re&vert"), this, &MainWindow::revert);
    menu->addAction(tr("Save &As…"), QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_S), this,
                    &MainWindow::askSave);
    menu->addSeparator();
    menu->addAction(tr("&Import…"), QKeySequence(Qt::CTRL | Qt::Key_I), this,
                    &MainWindow::askImport);
    menu->addAction(tr("&Export…"), QKeySequence(Qt::CTRL | Qt::Key_E), this,
                    &MainWindow::askExport);
    menu->addSeparator();
    menu->addAction(tr("&Close"), QKeySequence(Qt::CTRL | Qt::Key_W), this, &MainWindow::closeFile);
    menu->addAction(tr("&Quit"), QKeySequence(Qt::CTRL | Qt::Key_Q), this, &QWidget::close);
}

void MainWindow::fillRecent(QMenu& menu) {
    menu.clear();
    for (const QString& file : recentFiles())
        menu.addAction(withoutShortcut(file), this, [this, file] {
            if (mayLeave()) openFile(file);
        });
    if (menu.isEmpty()) menu.addAction(tr("None yet"))->setEnabled(false);
}

void MainWindow::addEditMenu() {
    QMenu* menu = menuBar()->addMenu(tr("&Edit"));
    undo_ = menu->addAction(tr("&Undo"), QKeySequence(Qt::CTRL | Qt::Key_Z), &document_,
                            &Document::undo);
    redo_ = menu->addAction(tr("&Redo"), QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Z), &document_,
                            &Document::redo);
    menu->addSeparator();
    undoMemory_ = menu->addAction(QString(), this, &MainWindow::askUndoMemory);
    const int megabytes = QSettings().value(undoMegabytes, 1024).toInt();
    document_.host().setUndoBudget(static_cast<std::size_t>(std::max(megabytes, 1)) << 20);
}

void MainWindow::addTimeMenu() {
    QMenu* menu = menuBar()->addMenu(tr("&Time"));
    menu->addAction(tr("&Play"), QKeySequence(Qt::Key_Space), &playback_, &Playback::toggle);
    menu->addSeparator();
    menu->addAction(tr("Frame &Back"), QKeySequence(Qt::Key_Left), this,
                    [this] { document_.stepFrames(-1); });
    menu->addAction(tr("Frame &On"), QKeySequence(Qt::Key_Right), this,
                    [this] { document_.stepFrames(1); });
    menu->addAction(tr("&Previous Key"), QKeySequence(Qt::CTRL | Qt::Key_Left), this,
                    [this] { document_.stepKeys(-1); });
    menu->addAction(tr("&Next Key"), QKeySequence(Qt::CTRL | Qt::Key_Right), this,
                    [this] { document_.stepKeys(1); });
    menu->addSeparator();
    menu->addAction(tr("&First Frame"), QKeySequence(Qt::Key_Home), this,
                    [this] { document_.goToFrame(document_.scene().previewFirst); });
    menu->addAction(tr("&Last Frame"), QKeySequence(Qt::Key_End), this,
                    [this] { document_.goToFrame(document_.scene().previewLast); });
    menu->addSeparator();
    menu->addAction(tr("&Rate and Last Frame…"), this, &MainWindow::askTimes);
}

// Keys keep their times; the last frame covers the last key.
void MainWindow::askTimes() {
    if (document_.isBusy()) return;
    const Scene& scene = document_.scene();
    QDialog dialog(this);
    dialog.setWindowTitle(tr("Rate and Last Frame"));
    auto* form = new QFormLayout(&dialog);
    auto* rate = new QLineEdit(QString::fromStdString(scene.rate.text()));
    auto* last = new QSpinBox;
    last->setRange(0, 9'999'999);
    last->setValue(static_cast<int>(scene.lastFrame));
    auto* note = new QLabel(tr("Keys keep their times. 24, 29.97 or 30000/1001, say."));
    connect(rate, &QLineEdit::textEdited, last, [&scene, last](const QString& text) {
        if (const auto wanted = FrameRate::parse(text.toStdString())) // as long as before
            last->setValue(
                static_cast<int>(std::llround(static_cast<double>(scene.lastFrame) *
                                              wanted->perSecond() / scene.rate.perSecond())));
    });
    form->addRow(tr("Frames per second"), rate);
    form->addRow(tr("Last frame"), last);
    form->addRow(note);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    form->addRow(buttons);
    connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
    connect(buttons, &QDialogButtonBox::accepted, &dialog, [&] {
        const auto wanted = FrameRate::parse(rate->text().toStdString());
        if (!wanted) return note->setText(tr("This is no rate: 24, 29.97 or 30000/1001, say."));
        document_.setTimes(*wanted, last->value());
        dialog.accept();
    });
    dialog.exec();
}

void MainWindow::addViewMenu() {
    QMenu* menu = menuBar()->addMenu(tr("&View"));
    menu->addAction(tr("&Frame Selection"), QKeySequence(Qt::Key_F), viewport_,
                    &Viewport::frameSelection);
    menu->addAction(tr("Frame the Whole &Motion"), QKeySequence(Qt::Key_A), viewport_,
                    &Viewport::frameMotion);
    menu->addAction(tr("Fit &Curves"), QKeySequence(Qt::SHIFT | Qt::Key_F), this, [this] {
        axis_->fit();
        curves_->fit();
    });
    menu->addSeparator();
    const auto look = [&](const QString& name, Qt::Key key, Viewport::Side side) {
        menu->addAction(name, QKeySequence(key), viewport_,
                        [this, side] { viewport_->lookFrom(side); });
    };
    look(tr("From the F&ront"), Qt::Key_1, Viewport::Side::front);
    look(tr("From the &Side"), Qt::Key_3, Viewport::Side::side);
    look(tr("From the &Top"), Qt::Key_7, Viewport::Side::top);
    menu->addSeparator();
    addViewSwitches(*menu);
    menu->addSeparator();
    addLookMenu(*menu);
    for (const QDockWidget* dock : findChildren<QDockWidget*>())
        menu->addAction(dock->toggleViewAction());
}

// They open as they were when the program ended last.
void MainWindow::addViewSwitches(QMenu& menu) {
    ViewOptions options = viewport_->options();
    const auto add = [&](const QString& name, const QKeySequence& key, const QString& setting,
                         bool ViewOptions::*option) {
        QAction* action = menu.addAction(name);
        action->setShortcut(key);
        action->setCheckable(true);
        options.*option = QSettings().value(setting, options.*option).toBool();
        action->setChecked(options.*option);
        connect(action, &QAction::toggled, this, [this, setting, option](bool on) {
            ViewOptions now = viewport_->options();
            now.*option = on;
            viewport_->setOptions(now);
            QSettings().setValue(setting, on);
        });
    };
    add(tr("M&eshes"), {}, QStringLiteral("view/meshes"), &ViewOptions::meshes);
    add(tr("&Bones and Markers"), {}, QStringLiteral("view/bones"), &ViewOptions::bones);
    add(tr("&Names"), {}, QStringLiteral("view/names"), &ViewOptions::names);
    add(tr("&Grid"), {}, QStringLiteral("view/grid"), &ViewOptions::grid);
    add(tr("&Pose before the Last Command"), Qt::Key_G, QStringLiteral("view/ghost"),
        &ViewOptions::ghost);
    add(tr("Tr&ail of the Selected Item"), Qt::Key_T, QStringLiteral("view/trail"),
        &ViewOptions::trail);
    add(tr("F&ollow the Selected Item"), QKeySequence(Qt::SHIFT | Qt::Key_A),
        QStringLiteral("view/follow"), &ViewOptions::follow);
    viewport_->setOptions(options);
}

void MainWindow::addPluginMenu() {
    QMenu* menu = menuBar()->addMenu(tr("&Plug-in"));
    menu->addAction(tr("&Cadencora"), QKeySequence(Qt::Key_F2), this, [this] {
        if (!frontEnd_.bringUpPanels()) startPlugin();
    });
    menu->addAction(tr("&Start Another…"), this, [this] {
        const QString path = QFileDialog::getOpenFileName(this, tr("Start a Plug-in"), {},
                                                          tr("Plug-ins (*.so);;All files (*)"));
        if (!path.isEmpty()) startPlugin(path);
    });
}

} // namespace cadencora::stage
