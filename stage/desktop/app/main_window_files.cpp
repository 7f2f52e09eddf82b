// Opening and saving in the main window: pickers, dropped files, unsaved changes, messages.

#include "stage/base/text.h"
#include "stage/desktop/app/busy_cursor.h"
#include "stage/desktop/app/long_work.h"
#include "stage/desktop/app/main_window.h"
#include "stage/desktop/app/recent_files.h"
#include "stage/desktop/views/viewport.h"
#include "stage/desktop/widgets/qt_text.h"
#include "stage/formats/registry.h"

#include <QAbstractButton>
#include <QCloseEvent>
#include <QFileDialog>
#include <QFileInfo>
#include <QInputDialog>
#include <QLocale>
#include <QMessageBox>
#include <QMimeData>
#include <QPushButton>
#include <QRegularExpression>
#include <QStackedWidget>
#include <QUrl>

#include <algorithm>
#include <iterator>

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

constexpr std::string_view sceneExtension = ".stage";

bool isSceneFormat(const Format& format) {
    return format.extensions.front() == sceneExtension;
}

bool isSceneFile(const std::filesystem::path& path) {
    const Format* format = formatOf(path);
    return format && isSceneFormat(*format);
}

QString shownName(const std::filesystem::path& path) {
    return QString::fromStdString(path.filename().string());
}

// A few of them, and how many more there are.
QString lines(const std::vector<std::string>& warnings) {
    NameList rows(12, "\n");
    for (const std::string& warning : warnings)
        rows.add(warning);
    return QString::fromStdString(rows.text());
}

QString droppedFile(const QDropEvent& event) {
    const QList<QUrl> urls = event.mimeData()->urls();
    return urls.size() == 1 ? urls.first().toLocalFile() : QString();
}

} // namespace

bool MainWindow::told(const Result<std::vector<std::string>>& result) {
    if (!result)
        QMessageBox::critical(this, tr("Error"), QString::fromStdString(result.problem().text()));
    else if (!result.value().empty())
        QMessageBox::warning(this, tr("Some data cannot be saved"), lines(result.value()));
    return result.ok();
}

// What a format cannot hold shows when it is written: a trial tells, before a file is replaced.
// What was accepted once for a file is not asked about again.
bool MainWindow::mayLose(const std::filesystem::path& path) {
    auto scratch = TemporaryDirectory::create();
    std::vector<std::string> all;
    if (formatOf(path) != formatOf(document_.path()))
        for (const std::string& clip : document_.editedClips())
            all.push_back("the changes of the clip " + clip + ", since the file holds one clip");
    if (!isSceneFile(path) && scratch) { // what is wrong shows again
        auto trial = write(scratch->path() / path.filename(), tr("Looking what %1 can hold"));
        if (trial) std::ranges::move(trial->warnings, std::back_inserter(all));
    }
    if (all.empty()) return true;
    const QString losses = lines(all);
    const auto question = std::pair(path, losses);
    if (accepted_ == question) return true;
    QMessageBox box(QMessageBox::Warning, tr("Some data cannot be saved"), losses,
                    QMessageBox::Save | QMessageBox::Cancel, this);
    box.setTextFormat(Qt::PlainText);
    box.setInformativeText(tr("Write %1 nevertheless?").arg(shownName(path)));
    if (box.exec() != QMessageBox::Save) return false;
    accepted_ = question;
    return true;
}

bool MainWindow::openFile(const QString& path, const QString& clip, Document::Origin origin) {
    if (document_.isBusy() || isAtFile_) return false;
    playback_.setPlaying(false);
    LongWork work(this, tr("Opening %1").arg(QFileInfo(path).fileName()));
    ReadOptions options;
    options.meshes = true;
    if (!clip.isEmpty()) options.clip = clip.toStdString();
    options.progress = [&work](double share) { return work.progress(share); };
    std::optional<Result<Loaded>> loaded;
    isAtFile_ = true;
    work.run([&] { loaded = readScene(path.toStdString(), options); });
    isAtFile_ = false;
    if (work.isCancelled()) return false;
    if (!*loaded) return told(loaded->problem());
    const auto shown = whileBusy(
        [&] { return document_.show(std::move(loaded->value()), path.toStdString(), origin); });
    rememberFile(path);
    activateWindow(); // before a panel that has opened anew
    viewport_->setFocus();
    if (recovery_.isOpenElsewhere(document_.path()))
        QMessageBox::warning(
            this, tr("Open twice"),
            tr("%1 is also open in another window of Cadencora. The one that saves last replaces "
               "what the other has saved.")
                .arg(shownName(document_.path())));
    return told(shown);
}

