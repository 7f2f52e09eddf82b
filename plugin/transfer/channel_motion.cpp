#include "plugin/transfer/channel_motion.h"

#include "plugin/host/channel_walk.h"
#include "plugin/keys/frame_time.h"
#include "plugin/keys/single_keys.h"
#include "plugin/keys/whole_channels.h"
#include "plugin/sets/controls.h"

#include <cstdio>

namespace cadencora {

// The range in seconds, and the times beyond which no key is kept.
struct ClipRange {
    double start, end;
    double before, after;
};

struct MotionFiles {
    const host::ChannelInfo* channels;
    const host::EnvelopeFuncs* envelopes;
    const host::FileIOFuncs* files;
    host::Group group;
    const char* directory;
    ClipRange range;
};

static ClipRange rangeOf(int startFrame, int endFrame, double fps) {
    const double start = toTime(startFrame, fps);
    const double end = toTime(endFrame, fps);
    const double step = 1.0 / fps;
    return {start, end, start - step, end + step};
}

// False where the path does not fit.
static bool motionPath(const host::ChannelInfo* channels, host::Group group, host::Channel channel,
                       const char* directory, char (&path)[pathSize]) {
    const char* groupName = channels->groupName(group);
    const char* name = channels->channelName(channel);
    if (!groupName || !name) return false;
    const int length = std::snprintf(path, sizeof path, "%s:%s-%s.mot", directory, groupName, name);
    return length >= 0 && length < pathSize;
}

// Clears what lies a frame or more outside the range. The key at its start comes first, while the
// curve still has the keys around it that give it its value there.
static host::Key clipToRange(const host::EnvelopeFuncs* envelopes, host::Envelope envelope,
                             const ClipRange& range) {
    constexpr double farTime = 100000.0; // seconds
    const host::Key start = findOrCreateKey(envelopes, envelope, range.start);
    clearChannel(nullptr, envelopes, envelope, -farTime, range.before);
    clearChannel(nullptr, envelopes, envelope, range.after, farTime);
    return start;
}

static void saveEnvelopeData(const MotionFiles& motion, host::Envelope envelope, const char* path) {
    const host::SaveState state = motion.files->openSave(path, host::motionFileMode);
    if (!state) return;
    motion.envelopes->saveEnvelope(envelope, state);
    motion.files->closeSave(state);
}

static bool saveOne(const MotionFiles& motion, host::Channel channel) {
    const host::EnvelopeFuncs* envelopes = motion.envelopes;
    const host::Envelope original = motion.channels->channelEnvelope(channel);
    if (!original) return true;
    const host::Envelope copy =
        envelopes->createEnvelope(motion.group, "Temporary", host::floatEnvelope);
    if (!copy) return false;
    envelopes->copyEnvelope(copy, original);
    clipToRange(envelopes, copy, motion.range);
    char path[pathSize];
    if (motionPath(motion.channels, motion.group, channel, motion.directory, path))
        saveEnvelopeData(motion, copy, path);
    envelopes->destroyEnvelope(copy);
    return true;
}

static void copySetting(const MotionFiles& motion, host::Envelope to, host::Envelope from,
                        host::EnvelopeSetting setting) {
    constexpr int unknown = -1; // no behaviour: a host that delivers none refuses it
    int behaviour = unknown;
    motion.envelopes->getEnvelopeValue(from, motion.group, setting, &behaviour);
    motion.envelopes->setEnvelopeValue(to, motion.group, setting, &behaviour);
}

// The keys go to their own times: the range that was cleared is the range that is filled, so that
// saving and loading a clip over the same frames changes nothing.
static void copyRange(const MotionFiles& motion, host::Envelope to, host::Envelope from,
                      host::Key start) {
    const host::EnvelopeFuncs* envelopes = motion.envelopes;
    for (host::Key key = start; key; key = envelopes->nextKey(from, key)) {
        double time = 0;
        double value = 0;
        getKeyData(envelopes, from, key, &time, &value);
        if (time > motion.range.end) break;
        findAndCopyKey(envelopes, to, from, key, time, value);
    }
}

static bool loadOne(const MotionFiles& motion, host::Channel channel) {
    const host::EnvelopeFuncs* envelopes = motion.envelopes;
    const host::Envelope target = motion.channels->channelEnvelope(channel);
    char path[pathSize];
    if (!target || !motionPath(motion.channels, motion.group, channel, motion.directory, path))
        return true;
    const host::Envelope loaded = loadEnvelopeData(envelopes, motion.files, motion.group, path);
    if (!loaded) return false;
    const host::Key start = clipToRange(envelopes, loaded, motion.range);
    clearChannel(nullptr, envelopes, target, motion.range.start, motion.range.end);
    copySetting(motion, target, loaded, host::behaviourBefore);
    copySetting(motion, target, loaded, host::behaviourAfter);
    copyRange(motion, target, loaded, start);
    envelopes->destroyEnvelope(loaded);
    return true;
}

static int walkMotionFiles(const host::ChannelInfo* channels, const host::EnvelopeFuncs* envelopes,
                           const host::FileIOFuncs* files, const host::SceneInfo* scene,
                           host::Group group, const char* directory, int startFrame, int endFrame,
                           bool (*visit)(const MotionFiles&, host::Channel)) {
    if (endFrame < startFrame || !scene) return 0;
    if (!group || !directory || !channels || !envelopes || !files) return 0;
    const ClipRange range = rangeOf(startFrame, endFrame, scene->framesPerSecond);
    const MotionFiles motion = {channels, envelopes, files, group, directory, range};
    int result = 0;
    const bool all = walkGroup(channels, group, [&](host::Channel channel) {
        result = 1;
        return visit(motion, channel);
    });
    return all ? result : 0;
}

int saveChannel(const host::ChannelInfo* channels, const host::EnvelopeFuncs* envelopes,
                const host::FileIOFuncs* files, const host::SceneInfo* scene, host::Group group,
                const char* directory, int startFrame, int endFrame) {
    return walkMotionFiles(channels, envelopes, files, scene, group, directory, startFrame,
                           endFrame, saveOne);
}

int loadChannel(const host::ChannelInfo* channels, const host::EnvelopeFuncs* envelopes,
                const host::FileIOFuncs* files, const host::SceneInfo* scene, host::Group group,
                const char* directory, int startFrame, int endFrame) {
    return walkMotionFiles(channels, envelopes, files, scene, group, directory, startFrame,
                           endFrame, loadOne);
}

host::Envelope loadEnvelopeData(const host::EnvelopeFuncs* envelopes,
                                const host::FileIOFuncs* files, host::Group group,
                                const char* path) {
    const host::LoadState state = files->openLoad(path, host::motionFileMode);
    if (!state) return nullptr;
    const host::Envelope envelope = envelopes->createEnvelope(group, path, host::floatEnvelope);
    if (envelope) envelopes->loadEnvelope(envelope, state);
    files->closeLoad(state);
    return envelope;
}

int countLongPaths(const host::ChannelInfo* channels, host::Group group, const char* directory) {
    if (!channels || !group) return 0;
    int count = 0;
    char path[pathSize];
    walkGroup(channels, group, [&](host::Channel channel) {
        if (!motionPath(channels, group, channel, directory, path)) ++count;
    });
    return count;
}

} // namespace cadencora
