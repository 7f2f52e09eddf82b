#include "stage/desktop/document/document.h"

#include "stage/base/text.h"
#include "stage/desktop/widgets/qt_text.h"
#include "stage/panels/actions.h"
#include "stage/panels/labels.h"
#include "stage/scene/summary.h"

#include <algorithm>
#include <cmath>
#include <malloc.h>

namespace cadencora::stage {

namespace {

Scene emptyScene() {
    Scene empty;
    empty.lastFrame = empty.previewLast = 60;
    return empty;
}

// Whether the same items stand in the same order.
bool hasItemsOf(const Scene& scene, const Scene& other) {
    if (scene.itemCount() != other.itemCount()) return false;
    for (std::size_t i = 0; i < scene.itemCount(); ++i) {
        const ItemId id = Scene::itemAt(i);
        if (scene.item(id).name != other.item(id).name ||
            scene.item(id).type != other.item(id).type)
            return false;
    }
    return true;
}

// Gives every channel of a group the curve that it has in another scene, channels that are missing
// added.
void takeMotion(EditScope& edit, const Scene& scene, GroupId to, const Scene& from,
                GroupId source) {
    for (const ChannelId channel : from.group(source).channels) {
        const Channel& known = from.channel(channel);
        ChannelId own = scene.findChannel(to, known.name);
        const Envelope& curve = from.envelope(known.envelope);
        if (own == ChannelId::none) own = edit.addChannel(to, known.name, curve.rest);
        assign(edit.envelope(scene.channel(own).envelope), curve);
    }
    const auto& groups = scene.group(to).groups;
    for (const GroupId sub : from.group(source).groups)
        for (const GroupId own : groups)
            if (scene.group(own).name == from.group(sub).name)
                takeMotion(edit, scene, own, from, sub);
}

void takeMotion(EditScope& edit, const Scene& scene, const Scene& from) {
    for (std::size_t i = 0; i < scene.itemCount(); ++i) {
        const ItemId id = Scene::itemAt(i);
        takeMotion(edit, scene, scene.item(id).group, from, from.item(id).group);
    }
}

} // namespace

Document::Document(FrontEnd& frontEnd)
    : frontEnd_(frontEnd), user_(frontEnd), host_(emptyScene(), user_) {
    recorder_.clear(scene());
}

std::string Document::name() const {
    if (path_.empty()) return "Untitled";
    return path_.filename().string() + (imported_ ? " (imported)" : "");
}

void Document::setPath(const std::filesystem::path& path) {
    std::error_code ignored;
    path_ = path;
    host_.sceneDirectory = path.empty() ? std::filesystem::path()
                                        : std::filesystem::absolute(path, ignored).parent_path();
}

Result<std::vector<std::string>> Document::show(Loaded loaded, const std::filesystem::path& path,
                                                Origin origin) {
    host_.load(std::move(loaded.scene));
    KeyStore::releaseMemory(); // of the scene before
    malloc_trim(0);
    recorder_.clear(scene());
    position_ = savedPosition_ = 0;
    setPath(path);
    imported_ = origin == Origin::imported;
    otherClips_.clear();
    clips_ = std::move(loaded.clips);
    clip_ = std::move(loaded.clip);
    news_ = name() + ": " + summary(scene());
    for (const std::string& note : loaded.notes)
        news_ += "; " + note;
    forgetChange();
    marked_ = {};
    emit changed(Change::scene);
    if (module_)
        if (auto active = startPlugin(*module_); !active) return active.problem();
    return std::move(loaded.warnings);
}

Result<> Document::makeNew() {
    Loaded nothing;
    nothing.scene = emptyScene();
    auto shown = show(std::move(nothing), {});
    if (!shown) return shown.problem();
    tell("");
    return done();
}

void Document::saved(const std::filesystem::path& path) {
    if (formatOf(path) != formatOf(path_)) { // the new file holds only this clip
        clips_.clear();
        clip_.clear();
        otherClips_.clear();
    }
    for (auto& [name, clip] : otherClips_)
        clip.savedPosition = clip.position;
    setPath(path);
    imported_ = false;
    savedPosition_ = position_;
    news_ = "wrote " + path.string();
    emit changed({});
}

void Document::exported(const std::filesystem::path& path) {
    news_ = "exported " + path.string();
    emit changed({});
}

Result<std::vector<std::string>> Document::recover(Recovered recovered) {
    RecoveredClip& clip = recovered.clips.front();
    ReadOptions options;
    options.meshes = true;
    if (!clip.clip.empty()) options.clip = clip.clip;
    auto original = readScene(recovered.file, options);
    std::vector<std::string> warnings;
    if (original && hasItemsOf(original->scene, clip.scene)) {
        const auto origin = recovered.isImported ? Origin::imported : Origin::opened;
        auto shown = show(std::move(*original), recovered.file, origin);
        if (!shown) return shown;
        warnings = std::move(*shown);
        takeWork(clip);
        for (std::size_t i = 1; i < recovered.clips.size(); ++i) {
            ReadOptions other = options;
            other.clip = recovered.clips[i].clip;
            auto read = readScene(recovered.file, other);
            if (!read) return read.problem();
            if (auto there = showClip(*other.clip, std::move(*read)); !there)
                return there.problem();
            takeWork(recovered.clips[i]);
            recorder_.restore(std::move(recovered.clips[i].steps), scene());
        }
        if (auto back = showClip(clip.clip, {}); !back) return back.problem();
    } else {
        Loaded alone;
        alone.scene = clip.scene.snapshot();
        auto shown = show(std::move(alone), recovered.file, Origin::imported);
        if (!shown) return shown;
        savedPosition_ = -1;
        warnings.push_back(recovered.file.string() +
                           " is gone or has changed: the work is here without it");
    }
    Scene& now = host_.mutableScene();
    if (now.rate == clip.scene.rate) now.currentTime = clip.scene.currentTime;
    now.previewFirst = clip.scene.previewFirst;
    now.previewLast = clip.scene.previewLast;
    host_.refreshRecords();
    recorder_.restore(std::move(clip.steps), scene());
    news_ = "recovered the work on " + name();
    emit changed(Change::scene);
    return warnings;
}

// What the clip's scene has becomes one edit of the open one.
void Document::takeWork(const RecoveredClip& clip) {
    const std::string name = "Recovered Work";
    const ChangeReport report = edit(name, [&] { takeMotion(host_.edit(), scene(), clip.scene); });
    finishEdit(name, report);
}

Result<Module*> Document::openPlugin(const std::filesystem::path& path) {
    std::error_code ignored;
    const auto file = std::filesystem::weakly_canonical(path, ignored);
    if (const auto known = modules_.find(file); known != modules_.end()) return &known->second;
    auto module = Module::open(path);
    if (!module) return module.problem();
    return &modules_.emplace(file, std::move(module.value())).first->second;
}

Result<> Document::startPlugin(Module& module) {
    if (isBusy()) return Problem{"a command is under way", module.serverName(), {}};
    const std::string name = "Start of " + module.serverName();
    command_.clear();
    Result<> active = done();
    const ChangeReport report = edit(name, [&] {
        active = module.activate(&Host::lookup, Host::layoutGeneric());
        failed_ = failed_ || !active;
    });
    if (active) module_ = &module;
    if (!report.empty()) finishEdit(name, report);
    tellProblems();
    emit changed(Change::keys | Change::range | Change::selection | Change::time);
    return active;
}

// Runs something of the plug-in's as one edit. After an error there is none, and failed_ is set.
ChangeReport Document::edit(const std::string& name, const std::function<void()>& action) {
    failed_ = false;
    refusals_ = 0;
    ++depth_;
    clock_.start(qtText(name));
    ChangeReport report = host_.event(name, action, [&] {
        // What the host has to report ends a script's step, too.
        failed_ = failed_ || !host_.problems.empty() || !host_.misuses.empty();
        return !failed_;
    });
    failed_ = failed_ || !host_.problems.empty(); // an exception
    clock_.stop();
    --depth_;
    return report;
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
        Result<> result = done();
        host_.event(std::string(shownLabel(control)), [&] { result = action(control); });
        --depth_;
        if (errors_ != errors)
            recorder_.refused(control);
        else if (result)
            recorder_.set(control, scene());
        emit controlsChanged();
        return result;
    }
    const std::string name(shownLabel(control));
    command_ = name;
    const auto selection = scene().selection;
    const double time = scene().currentTime;
    Panels floating;
    for (const PanelModel& panel : host_.panels().panels())
        if (panel.state == PanelState::floating) floating.push_back(&panel);
    recorder_.begin(control, floating, scene());
    Result<> result = done();
    const ChangeReport report = edit(name, [&] { result = action(control); });
    Changes what = differenceFrom(selection, time);
    if (!report.empty() || failed_) what |= Change::keys | Change::range;
    if (failed_) { // as in the headless program: a script would stop here
        recorder_.failed(scene());
        news_ = name + ": ended with an error and changed nothing";
    } else {
        recorder_.end(!report.empty(), scene());
        if (control.type == ControlType::button || !report.empty()) finishEdit(name, report);
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

void Document::finishEdit(const std::string& name, const ChangeReport& report) {
    news_ = name + ": " + changeText(report);
    if (report.empty())
        news_ += whyNothing();
    else
        showChange(report);
    constexpr double worthTelling = 0.1; // seconds
    if (clock_.seconds() >= worthTelling)
        news_ += ", in " + QString::number(clock_.seconds(), 'f', 1).toStdString() + " s";
    if (report.empty()) return;
    marked_ = {};                                        // it was for this command
    if (savedPosition_ > position_) savedPosition_ = -1; // what was saved could only be redone
    ++position_;
}

void Document::tellProblems() {
    const std::vector<Problem> problems = host_.takeProblems();
    if (problems.empty()) return;
    std::string text;
    for (const Problem& problem : problems)
        text += (text.empty() ? "" : "\n") + problem.text();
    frontEnd_.show({MessageKind::error, {counted(problems.size(), "problem"), text}});
}

void Document::stepKeys(int direction) {
    const double now = scene().currentTime;
    std::optional<double> found;
    for (const ItemId item : scene().selection)
        visitChannels(scene(), scene().item(item).group, [&](ChannelId channel) {
            const KeyStore& keys = scene().envelope(scene().channel(channel).envelope).keys;
            auto key = keys.atOrAfter(direction > 0 ? std::nextafter(now, HUGE_VAL) : now);
            if (direction < 0) {
                if (key)
                    key.stepBack();
                else if (!keys.empty())
                    key = keys.last();
            }
            if (!key) return;
            const bool isNearer =
                !found || (direction > 0 ? key.time() < *found : key.time() > *found);
            if (isNearer) found = key.time();
        });
    if (found) setTime(*found);
}

void Document::undo() {
    const std::string* undone = host_.journal().undoName();
    if (isBusy() || !undone) return;
    news_ = "undid " + inQuotes(*undone);
    host_.undo();
    --position_;
    recorder_.undone();
    forgetChange();
    emit changed(Change::keys | Change::range);
}

void Document::redo() {
    const std::string* redone = host_.journal().redoName();
    if (isBusy() || !redone) return;
    news_ = "did " + inQuotes(*redone) + " again";
    host_.redo();
    ++position_;
    recorder_.redone();
    emit changed(Change::keys | Change::range);
}

void Document::select(std::vector<ItemId> items) {
    if (isBusy() || items == scene().selection) return;
    host_.select(std::move(items));
    emit changed(Change::selection);
}

void Document::setTime(double seconds) {
    if (seconds == scene().currentTime) return;
    host_.mutableScene().currentTime = seconds;
    host_.refreshRecords();
    emit changed(Change::time);
}

void Document::stepFrames(int frames) {
    const double frame = scene().rate.frameOf(scene().currentTime);
    const double from = frames > 0 ? std::floor(frame) : std::ceil(frame);
    goToFrame(static_cast<std::int64_t>(from) + frames);
}

void Document::setPreview(std::int64_t first, std::int64_t last) {
    Scene& scene = host_.mutableScene();
    if (isBusy() || first > last || (scene.previewFirst == first && scene.previewLast == last))
        return;
    scene.previewFirst = first;
    scene.previewLast = last;
    host_.refreshRecords();
    emit changed(Change::range);
}

void Document::setTimes(FrameRate rate, std::int64_t lastFrame) {
    Scene& scene = host_.mutableScene();
    if (isBusy() || (rate == scene.rate && lastFrame == scene.lastFrame)) return;
    const bool previewToEnd = scene.previewLast >= scene.lastFrame;
    if (rate != scene.rate) scene.setRate(rate);
    scene.lastFrame = std::max(lastFrame, scene.frameOfLastKey());
    if (previewToEnd || scene.previewLast > scene.lastFrame) scene.previewLast = scene.lastFrame;
    scene.previewFirst = std::min(scene.previewFirst, scene.previewLast);
    savedPosition_ = -1;
    host_.refreshRecords();
    news_ = "the scene has " + scene.rate.text() + " frames per second, the last is " +
            std::to_string(scene.lastFrame);
    emit changed(Change::keys | Change::range | Change::time);
}

void Document::tell(std::string news) {
    news_ = std::move(news);
    emit changed({});
}

void Document::clearRecording() {
    if (isBusy()) return;
    recorder_.clear(scene());
    emit changed({});
}

} // namespace cadencora::stage