// The last one is the open clip, and the only one where the format holds one.
static Result<Written> writeAll(const std::vector<Scene>& clips, const std::filesystem::path& path,
                                const WriteOptions& options) {
    auto writer = clips.size() > 1 ? writeClips(path, options) : nullptr;
    if (!writer) return writeScene(clips.back(), path, options);
    std::vector<std::string> warnings;
    for (const Scene& clip : clips) {
        auto added = writer->add(clip);
        if (!added) return added;
        std::ranges::move(added->warnings, std::back_inserter(warnings));
    }
    auto written = writer->finish();
    if (!written) return written;
    std::ranges::move(written->warnings, std::back_inserter(warnings));
    written->warnings = std::move(warnings);
    return written;
}

// On a thread of its own, from the scene as it is now. `what`: with a place for the file's name.
Result<Written> MainWindow::write(const std::filesystem::path& path, const QString& what) {
    LongWork work(this, what.arg(shownName(path)));
    // The other clips that were edited go into the same file, where its format holds several.
    std::vector<Scene> clips;
    const bool isSameFormat = formatOf(path) && formatOf(path) == formatOf(document_.path());
    for (const std::string& clip : document_.editedClips())
        if (isSameFormat) clips.push_back(document_.snapshotOf(clip));
    clips.push_back(document_.scene().snapshot());
    WriteOptions options;
    options.progress = [&work](double share) { return work.progress(share); };
    std::optional<Result<Written>> written;
    isAtFile_ = true;
    work.run([&] { written = writeAll(clips, path, options); });
    isAtFile_ = false;
    return std::move(*written);
}

bool MainWindow::saveFile(const QString& path) {
    const std::filesystem::path file = path.toStdString();
    if (document_.isBusy() || isAtFile_ || !mayLose(file)) return false;
    const auto written = write(file, tr("Saving %1"));
    if (!written) return told(written.problem());
    document_.saved(file);
    rememberFile(path);
    return true;
}

bool MainWindow::exportFile(const QString& path) {
    const std::filesystem::path file = path.toStdString();
    if (document_.isBusy() || isAtFile_ || !mayLose(file)) return false;
    const auto written = write(file, tr("Exporting %1"));
    if (!written) return told(written.problem());
    document_.exported(file);
    return true;
}

void MainWindow::offerRecovered() {
    for (const std::filesystem::path& path : recovery_.leftBehind()) {
        auto recovered = Recovery::read(path);
        if (!recovered) {
            told(recovered.problem());
            continue;
        }
        QMessageBox box(QMessageBox::Question, tr("Unsaved work"),
                        tr("Cadencora ended suddenly, with unsaved work on %1.")
                            .arg(recovered->file.empty() ? tr("a scene without a file")
                                                         : shownName(recovered->file)),
                        QMessageBox::NoButton, this);
        box.setTextFormat(Qt::PlainText);
        box.setInformativeText(
            tr("The work is of %1. Take it up again?")
                .arg(QLocale().toString(QFileInfo(qtText(path.string())).lastModified(),
                                        QLocale::ShortFormat)));
        const QAbstractButton* takeUp = box.addButton(tr("Recover"), QMessageBox::AcceptRole);
        const QAbstractButton* discard = box.addButton(tr("Discard"), QMessageBox::DestructiveRole);
        box.addButton(tr("Later"), QMessageBox::RejectRole);
        box.exec();
        if (box.clickedButton() == discard) Recovery::remove(path);
        if (box.clickedButton() != takeUp) continue;
        const auto shown = whileBusy([&] { return document_.recover(std::move(*recovered)); });
        if (!told(shown)) return;
        recovery_.keepNow(); // before the old file goes
        if (recovery_.problem().empty()) Recovery::remove(path);
        return; // one window has one scene: the rest is offered next time
    }
}

void MainWindow::makeNew() {
    closeFile();
    if (document_.path().empty()) pages_->setCurrentIndex(1);
}

void MainWindow::closeFile() {
    if (!mayLeave()) return;
    if (const auto made = document_.makeNew(); !made)
        QMessageBox::critical(this, tr("Error"), QString::fromStdString(made.problem().text()));
}

// The file as it is on the disk, after asking.
void MainWindow::revert() {
    if (document_.isBusy() || document_.path().empty()) return;
    if (document_.isModified() &&
        QMessageBox::question(this, tr("Revert"),
                              tr("Throw away the changes to %1 and open it again?")
                                  .arg(QString::fromStdString(document_.name()))) !=
            QMessageBox::Yes)
        return;
    const auto origin =
        document_.isImported() ? Document::Origin::imported : Document::Origin::opened;
    openFile(qtText(document_.path().string()), qtText(document_.clip()), origin);
}

