// Opening and saving in the main window: pickers, dropped files, unsaved changes, messages.

#include "stage/desktop/busy_cursor.h"
#include "stage/desktop/main_window.h"
#include "stage/desktop/recent_files.h"
#include "stage/formats/format.h"

#include <QCloseEvent>
#include <QFileDialog>
#include <QLabel>
#include <QMessageBox>
#include <QMimeData>
#include <QStatusBar>
#include <QUrl>

namespace cadencora::stage {

namespace {

QString patterns(const Format& format) {
    QString all;
    for (const std::string_view extension : format.extensions)
        all += QStringLiteral(" *") +
               QString::fromUtf8(extension.data(), static_cast<qsizetype>(extension.size()));
    return all.trimmed();
}

// "All scenes (...);;BVH (...)" of the formats that can do it.
QString filters(bool (*can)(const Format&), bool together) {
    QStringList rows, all;
    for (const Format& format : formats()) {
        if (!can(format)) continue;
        const QString name =
            QString::fromUtf8(format.name.data(), static_cast<qsizetype>(format.name.size()));
        rows << name + QStringLiteral(" (") + patterns(format) + QStringLiteral(")");
        all << patterns(format);
    }
    if (together) rows.prepend(QObject::tr("All scenes (%1)").arg(all.join(QLatin1Char(' '))));
    return rows.join(QStringLiteral(";;"));
}

QString droppedFile(const QDropEvent& event) {
    const QList<QUrl> urls = event.mimeData()->urls();
    return urls.size() == 1 ? urls.first().toLocalFile() : QString();
}

} // namespace

bool MainWindow::told(const Result<std::vector<std::string>>& result) {
    if (!result) {
        QMessageBox::critical(this, tr("Error"), QString::fromStdString(result.problem().text()));
        return false;
    }
    if (result.value().empty()) return true;
    constexpr std::size_t most = 12;
    QString text;
    for (std::size_t i = 0; i < std::min(most, result.value().size()); ++i)
        text += QString::fromStdString(result.value()[i]) + QLatin1Char('\n');
    if (result.value().size() > most) text += tr("and %1 more").arg(result.value().size() - most);
    QMessageBox::warning(this, tr("Not all of it"), text.trimmed());
    return true;
}

bool MainWindow::openFile(const QString& path) {
    if (document_.isBusy()) return false;
    playback_.setPlaying(false);
    const auto opened = [&] {
        const BusyCursor busy;
        news_->setText(tr("Opening %1 …").arg(path));
        news_->repaint();
        return document_.open(path.toStdString());
    }();
    showNews();
    if (!told(opened)) return false;
    rememberFile(path);
    return true;
}

bool MainWindow::saveFile(const QString& path) {
    if (document_.isBusy()) return false;
    const auto saved = [&] {
        const BusyCursor busy;
        return document_.save(path.toStdString());
    }();
    if (!told(saved)) return false;
    rememberFile(path);
    return true;
}

bool MainWindow::startPlugin(const QString& path) {
    const auto started = document_.startPlugin(
        path.isEmpty() ? Module::defaultPath() : std::filesystem::path(path.toStdString()));
    if (!started)
        QMessageBox::critical(this, tr("Error"), QString::fromStdString(started.problem().text()));
    return started.ok();
}

void MainWindow::askOpen() {
    if (document_.isBusy() || !mayLeave()) return;
    const QString path = QFileDialog::getOpenFileName(
        this, tr("Open a Scene"), QString::fromStdString(document_.path().parent_path().string()),
        filters([](const Format& format) { return format.read != nullptr; }, true));
    if (!path.isEmpty()) openFile(path);
}

// A file of a kind that is only read is saved as another.
bool MainWindow::save() {
    const Format* format = formatOf(document_.path());
    if (!format || !format->write) return askSave();
    return saveFile(QString::fromStdString(document_.path().string()));
}

bool MainWindow::askSave() {
    if (document_.isBusy()) return false;
    QFileDialog picker(
        this, tr("Save the Scene"), QString::fromStdString(document_.path().parent_path().string()),
        filters([](const Format& format) { return format.write != nullptr; }, false));
    picker.setAcceptMode(QFileDialog::AcceptSave);
    const Format* format = formatOf(document_.path());
    const std::string extension =
        format && format->write ? document_.path().extension().string() : ".stage";
    picker.setDefaultSuffix(QString::fromStdString(extension.substr(1)));
    for (const QString& filter : picker.nameFilters())
        if (filter.contains(QString::fromStdString("*" + extension)))
            picker.selectNameFilter(filter);
    if (!document_.path().empty())
        picker.selectFile(QString::fromStdString(document_.path().stem().string() + extension));
    if (picker.exec() != QDialog::Accepted || picker.selectedFiles().isEmpty()) return false;
    return saveFile(picker.selectedFiles().first());
}

bool MainWindow::mayLeave() {
    if (document_.isBusy()) return false;
    if (!document_.isModified()) return true;
    QMessageBox box(QMessageBox::Question, tr("Unsaved changes"),
                    tr("Save the changes to %1?").arg(QString::fromStdString(document_.name())),
                    QMessageBox::Save | QMessageBox::Discard | QMessageBox::Cancel, this);
    box.setTextFormat(Qt::PlainText);
    box.setDefaultButton(QMessageBox::Save);
    switch (box.exec()) {
    case QMessageBox::Save:
        return save();
    case QMessageBox::Discard:
        return true;
    default:
        return false;
    }
}

void MainWindow::closeEvent(QCloseEvent* event) {
    if (!mayLeave()) return event->ignore();
    playback_.setPlaying(false);
    frontEnd_.closePanels();
    event->accept();
}

void MainWindow::dragEnterEvent(QDragEnterEvent* event) {
    const Format* format = formatOf(droppedFile(*event).toStdString());
    if (format && format->read) event->acceptProposedAction();
}

void MainWindow::dropEvent(QDropEvent* event) {
    const QString path = droppedFile(*event);
    event->acceptProposedAction();
    if (!path.isEmpty() && mayLeave()) openFile(path);
}

} // namespace cadencora::stage
