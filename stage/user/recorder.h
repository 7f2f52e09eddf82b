// Records what a user does at the panels, as steps that a scripted user can perform.
//
// The front end reports to it what the user does. A step is one press of a button of a floating
// panel, with everything that follows until the command ends.
#pragma once

#include "stage/user/scripted_user.h"

namespace cadencora::stage {

// A step, and what the user did that it does not repeat; empty where it repeats everything.
struct RecordedStep {
    Step step;
    std::string shortfall;

    bool operator==(const RecordedStep&) const = default;
};

class Recorder {
public:
    // The step records the selection and the time where they differ from what the last step left.
    // `floating`: the open panels, among which a script finds the control. A control other than a
    // button makes a step with its value; tabs only if they edit.
    void begin(const ControlModel& control, const Panels& floating, const Scene& scene);

    // Within a step. `set` is told after the value was taken; a button counts as a setting. Of
    // several values slid or typed in the same control, only the last one is kept.
    void dialogOpened(const PanelModel& panel, const Scene& scene);
    void set(const ControlModel& control, const Scene& scene);
    // In place of `set`: the plug-in answered the value with an error message, at which a script
    // would stop. What it remembers of the value cannot be known.
    void refused(const ControlModel& control);
    // A time that the user went to while the dialog was open is the step's.
    void dialogClosed(const PanelModel& panel, bool accepted, const Scene& scene);
    void answered(bool yes);

    // `changed`: the step made an edit that an undo takes back.
    void end(bool changed, const Scene& scene);

    // The step ended in an error, and the scene is as before.
    void failed(const Scene& scene);

    // The last edit was taken back or made again, and its step with it. A step that was taken back
    // stays among the steps as one that is not kept, as long as others follow it: the plug-in
    // remembers lists and toggles.
    void undone();
    void redone();

    // Takes up steps of an earlier time, which no undo reaches.
    void restore(std::vector<RecordedStep> steps, const Scene& scene);

    // A step of a recipe was taken as it stands.
    void add(const Step& step, bool changed, const Scene& scene);

    // Forgets all steps; the next one starts from this scene.
    void clear(const Scene& scene);

    std::vector<RecordedStep> recorded() const;
    std::size_t revision() const { return revision_; } // another one: recorded() may have changed
    std::vector<Step> steps() const;

private:
    struct Before { // the scene as the last step left it
        std::vector<ItemId> selection;
        double time = 0;
        std::int64_t previewFirst = 0, previewLast = 0;
    };
    static Before stateOf(const Scene& scene);
    bool isTaken(std::string_view label) const;
    void anchorCancel(const PanelModel& panel, const Scene& scene);
    void fallShort(std::string why);
    void takeTime(const Scene& scene);

    bool open_ = false;
    std::size_t revision_ = 0;
    std::vector<RecordedStep> steps_;
    std::vector<bool> changed_;       // by step
    std::vector<std::size_t> undone_; // steps that a redo makes again, the next one last
    std::optional<Before> before_;    // nothing: after an undo, when the next step says all
    bool isFirst_ = true;             // the next step is the first one of the scene

    // Of the step under way.
    const ControlModel* pressed_ = nullptr;  // by which it began
    std::vector<const PanelModel*> dialogs_; // all that opened
    const ControlModel* last_ = nullptr;     // of the last setting
    std::size_t madeHere_ = 0;               // settings made in the newest dialog
    double opened_ = 0;                      // the time when it opened
};

} // namespace cadencora::stage
