// The files that a plug-in has open through the host, and what the paths that it hands over mean.
#pragma once

#include "stage/base/file.h"
#include "stage/scene/keys/envelope.h"

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace cadencora::stage {

// A motion file being saved. It is written when it is closed.
struct SaveFile {
    std::filesystem::path path;
    std::optional<AtomicFile> file; // nothing in a dry run
    std::string text;
};

// A motion file being loaded. It is parsed when it is opened, so that one that cannot be read is
// known before anything is changed.
struct LoadFile {
    std::filesystem::path path;
    std::vector<Envelope> envelopes;
    std::size_t next = 0; // the one that is loaded next
};

struct HostFiles {
    // By handle.
    std::map<std::uintptr_t, SaveFile> saves;
    std::map<std::uintptr_t, LoadFile> loads;
    std::uintptr_t nextHandle = 1;

    std::vector<std::filesystem::path> written;       // by the plug-in, in the order of writing
    std::map<std::filesystem::path, std::string> dry; // what a dry run would have written
    // The motion that the event saved last, which it reads back as it was saved: other processes
    // may use the same file at the same time.
    std::filesystem::path savedMotionPath;
    std::string savedMotion;
    std::set<std::string, std::less<>> chosenDirectories; // that the plug-in was told by a control
    std::optional<TemporaryDirectory> motions; // for motions without a directory, once needed
};

} // namespace cadencora::stage
