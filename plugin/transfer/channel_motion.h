// Motion files of a channel group: one file per channel, holding the keys of a frame range.
//
// Calls the key operations and the host's channel, envelope, file and scene services. The host
// writes and reads the files ("DIRECTORY:GROUP-CHANNEL.mot") and reports what it cannot open. Frame
// ranges are inclusive at both ends. Nothing is said to the user here.
#pragma once

#include "plugin/host/channel_info.h"
#include "plugin/host/envelope_funcs.h"
#include "plugin/host/file_io_funcs.h"
#include "plugin/host/scene_info.h"

namespace cadencora {

// Writes a file per channel of the group: its keys of the range, with one at the first frame, and
// what lies less than a frame outside. 1 if there was a channel and each could be copied; 0 for a
// reversed range and for null arguments. A file that cannot be opened is passed over.
int saveChannel(const host::ChannelInfo* channels, const host::EnvelopeFuncs* envelopes,
                const host::FileIOFuncs* files, const host::SceneInfo* scene, host::Group group,
                const char* directory, int startFrame, int endFrame);

// Replaces the keys of the range on every channel of the group by those of its file, at their own
// times, and takes over the file's behaviours before and after. 1 if there was a channel and each
// file could be read; at the first that cannot, 0: the channels before it are loaded then.
int loadChannel(const host::ChannelInfo* channels, const host::EnvelopeFuncs* envelopes,
                const host::FileIOFuncs* files, const host::SceneInfo* scene, host::Group group,
                const char* directory, int startFrame, int endFrame);

// A new envelope with the content of a file, named after it; the caller's to destroy. Null where
// the host cannot open the file or make the envelope.
host::Envelope loadEnvelopeData(const host::EnvelopeFuncs* envelopes,
                                const host::FileIOFuncs* files, host::Group group,
                                const char* path);

// How many channels of the group have a path longer than a path may be. They are passed over: a
// path is never cut.
int countLongPaths(const host::ChannelInfo* channels, host::Group group, const char* directory);

} // namespace cadencora
