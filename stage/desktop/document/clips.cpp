// Going from one clip of the open file to another.

#include "stage/desktop/document/document.h"

#include "stage/scene/summary.h"

namespace cadencora::stage {

void Document::exchangeWith(OtherClip& other) {
    host_.exchangeClip(other.motion, other.journal);
    std::swap(recorder_, other.recorder);
    std::swap(position_, other.position);
    std::swap(savedPosition_, other.savedPosition);
}

Result<> Document::showClip(const std::string& clip, std::optional<Loaded> read) {
    if (isBusy()) return Problem{"a command is under way", path_.string(), {}};
    if (clip == clip_) return done();
    OtherClip other;
    if (const auto known = otherClips_.find(clip); known != otherClips_.end()) {
        other = std::move(known->second);
        otherClips_.erase(known);
    } else {
        read->scene.selection.clear();
        if (!scene().isClipLike(read->scene))
            return Problem{"the clip has other items than the open one", path_.string(), clip};
        other.recorder.clear(read->scene);
        other.motion = Scene::motionOf(std::move(read->scene));
    }
    exchangeWith(other);
    otherClips_.emplace(clip_, std::move(other));
    clip_ = clip;
    news_ = "clip " + clip + ": " + summary(scene());
    forgetChange();
    marked_ = {};
    emit changed(Change::scene);
    return done();
}

std::vector<std::string> Document::editedClips() const {
    std::vector<std::string> names;
    for (const auto& [name, clip] : otherClips_)
        if (clip.position != clip.savedPosition) names.push_back(name);
    return names;
}

Scene Document::snapshotOf(const std::string& clip) const {
    Scene taken = scene().snapshot();
    if (const auto other = otherClips_.find(clip); other != otherClips_.end()) {
        ClipMotion motion = other->second.motion.copy();
        taken.exchange(motion);
    }
    return taken;
}

std::vector<RecordedStep> Document::stepsOf(const std::string& clip) const {
    const auto other = otherClips_.find(clip);
    return other == otherClips_.end() ? recorder_.recorded() : other->second.recorder.recorded();
}

} // namespace cadencora::stage
