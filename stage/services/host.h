// The host that a plug-in talks to: a scene, a journal, panels and a front end. The C tables of the
// services are its interface.
//
// A process has one host, since the tables carry no context: their slots work on the active one.
// Scenes are loaded into it one after the other; what the plug-in keeps for itself, its panels and
// its own envelopes, stays. Everything runs on one thread.
#pragma once

#include "plugin/host/types.h"
#include "stage/panels/front_end.h"
#include "stage/scene/journal.h"
#include "stage/services/host_files.h"

#include <array>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

namespace cadencora::stage {

// A call that a plug-in should not have made. The call did nothing and answered "nothing".
struct Misuse {
    std::string service; // "Animation Envelopes"
    std::string slot;    // "createKey"
    std::string reason;

    bool operator==(const Misuse&) const = default;
};

// Thrown inside a service when the caller's arguments make no sense; the gate records it.
struct MisuseError {
    std::string reason;
};

// The two envelopes that the plug-in's last calls were about: keys are copied from one to another.
class LastEnvelopes {
public:
    struct Entry {
        host::Envelope handle = nullptr;
        EnvelopeId id = EnvelopeId::none;
        Envelope* envelope = nullptr;
    };

    // Null where it is neither of them; a null handle never is.
    const Entry* find(host::Envelope handle) const {
        for (const Entry& entry : entries_)
            if (entry.handle == handle && entry.envelope) return &entry;
        return nullptr;
    }
    const Entry& remember(const Entry& entry) {
        entries_[1] = entries_[0];
        return entries_[0] = entry;
    }
    void forget() { entries_ = {}; }

private:
    std::array<Entry, 2> entries_; // the newest first
};

// The keys that the plug-in's last calls were about: the one that a walk has come to, one that it
// has passed but that is still read, and the one that is written to. Their handles have been
// checked. Cursors hold only until keys move, so a call under which they may either forgets them or
// looks them up again.
struct LastKeys {
    struct Entry {
        // While the entry is not in use: one that no plug-in is given.
        host::Envelope envelopeHandle = ofNone();
        host::Key handle = nullptr;
        Envelope* envelope = nullptr; // null while the entry is not in use
        KeyStore::Cursor cursor;

        bool isOf(host::Envelope envelopeSought, host::Key key) const {
            return handle == key && envelopeHandle == envelopeSought;
        }
        void forget() {
            envelopeHandle = ofNone();
            envelope = nullptr;
        }
        // Finds the key again after keys of the envelope have moved.
        void lookAgain(const Envelope* changed) {
            if (envelope != changed) return;
            cursor =
                changed->keys.at(static_cast<KeyHandle>(reinterpret_cast<std::uintptr_t>(handle)));
            if (!cursor) forget();
        }

    private:
        static host::Envelope ofNone() {
            static char none;
            return reinterpret_cast<host::Envelope>(&none);
        }
    };
    Entry walked, passed, written;

    // What findKey has just not found: no key of the envelope is meant by the time.
    struct Missed {
        const Envelope* envelope = nullptr;
        double time = 0, settled = 0;
    };
    Missed missed;

    void forget() {
        for (Entry* entry : {&walked, &passed, &written})
            entry->forget();
        missed.envelope = nullptr;
    }
    void lookAgain(const Envelope* changed) {
        for (Entry* entry : {&walked, &passed, &written})
            entry->lookAgain(changed);
    }
};

// For tests of the pair of plug-in and stage.
struct HostFaults {
    std::set<std::string, std::less<>> withheldServices;
    std::set<int> refusedAttributes;     // keySet answers 0
    std::set<int> unavailableAttributes; // keyGet answers 0
    int panelsUntilNull = -1; // createPanel answers null once this many were made; -1: never
};

struct HostOptions {
    // What "Directory Info" answers, and where motions without a directory are; empty: none.
    std::filesystem::path motionsDirectory;
    std::size_t undoBudget = std::size_t{1} << 30; // bytes; 0: nothing is undone
    bool writeFiles = true; // false: files are written into the void, as in a dry run
};

struct HandlerThrew;

// What is added to the scene's numbers in handles. It grows with each scene, so that a handle from
// an earlier one is recognised.
struct HandleOffsets {
    std::uint64_t items = 0, groups = 0, channels = 0; // envelopes have their channels' numbers
};

class Host {
public:
    Host(Scene scene, FrontEnd& frontEnd, HostOptions options = {});
    ~Host();
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;

    // The host that the tables work on: the one made last; after its end, the one before it.
    static Host* active() { return active_; }

