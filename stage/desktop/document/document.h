// The open scene with its host, its file and its history: what every view knows.
//
// Owns the host and the recorder; calls all of the stage. Views read scene() and listen to
// changed(). Everything that they let the user do goes through the functions below.
#pragma once

#include "stage/desktop/document/recovery.h"
#include "stage/desktop/document/switchable_user.h"
#include "stage/desktop/document/work_clock.h"
#include "stage/formats/registry.h"
#include "stage/module/module.h"
#include "stage/services/host.h"
#include "stage/user/recorder.h"

#include <QObject>

#include <filesystem>
#include <map>

namespace cadencora::stage {

// What may look different since the last signal.
enum class Change : unsigned {
    time = 1,      // the current time
    selection = 2, // which items are selected
    keys = 4,      // keys, channels, the ranges that follow them
    scene = 8,     // all of it: another scene
    range = 16,    // the preview range
    marked = 32    // the range that the user has marked, or that an open dialog asks for
};
Q_DECLARE_FLAGS(Changes, Change)

struct FrameRange {
    double first = 0, last = 0; // both are in it
};

// A range that the user has marked for the next dialog, and what is in it.
struct Marked {
    std::optional<FrameRange> range;
    std::vector<std::pair<std::string, std::size_t>> keys; // by channel: how many
};

class Document : public QObject {
    Q_OBJECT
public:
    explicit Document(FrontEnd& frontEnd); // which must outlive it

    const Scene& scene() const { return host_.scene(); }
    Host& host() { return host_; }
    const Host& host() const { return host_; }
    // The file that the scene came from or was saved to; empty: none.
    const std::filesystem::path& path() const { return path_; }
    bool isImported() const { return imported_; }                    // and not to be saved over
    const std::vector<std::string>& clips() const { return clips_; } // that the file holds
    const std::string& clip() const { return clip_; }                // that is open
    std::string name() const;                                        // for the title
    bool isModified() const { return isClipModified() || !editedClips().empty(); }
    bool isBusy() const { return depth_ > 0; } // an event is under way, maybe in a dialog

    // Goes over to a scene that was read from `path`. Answers the warnings of the reading.
    enum class Origin { opened, imported };
    Result<std::vector<std::string>> show(Loaded loaded, const std::filesystem::path& path,
                                          Origin origin = Origin::opened);

    // The scene has been written to `path`, with the other clips where the format holds several: as
    // its own file from now on, or beside that.
    void saved(const std::filesystem::path& path);
    void exported(const std::filesystem::path& path);

    // Goes over to an empty scene without a file. The Problem is of the plug-in's start on it.
    Result<> makeNew();

    // Goes over to another clip of the open file. What was done to this one, and its undo, is kept
    // until the user comes back. A clip that was not open yet has to be read before, as `read`.
    bool hasOpened(const std::string& clip) const { return otherClips_.contains(clip); }
    Result<> showClip(const std::string& clip, std::optional<Loaded> read);
    // The clips besides the open one that have changes which are not saved.
    std::vector<std::string> editedClips() const;
    Scene snapshotOf(const std::string& clip) const; // of one of them, or of the open one
    std::vector<RecordedStep> stepsOf(const std::string& clip) const;

    // Takes up the work of a program that has ended suddenly. It becomes one edit of the scene of
    // its file, so that a save keeps what only that has; if the file is gone, or another, the scene
    // has no file. Answers warnings.
    Result<std::vector<std::string>> recover(Recovered recovered);

    // The plug-in of a file; it is opened once and kept until the end.
    Result<Module*> openPlugin(const std::filesystem::path& path);
    // Starts it; a scene that is opened later starts it again.
    Result<> startPlugin(Module& module);

    // What the user does to a control, one of the functions of actions.h. On a floating panel it is
    // an edit of its own, named after the control; in a dialog it is part of the edit under way.
    using Action = std::function<Result<>(ControlModel&)>;
    Result<> use(ControlModel& control, const Action& action);

    void undo(); // neither does anything while busy
    void redo();

