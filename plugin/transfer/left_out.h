// Names that a command had to leave out, collected for one message to the user.
//
// Calls the host's message service.
#pragma once

namespace cadencora {

struct LeftOut {
    int count;
    bool full;       // no further name fits
    char names[256]; // the first ones: "Hand, Foot ..."
};

// `channel` may be null; else the name is shown as "item/channel".
void addLeftOut(LeftOut* leftOut, const char* item, const char* channel);

// Says "what: count" with the names below it; says nothing where nothing was left out.
void reportLeftOut(const LeftOut& leftOut, const char* what);

} // namespace cadencora