void MainWindow::openClip(const QString& clip) {
    if (document_.isBusy() || isAtFile_) return;
    playback_.setPlaying(false);
    const std::string name = clip.toStdString();
    std::optional<Loaded> read;
    if (!document_.hasOpened(name)) {
        const auto source = document_.scene().source;
        const Format* format = formatOf(document_.path());
        LongWork work(this, tr("Opening the clip %1").arg(clip));
        ReadOptions options;
        options.clip = name;
        options.progress = [&work](double share) { return work.progress(share); };
        std::optional<Result<Loaded>> loaded;
        isAtFile_ = true;
        work.run([&] { loaded = readClip(*source, *format, document_.path(), options); });
        isAtFile_ = false;
        if (work.isCancelled()) return;
        if (!*loaded) {
            told(loaded->problem());
            return;
        }
        read = std::move(loaded->value());
    }
    if (const auto shown = document_.showClip(name, std::move(read)); !shown)
        QMessageBox::critical(this, tr("Error"), QString::fromStdString(shown.problem().text()));
}

// Of several servers the user picks one, unless it is named.
bool MainWindow::startPlugin(const QString& path, const QString& server) {
    const auto start = [&]() -> Result<> {
        const auto opened = document_.openPlugin(
            path.isEmpty() ? Module::defaultPath() : std::filesystem::path(path.toStdString()));
        if (!opened) return opened.problem();
        Module& module = *opened.value();
        QStringList names;
        for (const std::string& name : module.serverNames())
            names.append(qtText(name));
        bool isPicked = true;
        const QString picked =
            server.isEmpty() && names.size() > 1
                ? QInputDialog::getItem(
                      this, tr("Start a Plug-in"), tr("Server"), names,
                      static_cast<int>(names.indexOf(qtText(module.serverName()))), false,
                      &isPicked)
                : server;
        if (!isPicked) return done();
        if (!picked.isEmpty())
            if (auto used = module.useServer(picked.toStdString()); !used) return used;
        return document_.startPlugin(module);
    };
    const auto started = start();
    if (!started)
        QMessageBox::critical(this, tr("Error"), QString::fromStdString(started.problem().text()));
    return started.ok();
}

void MainWindow::askOpen() {
    if (!mayLeave()) return;
    const QString path = QFileDialog::getOpenFileName(
        this, tr("Open a Scene"), folder(),
        filters([](const Format& format) { return format.read != nullptr; }, true));
    if (!path.isEmpty()) openFile(path);
}

// What comes from elsewhere is not saved over by chance.
void MainWindow::askImport() {
    if (!mayLeave()) return;
    const QString path = QFileDialog::getOpenFileName(
        this, tr("Import"), folder(),
        filters([](const Format& format) { return format.read && !isSceneFormat(format); }, true));
    if (!path.isEmpty()) openFile(path, {}, Document::Origin::imported);
}

// A file of a kind that is only read, or an imported one, is saved as another.
bool MainWindow::save() {
    const Format* format = formatOf(document_.path());
    if (!format || !format->write || document_.isImported()) return askSave();
    return saveFile(QString::fromStdString(document_.path().string()));
}

bool MainWindow::askSave() {
    const Format* format = formatOf(document_.path());
    const bool keepsKind = format && format->write && !document_.isImported();
    const QString path =
        askTarget(tr("Save the Scene"),
                  keepsKind ? document_.path().extension().string() : std::string(sceneExtension));
    return !path.isEmpty() && saveFile(path);
}

void MainWindow::askExport() {
    const QString path = askTarget(tr("Export"), ".bvh");
    if (!path.isEmpty()) exportFile(path);
}

QString MainWindow::folder() const {
    return QString::fromStdString(document_.path().parent_path().string());
}

// A file to write; empty: none. The kind of the extension is offered first.
QString MainWindow::askTarget(const QString& title, const std::string& extension) {
    if (document_.isBusy()) return {};
    QFileDialog picker(
        this, title, folder(),
        filters([](const Format& format) { return format.write != nullptr; }, false));
    picker.setAcceptMode(QFileDialog::AcceptSave);
    // The ending goes with the kind that is picked.
    connect(&picker, &QFileDialog::filterSelected, &picker, [&](const QString& filter) {
        const qsizetype from = filter.indexOf(QLatin1Char('*')) + 2;
        const qsizetype to = filter.indexOf(QRegularExpression(QStringLiteral("[ )]")), from);
        picker.setDefaultSuffix(filter.mid(from, to - from));
    });
    picker.setDefaultSuffix(QString::fromStdString(extension.substr(1)));
    for (const QString& filter : picker.nameFilters())
        if (filter.contains(QString::fromStdString("*" + extension)))
            picker.selectNameFilter(filter);
    if (!document_.path().empty())
        picker.selectFile(QString::fromStdString(document_.path().stem().string() + extension));
    if (picker.exec() != QDialog::Accepted || picker.selectedFiles().isEmpty()) return {};
    return picker.selectedFiles().first();
}

bool MainWindow::mayLeave() {
    if (document_.isBusy() || isAtFile_) return false;
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
    if (path.isEmpty()) return;
    // The program that the file was dragged from need not wait for the answers.
    QMetaObject::invokeMethod(
        this,
        [this, path] {
            if (mayLeave()) openFile(path);
        },
        Qt::QueuedConnection);
}

} // namespace cadencora::stage
