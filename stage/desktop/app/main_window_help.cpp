// Help in the main window: the manual, the page of the button under the pointer, shortcuts, the
// look.

#include "stage/desktop/app/main_window.h"
#include "stage/desktop/app/manual_window.h"
#include "stage/desktop/app/shared_files.h"
#include "stage/desktop/widgets/look.h"

#include <QAbstractButton>
#include <QAction>
#include <QActionGroup>
#include <QApplication>
#include <QCursor>
#include <QHelpEvent>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QSettings>
#include <QToolTip>

namespace cadencora::stage {

void MainWindow::addHelpMenu() {
    QMenu* menu = menuBar()->addMenu(tr("&Help"));
    QAction* manual = menu->addAction(tr("&Manual"), QKeySequence(Qt::Key_F1), this, [this] {
        const QString page = pageUnderPointer();
        showManual(page.isEmpty() ? QStringLiteral("README.md") : page);
    });
    manual->setShortcutContext(Qt::ApplicationShortcut); // over panels and dialogs, too
    qApp->installEventFilter(this);
    menu->addAction(tr("The &Desktop Program"), this,
                    [this] { showManual(QStringLiteral("desktop.md")); });
    menu->addAction(tr("&Shortcuts"), this, &MainWindow::showShortcuts);
    menu->addSeparator();
    menu->addAction(tr("&About Cadencora"), this, [this] {
        QMessageBox box(QMessageBox::NoIcon, tr("About Cadencora"),
                        tr("Cadencora %1").arg(QCoreApplication::applicationVersion()),
                        QMessageBox::Ok, this);
        box.setIconPixmap(programIcon().pixmap(64, 64));
        box.setInformativeText(tr("A keyframe toolbox for 3D animators.\nMIT licence."));
        box.exec();
    });
}

// The label of what is under the pointer, or around it, leads to its page.
QString MainWindow::pageUnderPointer() const {
    for (QWidget* at = QApplication::widgetAt(QCursor::pos()); at; at = at->parentWidget())
        if (const QString page = pageAbout(at->objectName()); !page.isEmpty()) return page;
    return {};
}

// A button that the manual has a page about says what the page begins with.
bool MainWindow::eventFilter(QObject* object, QEvent* event) {
    if (event->type() != QEvent::ToolTip) return false;
    const auto* button = qobject_cast<QAbstractButton*>(object);
    if (!button || !button->toolTip().isEmpty()) return false;
    const QString about = beginningOf(pageAbout(button->text().remove(QLatin1Char('&'))));
    if (about.isEmpty()) return false;
    QToolTip::showText(static_cast<const QHelpEvent*>(event)->globalPos(),
                       QStringLiteral("<qt>%1</qt>").arg(tr("%1 F1 tells more.").arg(about)));
    return true;
}

void MainWindow::showManual(const QString& page) {
    if (manualFolder().isEmpty()) {
        QMessageBox::information(this, tr("The manual"),
                                 tr("The manual is not beside the program."));
        return;
    }
    if (!manual_) manual_ = new ManualWindow(this);
    manual_->show(page);
}

// As the menus have them.
void MainWindow::showShortcuts() {
    const auto nameOf = [this](const QAction* action) { // without the command that it is about
        if (action == undo_) return tr("Undo");
        if (action == redo_) return tr("Redo");
        return action->text().remove(QLatin1Char('&'));
    };
    QString rows;
    for (const QAction* top : menuBar()->actions())
        for (const QAction* action : top->menu()->actions())
            if (!action->shortcut().isEmpty())
                rows += QStringLiteral("<tr><td><b>%1</b>&nbsp;&nbsp;</td><td>%2</td></tr>")
                            .arg(action->shortcut().toString(QKeySequence::NativeText),
                                 nameOf(action).toHtmlEscaped());
    QMessageBox box(QMessageBox::NoIcon, tr("Shortcuts"),
                    QStringLiteral("<table>%1</table>").arg(rows), QMessageBox::Ok, this);
    box.exec();
}

void MainWindow::addLookMenu(QMenu& menu) {
    QMenu* looks = menu.addMenu(tr("&Look"));
    auto* group = new QActionGroup(this);
    const QString setting = QStringLiteral("view/look");
    const int known = QSettings().value(setting, 0).toInt();
    const auto add = [&](const QString& name, Look look) {
        QAction* action = looks->addAction(name);
        action->setCheckable(true);
        action->setChecked(known == static_cast<int>(look));
        group->addAction(action);
        connect(action, &QAction::triggered, this, [look, setting] {
            applyLook(look);
            QSettings().setValue(setting, static_cast<int>(look));
        });
    };
    add(tr("As the &System"), Look::system);
    add(tr("&Light"), Look::light);
    add(tr("&Dark"), Look::dark);
    if (known != 0) applyLook(static_cast<Look>(known));
}

} // namespace cadencora::stage
