// Motion files (.mot): one envelope, or the motion of one item, as text.
//
//   cadencora motion 1
//   item "Hips"                          or, for one envelope: envelope
//   channel "Rotation.H"                 channels of a sub-group: channel "Face" "Smile"
//   rest 0
//   behaviour constant offset-repeat     before the first key, after the last one
//   keys 2
//   0 1.5 1                              seconds, value, shape, shape parameters; zeros at the end
//   0.5 2.25                             are left out
//   end
//
// An envelope has no channel line. Several envelopes stand one after the other, each with its head.
// Names are quoted; \" \\ and \xHH stand for bytes that quotes cannot hold. Numbers read back as
// the same bits.
#pragma once

#include "stage/base/result.h"
#include "stage/scene/scene.h"

#include <string>
#include <string_view>
#include <vector>

namespace cadencora::stage {

struct ChannelMotion {
    std::vector<std::string> groups; // sub-groups from the item down; none: the item's own channel
    std::string channel;
    Envelope envelope;
};

struct ItemMotion {
    std::string item; // the name it was saved under
    std::vector<ChannelMotion> channels;
};

bool isMotionText(std::string_view head);

std::string envelopeText(const Envelope& envelope);
std::string itemMotionText(const Scene& scene, ItemId item);

// `where` names the text in problems, with the line: "walk.mot:12".
Result<std::vector<Envelope>> parseEnvelopes(std::string_view text, const std::string& where);
Result<ItemMotion> parseItemMotion(std::string_view text, const std::string& where);

} // namespace cadencora::stage
