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
};

class Recorder {
public:
    // The step records the selection and the time where they differ from what the last step left.
    // `floating`: the open panels, among which a script finds the control. A control other than a
    // button makes a step with its value, and only if it edits.
    void begin(const ControlModel& control, const Panels& floating, const Scene& scene);

    // Within a step. `set` is told after the value was taken; a button counts as a setting. Of
    // several values slid or typed in the same control, only the last one is kept.
    void dialogOpened(const PanelModel& panel);
    void set(const ControlModel& control, const Scene& scene);
    void dialogClosed(const PanelModel& panel, bool accepted, const Scene& scene);
    void answered(bool yes);

    // `changed`: the step made an edit that an undo takes back.
    void end(bool changed, const Scene& scene);

    // The step ended in an error and did nothing: it is dropped.
    void abandon();

    // The last edit was taken back or made again, and its step with it.
    void undone();
    void redone();
    void clear();

    const std::vector<RecordedStep>& recorded() const { return steps_; }
    std::vector<Step> steps() const;

private:
    struct Before { // the scene as the last step left it
        std::vector<ItemId> selection;
        double time = 0;
    };
    bool isTaken(std::string_view label) const;
    void anchorCancel(const PanelModel& panel, const Scene& scene);
    void fallShort(std::string why);

    bool open_ = false;
    std::vector<RecordedStep> steps_;
    std::vector<bool> changed_; // by step
    struct Group {
        std::vector<RecordedStep> steps;
        std::vector<bool> changed;
    };
    std::vector<Group> undone_; // each begins with a step that made an edit
    std::optional<Before> before_;

    // Of the step under way.
    const ControlModel* pressed_ = nullptr;  // by which it began
    std::vector<const PanelModel*> dialogs_; // all that opened
    const ControlModel* last_ = nullptr;     // of the last setting
    std::size_t madeHere_ = 0;               // settings made in the newest dialog
};

} // namespace cadencora::stage