    void select(std::vector<ItemId> items);
    void setTime(double seconds);
    void goToFrame(std::int64_t frame) { setTime(scene().rate.timeOf(frame)); }
    void stepFrames(int frames);  // to whole frames
    void stepKeys(int direction); // to the next key of the selected items, or the one before
    void setPreview(std::int64_t first, std::int64_t last);
    // Keys keep their times; the last frame becomes at least that of the last key. Not undone.
    void setTimes(FrameRate rate, std::int64_t lastFrame);

    // What the last command, undo or file did, for the status line.
    const std::string& news() const { return news_; }

    // What the last command touched, as long as it is what an undo takes back.
    const std::optional<FrameRange>& changedRange() const { return changedRange_; }
    const std::vector<ItemId>& changedItems() const { return changedItems_; }

    // The next dialog that asks for a range of frames opens with the marked one.
    void mark(Marked marked);
    const std::optional<FrameRange>& markedRange() const { return marked_.range; }

    // A dialog of the command under way waits for the user, who may move the time meanwhile; within
    // it others may open. What the dialog may still be filled with goes through use().
    void dialogOpened(PanelModel& panel);
    void dialogClosed();
    // The user has cancelled a dialog, or said no to a question.
    void countRefusal() { ++refusals_; }
    bool isWaiting() const { return !dialogs_.empty(); }
    // The label of the control that began the command under way.
    const std::string& command() const { return command_; }
    // The range of frames that the open dialog asks for: two sliders with the same bounds, the
    // first its start.
    std::optional<FrameRange> askedRange() const;
    void setAskedRange(bool start, std::int64_t frame);

    void tell(std::string news); // of something that is not about the scene

    // Takes steps one after the other, each as an edit of its own, without dialogs; they are
    // recorded as well. A Problem names the one at which they stopped: those before it stay.
    Result<> run(const std::vector<Step>& steps);

    Recorder& recorder() { return recorder_; }
    void clearRecording();

    // An error message is being shown. Outside of dialogs it ends the command, which takes back
    // what it has done; in a dialog the user goes on.
    void countError();

    WorkClock& clock() { return clock_; } // of the command under way

signals:
    void changed(cadencora::stage::Changes what);
    void controlsChanged(); // panels may look different

private:
    struct OtherClip { // as the user left it
        ClipMotion motion;
        Journal journal;
        Recorder recorder;
        int position = 0, savedPosition = 0;
    };
    bool isClipModified() const { return position_ != savedPosition_; }
    void exchangeWith(OtherClip& other);
    void takeWork(const RecoveredClip& clip);
    void setPath(const std::filesystem::path& path);
    ChangeReport edit(const std::string& name, const std::function<void()>& action);
    void finishEdit(const std::string& name, const ChangeReport& report);
    Result<> runStep(const Step& step, ScriptedUser& script);
    void showChange(const ChangeReport& report);
    void forgetChange();
    std::string whyNothing() const;
    void tellProblems();
    Changes differenceFrom(const std::vector<ItemId>& selection, double time) const;

    FrontEnd& frontEnd_;
    SwitchableUser user_;
    Host host_;
    std::map<std::filesystem::path, Module> modules_; // every one that was opened
    Module* module_ = nullptr;                        // the one started last
    std::filesystem::path path_;
    bool imported_ = false;
    std::vector<std::string> clips_;
    std::string clip_;
    std::map<std::string, OtherClip> otherClips_; // that were open
    WorkClock clock_;
    Recorder recorder_;
    std::string news_;
    std::optional<FrameRange> changedRange_;
    std::vector<ItemId> changedItems_;
    Marked marked_;
    std::vector<PanelModel*> dialogs_; // the last one on top
    std::string command_;
    int depth_ = 0; // of events
    int errors_ = 0;
    int refusals_ = 0;                     // by the user, of the command under way
    bool failed_ = false;                  // the command under way has shown an error of its own
    int position_ = 0, savedPosition_ = 0; // in the history of edits; -1: no longer reachable
};

} // namespace cadencora::stage

Q_DECLARE_OPERATORS_FOR_FLAGS(cadencora::stage::Changes)
