// The edit journal: every change of a scene belongs to one edit scope per top-level event.
//
// A scope keeps a copy of each envelope, and of each group's channel list, as it was at the first
// touch. From the copies come the change report, undo and redo.
#pragma once

#include "stage/scene/scene.h"

#include <optional>
#include <unordered_set>

namespace cadencora::stage {

// What an edit did to one channel.
struct ChannelChange {
    ChannelId channel = ChannelId::none;
    KeyStore::Differences keys;
    bool settingsChanged = false; // behaviours
};

struct ChangeReport {
    std::vector<ChannelChange> channels; // those that changed, in the scene's order
    std::vector<ChannelId> channelsAdded, channelsRemoved;
    std::size_t items = 0; // how many items the channels belong to
    std::size_t keysAdded = 0, keysRemoved = 0, keysChanged = 0;
    // Frames at the scene's rate, fractions included; nothing where no key was touched.
    std::optional<double> firstFrame, lastFrame;

    bool empty() const {
        return channels.empty() && channelsAdded.empty() && channelsRemoved.empty();
    }
};

// One edit that can be taken back. Made by Journal; holds the state on the other side of the edit.
struct JournalEntry {
    struct EnvelopeCopy {
        EnvelopeId id;
        Envelope other;
    };
    struct ChannelList {
        GroupId id;
        std::vector<ChannelId> other;
    };
    std::string name; // of the edit, for the menu: "Destroy Keys"
    std::vector<EnvelopeCopy> envelopes;
    std::vector<ChannelList> groups;
    std::int64_t lastFrame = 0, previewLast = 0; // of the scene
    std::size_t bytes = 0;                       // that it alone holds

    bool empty() const { return envelopes.empty() && groups.empty(); }
};

// The means to change a scene. Lives for one top-level event; ended by Journal::commit or
// Journal::rollBack.
class EditScope {
public:
    explicit EditScope(Scene& scene, std::string name);

    // The envelope for editing, kept as it was if this is the first touch.
    Envelope& envelope(EnvelopeId id) { return edited(id, scene_.mutableEnvelope(id)); }
    Envelope& edited(EnvelopeId id, Envelope& envelope) { // where the caller has it at hand
        if (envelope.keptBy != serial_) keep(id, envelope);
        return envelope;
    }

    ChannelId addChannel(GroupId group, std::string channelName, double rest);
    // Takes a channel out of its group. One that this scope has added leaves no trace.
    void removeChannel(ChannelId id);

    ChangeReport report() const;

private:
    friend class Journal;
    void keep(EnvelopeId id, Envelope& envelope);
    void keepChannels(GroupId group);

    Scene& scene_;
    JournalEntry entry_;
    std::uint64_t serial_;                // different for every scope of the process
    std::unordered_set<ChannelId> added_; // and not removed again
    std::unordered_set<GroupId> groups_;
};

class Journal {
public:
    // Keeps the edit for undo, if it changed anything, and says what it changed. Drops what could
    // be redone. The scene's last frame grows to cover keys that the edit put after it. The scope
    // has ended, unless this throws std::bad_alloc.
    ChangeReport commit(EditScope& scope);

    // Puts the scene back to what it was before the scope.
    static void rollBack(EditScope&& scope);

    const std::string* undoName() const; // null where there is nothing to undo
    const std::string* redoName() const;
    // What the next undo takes back, with the state before it; null where there is nothing.
    const JournalEntry* lastEdit() const { return done_.empty() ? nullptr : &done_.back(); }
    bool undo(Scene& scene); // false where there is nothing to undo
    bool redo(Scene& scene);
    void clear();

    // Of memory for undo and redo, in bytes. The oldest edits are given up first; the last one
    // stays, except where the budget is 0.
    void setBudget(std::size_t bytes);
    std::size_t budget() const { return budget_; }
    std::size_t bytes() const { return bytes_; }
    std::size_t givenUp() const { return givenUp_; } // edits, since clear()

private:
    void keepToBudget();
    static void exchange(Scene& scene, JournalEntry& entry);
    static void coverLastKeys(Scene& scene, const ChangeReport& report);

    std::vector<JournalEntry> done_, undone_;
    std::size_t budget_ = std::size_t{1} << 30;
    std::size_t bytes_ = 0, givenUp_ = 0;
};

} // namespace cadencora::stage
