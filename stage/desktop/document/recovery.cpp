#include "stage/desktop/document/recovery.h"

#include "stage/base/file.h"
#include "stage/base/folder.h"
#include "stage/desktop/document/document.h"
#include "stage/formats/native/scene_file.h"
#include "stage/user/recipe.h"

#include <QElapsedTimer>
#include <QStandardPaths>

#include <algorithm>
#include <fcntl.h>
#include <nlohmann/json.hpp>
#include <sys/file.h>
#include <thread>
#include <unistd.h>

namespace cadencora::stage {

namespace fs = std::filesystem;
using Json = nlohmann::ordered_json;

namespace {

constexpr int version = 1;
constexpr const char *lockEnding = ".window", *recoveryEnding = ".recovery";
constexpr int soonest = 1000;  // milliseconds after an edit
constexpr int leastShare = 20; // of the time goes into keeping work: one part in so many

std::string text(const Json& json) {
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

fs::path beside(fs::path lock) {
    return lock.replace_extension(recoveryEnding);
}

// An open descriptor with the lock, or -1 where its window lives.
int lockOfGone(const fs::path& path) {
    const int descriptor = open(path.c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW);
    if (descriptor >= 0 && flock(descriptor, LOCK_EX | LOCK_NB) == 0) return descriptor;
    if (descriptor >= 0) close(descriptor);
    return -1;
}

std::vector<fs::path> filesEndingIn(const fs::path& folder, const char* ending) {
    std::vector<fs::path> found = entriesOf(folder);
    std::erase_if(found, [&](const fs::path& path) { return path.extension() != ending; });
    return found;
}

// A clip in the file, all but its scene.
Json headOf(const std::string& clip, std::vector<RecordedStep> recorded) {
    Json head = {{"clip", clip}};
    if (recorded.empty()) return head;
    Json shortfalls = Json::array();
    std::vector<Step> steps;
    for (RecordedStep& one : recorded) {
        shortfalls.push_back(one.shortfall);
        steps.push_back(std::move(one.step));
    }
    head["steps"] = Json::parse(recipeText({steps, {}}));
    head["shortfalls"] = std::move(shortfalls);
    return head;
}

} // namespace

// What is written, as it was when it began. It ends on the thread of the document.
struct Recovery::Writing {
    struct Clip {
        Scene scene;
        Json head;
    };
    std::vector<Clip> clips;
    Json head;
    fs::path path;
    Result<> result = done();
    QElapsedTimer since;
    std::jthread thread;