    // Takes another scene in place of the one before, which ends with its history. Panels close and
    // forget the items that were chosen in them. Not within an event.
    void load(Scene scene);

    // Puts another clip of the scene's file, with its history, in place of this one, which the two
    // hold then. The items and what the plug-in knows of them stay. Not within an event.
    void exchangeClip(ClipMotion& motion, Journal& journal);

    static const HandleOffsets& offsets() { return offsets_; }

    // The service lookup that the plug-in is given; null for what the host does not have.
    static void* lookup(const char* service, int use);

    // The record for activating a "LayoutGeneric" server.
    static void* layoutGeneric();

    const Scene& scene() const { return scene_; }
    Scene& mutableScene() { return scene_; } // selection, time and key handles; not for edits
    PanelSet& panels() { return panels_; }
    FrontEnd& frontEnd() { return frontEnd_; }
    const HostOptions& options() const { return options_; }

    // What "Directory Info" answers where there is no motions directory: the scene file's own.
    std::filesystem::path sceneDirectory;

    // Runs one thing that the user does, as one edit under `name`; events inside it are part of it.
    // `keep` is asked at the end whether to keep the edit; otherwise the scene is as before. So it
    // is after an exception of the plug-in's, which becomes a problem.
    ChangeReport event(
        std::string name, const std::function<void()>& action,
        const std::function<bool()>& keep = [] { return true; });

    // The edit in progress. Throws MisuseError where the plug-in edits outside an event.
    EditScope& edit() {
        if (!scope_) [[unlikely]]
            throw MisuseError{"an edit outside of any event"};
        return *scope_;
    }

    const Journal& journal() const { return journal_; }
    void setUndoBudget(std::size_t bytes) { journal_.setBudget(bytes); }
    bool undo(); // false: nothing to undo, or within an event
    bool redo();

    // Issues one command line; a Problem says why it was refused.
    Result<> command(std::string_view line);

    void select(std::vector<ItemId> items);

    // What went wrong without a message box: misuse, refused command lines, failed files.
    std::vector<Misuse> misuses;
    std::vector<Problem> problems;
    void report(Problem problem); // once, however often it happens
    // Services that the plug-in asked for in vain. That is no mistake, but says why a command may
    // end without a word.
    std::set<std::string, std::less<>> missingServices;
    // Returns all of them, misuses in the words of problems, and forgets them.
    std::vector<Problem> takeProblems();
    void recordMisuse(std::string_view service, std::string_view slot, std::string reason);
    void recordThrown(const char* service, const char* slot) noexcept; // in a catch block

    // An envelope of the plug-in's own: it belongs to no scene and no journal, and lives until it
    // is destroyed or the host ends. Null for a number that has none.
    std::uint64_t addOwnEnvelope();
    Envelope* ownEnvelope(std::uint64_t number);
    void destroyOwnEnvelope(std::uint64_t number);

    const HostFaults& faults() const { return faults_; }
    HostFaults& mutableFaults() { // the quick slots do not ask about them
        lastKeys.forget();
        return faults_;
    }

    // Must be forgotten whenever an envelope is removed.
    static inline LastEnvelopes lastEnvelopes; // of the active host: every hot call asks for it
    static void forgetEnvelope() {
        lastEnvelopes.forget();
        lastKeys.forget();
    }
    static inline LastKeys lastKeys; // the same

    HostFiles files;
    int modalPanels = 0; // open now, one within the other

    // Lets the front end know now and then that calls are coming in.
    void countCall() {
        constexpr unsigned pace = 64;
        if (++calls_ % pace == 0) [[unlikely]]
            frontEnd_.working();
    }

    // Brings the data records of "LW Scene Info 6" and "LW Interface Info 7" up to date.
    void refreshRecords();

private:
    void closePanels();
    void passNumbers();
    void guarded(const std::function<void()>& action);
    void reportThrown(const HandlerThrew& thrown);

    static inline Host* active_ = nullptr;
    static inline HandleOffsets offsets_;

    Scene scene_;
    FrontEnd& frontEnd_;
    HostOptions options_;
    PanelSet panels_;
    Journal journal_;
    std::optional<EditScope> scope_;
    HostFaults faults_;
    bool threw_ = false;                      // the plug-in, within the event
    std::vector<host::Item> selectedHandles_; // ends with null
    Host* previous_ = nullptr;
    std::unordered_map<std::uint64_t, Envelope> ownEnvelopes_;
    std::uint64_t lastOwnEnvelope_ = 0;
    unsigned calls_ = 0; // through gates
};

} // namespace cadencora::stage
