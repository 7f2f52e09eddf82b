#include "stage/desktop/document/document.h"

#include "stage/base/text.h"
#include "stage/desktop/widgets/qt_text.h"
#include "stage/panels/actions.h"
#include "stage/panels/labels.h"
#include "stage/scene/summary.h"

#include <cmath>

namespace cadencora::stage {

Document::Document(DocumentFrontEnd& frontEnd) : frontEnd_(frontEnd) {
    Scene empty;
    empty.lastFrame = empty.previewLast = 60;
    adopt(std::move(empty));
}

Document::~Document() {
    frontEnd_.closePanels();
}

std::string Document::name() const {
    if (path_.empty()) return "Untitled";
    return path_.filename().string() + (imported_ ? " (imported)" : "");
}

// Hosts hand the tables back to the one before them, so the old one goes first.
void Document::adopt(Scene scene) {
    frontEnd_.closePanels();
    host_.reset();
    host_ = std::make_unique<Host>(std::move(scene), frontEnd_);
    recorder_.clear();
    position_ = savedPosition_ = 0;
}

Result<std::vector<std::string>> Document::show(Loaded loaded, const std::filesystem::path& path,
                                                Origin origin) {
    adopt(std::move(loaded.scene));
    path_ = path;
    imported_ = origin == Origin::imported;
    clips_ = std::move(loaded.clips);
    clip_ = std::move(loaded.clip);
    news_ = name() + ": " + summary(scene());
    for (const std::string& note : loaded.notes)
        news_ += "; " + note;
    emit changed(Change::scene);
    if (module_)
        if (auto active = module_->activate(&Host::lookup, Host::layoutGeneric()); !active)
            return active.problem();
    return std::move(loaded.warnings);
}

Result<std::vector<std::string>> Document::save(const std::filesystem::path& path) {
    auto written = writeScene(scene(), path);
    if (!written) return written.problem();
    if (formatOf(path) != formatOf(path_)) { // the new file holds only this clip
        clips_.clear();
        clip_.clear();
    }
    path_ = path;
    imported_ = false;
    savedPosition_ = position_;
    news_ = "wrote " + path.string();
    emit changed({});
    return std::move(written->warnings);
}

Result<std::vector<std::string>> Document::exportTo(const std::filesystem::path& path) {
    auto written = writeScene(scene(), path);
    if (!written) return written.problem();
    news_ = "exported " + path.string();
    emit changed({});
    return std::move(written->warnings);
}

Result<> Document::startPlugin(const std::filesystem::path& path) {
    auto module = Module::open(path);
    if (!module) return module.problem();
    auto active = module->activate(&Host::lookup, Host::layoutGeneric());
    if (active) module_ = std::move(module.value());
    tellProblems();
    return active;
}

Changes Document::differenceFrom(const std::vector<ItemId>& selection, double time) const {
    Changes what;
    what.setFlag(Change::selection, selection != scene().selection);
    what.setFlag(Change::time, time != scene().currentTime);
    return what;
}

Result<> Document::use(ControlModel& control, const Action& action) {
    if (depth_ > 0) { // in a dialog
        const int errors = errors_;
        ++depth_;
        Result<> result = action(control);
        --depth_;
        // A value that the plug-in refused with an error is not recorded.
        if (result && errors_ == errors) recorder_.set(control, scene());
        emit controlsChanged();
        return result;
    }
    const auto selection = scene().selection;
    const double time = scene().currentTime;
    recorder_.begin(control, scene());
    Result<> result = done();
    failed_ = false;
    ++depth_;
    clock_.start(qtText(shownLabel(control)));
    ChangeReport report = host_->event(
        std::string(shownLabel(control)), [&] { result = action(control); },
        [&] { return !failed_; });
    clock_.stop();
    --depth_;
    Changes what = differenceFrom(selection, time);
    if (!report.empty() || failed_) what |= Change::keys | Change::range;
    if (failed_) {
        finishFailed(control);
    } else {
        recorder_.end(!report.empty(), scene());
        if (control.type == ControlType::button || !report.empty()) finishEdit(control, report);
    }
    tellProblems();
    emit changed(what);
    emit controlsChanged();
    return result;
}

void Document::countError() {
    ++errors_;
    if (depth_ == 1) failed_ = true;
}

void Document::finishEdit(const ControlModel& control, const ChangeReport& report) {
    news_ = std::string(shownLabel(control)) + ": " + changeText(report);
    constexpr double worthTelling = 0.1; // seconds
    if (clock_.seconds() >= worthTelling)
        news_ += ", in " + QString::number(clock_.seconds(), 'f', 1).toStdString() + " s";
    if (report.empty()) return;
    if (savedPosition_ > position_) savedPosition_ = -1; // what was saved could only be redone
    ++position_;
}

// As the headless program does: the scene is as it was before, and a script would stop here.
void Document::finishFailed(const ControlModel& control) {
    recorder_.abandon();
    news_ = std::string(shownLabel(control)) + ": ended with an error and changed nothing";
}

void Document::tellProblems() {
    const std::vector<Problem> problems = host_->takeProblems();
    if (problems.empty()) return;
    std::string text;
    for (const Problem& problem : problems)
        text += (text.empty() ? "" : "\n") + problem.text();
    frontEnd_.show({MessageKind::error, {counted(problems.size(), "problem"), text}});
}

void Document::undo() {
    const std::string* undone = host_->journal().undoName();
    if (isBusy() || !undone) return;
    news_ = "undid " + inQuotes(*undone);
    host_->undo();
    --position_;
    recorder_.undone();
    emit changed(Change::keys | Change::range);
}

void Document::redo() {
    const std::string* redone = host_->journal().redoName();
    if (isBusy() || !redone) return;
    news_ = "did " + inQuotes(*redone) + " again";
    host_->redo();
    ++position_;
    recorder_.redone();
    emit changed(Change::keys | Change::range);
}

void Document::select(std::vector<ItemId> items) {
    if (items == scene().selection) return;
    host_->select(std::move(items));
    emit changed(Change::selection);
}

void Document::setTime(double seconds) {
    if (seconds == scene().currentTime) return;
    host_->mutableScene().currentTime = seconds;
    host_->refreshRecords();
    emit changed(Change::time);
}

void Document::stepFrames(int frames) {
    const double frame = scene().rate.frameOf(scene().currentTime);
    const double from = frames > 0 ? std::floor(frame) : std::ceil(frame);
    goToFrame(static_cast<std::int64_t>(from) + frames);
}

void Document::setPreview(std::int64_t first, std::int64_t last) {
    Scene& scene = host_->mutableScene();
    if (first > last || (scene.previewFirst == first && scene.previewLast == last)) return;
    scene.previewFirst = first;
    scene.previewLast = last;
    host_->refreshRecords();
    emit changed(Change::range);
}

void Document::clearRecording() {
    recorder_.clear();
    emit changed({});
}

} // namespace cadencora::stage