    void write() {
        try {
            std::string whole = text(head);
            whole.pop_back();
            whole += ",\"clips\":[";
            for (const Clip& clip : clips) {
                auto sceneJson = sceneText(clip.scene);
                if (!sceneJson) {
                    result = sceneJson.problem();
                    return;
                }
                // The scene is put in as text: it may be large.
                if (&clip != &clips.front()) whole += ',';
                whole += text(clip.head);
                whole.pop_back();
                whole += ",\"scene\":" + *sceneJson + '}';
            }
            result = writeFile(path, whole + "]}\n");
        } catch (const std::bad_alloc&) {
            result = outOfMemory(path.string());
        }
    }
};

fs::path Recovery::folder() {
    const fs::path place =
        QStandardPaths::writableLocation(QStandardPaths::AppLocalDataLocation).toStdString();
    std::error_code ignored;
    fs::create_directories(place / "unsaved", ignored);
    return place / "unsaved";
}

Recovery::Recovery(Document& document) : document_(document) {
    std::string path = (folder() / ("XXXXXX" + std::string(lockEnding))).string();
    lock_ = mkostemps(path.data(), static_cast<int>(std::string(lockEnding).size()), O_CLOEXEC);
    if (lock_ < 0) {
        problem_ = "unsaved work cannot be kept aside in " + folder().string();
        return;
    }
    flock(lock_, LOCK_EX);
    lockPath_ = path;
    path_ = beside(lockPath_);
    timer_.setSingleShot(true);
    connect(&timer_, &QTimer::timeout, this, &Recovery::begin);
    connect(&document_, &Document::changed, this, &Recovery::follow);
}

Recovery::~Recovery() {
    if (lock_ < 0) return;
    end();
    remove(path_);
    std::error_code ignored;
    fs::remove(lockPath_, ignored);
    close(lock_);
}

void Recovery::follow() {
    if (openFile_ != document_.path()) {
        openFile_ = document_.path();
        std::error_code ignored;
        const std::string name = fs::weakly_canonical(openFile_, ignored).string();
        if (ftruncate(lock_, 0) != 0 ||
            pwrite(lock_, name.data(), name.size(), 0) != static_cast<ssize_t>(name.size()))
            problem_ = "the name of the open file cannot be kept aside";
    }
    if (!document_.isModified()) {
        timer_.stop();
        isStale_ = false;
        end();
        if (std::exchange(isKept_, false)) remove(path_);
    } else if (writing_) {
        isStale_ = true;
    } else if (!timer_.isActive()) {
        timer_.start(soonest);
    }
}

void Recovery::begin() {
    if (document_.isBusy()) return timer_.start(soonest); // a command is half done
    writing_ = std::make_unique<Writing>();
    Writing& writing = *writing_;
    writing.path = path_;
    std::error_code ignored;
    writing.head = {{"cadencora", "recovery"},
                    {"version", version},
                    {"file", fs::absolute(document_.path(), ignored).string()},
                    {"imported", document_.isImported()}};
    if (document_.path().empty()) writing.head["file"] = "";
    std::vector<std::string> clips{document_.clip()};
    std::ranges::copy(document_.editedClips(), std::back_inserter(clips));
    for (const std::string& clip : clips)
        writing.clips.push_back(
            {document_.snapshotOf(clip), headOf(clip, document_.stepsOf(clip))});
    writing.since.start();
    isKept_ = true;
    writing.thread = std::jthread([this, &writing] {
        writing.write();
        QMetaObject::invokeMethod(this, &Recovery::end, Qt::QueuedConnection);
    });
}

void Recovery::end() {
    if (!writing_) return; // it was waited for
    writing_->thread.join();
    problem_ = writing_->result ? std::string() : writing_->result.problem().text();
    const auto pause = static_cast<int>(writing_->since.elapsed()) * leastShare;
    writing_.reset();
    if (std::exchange(isStale_, false)) timer_.start(std::max(soonest, pause));
}

void Recovery::keepNow() {
    if (lock_ < 0 || !document_.isModified()) return;
    end();
    timer_.stop();
    begin();
    end();
}

bool Recovery::isOpenElsewhere(const fs::path& file) const {
    std::error_code ignored;
    const std::string name = fs::weakly_canonical(file, ignored).string();
    return std::ranges::any_of(filesEndingIn(folder(), lockEnding), [&](const fs::path& path) {
        if (path == lockPath_) return false;
        const int lock = lockOfGone(path);
        if (lock >= 0) {
            close(lock);
            return false;
        }
        const auto content = readFile(path, 65536);
        return content && content.value() == name;
    });
}

std::vector<fs::path> Recovery::leftBehind() const {
    std::vector<fs::path> found;
    std::error_code ignored;
    for (const fs::path& path : filesEndingIn(folder(), lockEnding)) {
        const int lock = path == lockPath_ ? -1 : lockOfGone(path);
        if (lock < 0) continue;
        if (fs::exists(beside(path), ignored))
            found.push_back(beside(path));
        else
            fs::remove(path, ignored);
        close(lock);
    }
    std::ranges::sort(found, std::greater(), [](const fs::path& path) {
        std::error_code error;
        return fs::last_write_time(path, error);
    });
    return found;
}

Result<Recovered> Recovery::read(const fs::path& path) {
    const auto fail = [&](const char* why) {
        return Problem{"this is not a whole recovery file", path.string(), why};
    };
    auto bytes = readFile(path);
    if (!bytes) return bytes.problem();
    try {
        const Json json = Json::parse(*bytes);
        bytes->clear();
        if (json.value("cadencora", "") != "recovery" || json.value("version", 0) != version)
            return fail("its version is not known");
        Recovered recovered;
        recovered.file = json.at("file").get<std::string>();
        recovered.isImported = json.at("imported").get<bool>();
        for (const Json& one : json.at("clips")) {
            RecoveredClip clip;
            clip.clip = one.at("clip").get<std::string>();
            auto scene = readSceneFile(text(one.at("scene")), path, {});
            if (!scene) return scene.problem();
            clip.scene = std::move(scene->scene);
            clip.scene.makeNamesUnique();
            if (one.contains("steps")) {
                auto recipe = parseRecipe(text(one["steps"]), path.string());
                if (!recipe) return recipe.problem();
                std::vector<Step>& steps = recipe->steps;
                const Json& shortfalls = one.at("shortfalls");
                for (std::size_t i = 0; i < steps.size(); ++i)
                    clip.steps.push_back(
                        {std::move(steps[i]), shortfalls.at(i).get<std::string>()});
            }
            recovered.clips.push_back(std::move(clip));
        }
        if (recovered.clips.empty()) return fail("it holds no clip");
        return recovered;
    } catch (const Json::exception& error) {
        return fail(error.what());
    } catch (const std::bad_alloc&) {
        return outOfMemory(path.string());
    }
}

void Recovery::remove(const fs::path& path) {
    std::error_code ignored;
    fs::remove(path, ignored);
}

} // namespace cadencora::stage
