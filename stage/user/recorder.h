// Writes down what a user does at the panels, as steps that a scripted user can perform.
//
// Whoever stands between the user and the model tells it: a front end with windows, through the
// document. A step is one press of a button of a floating panel and what follows until it is over.
#pragma once

#include "stage/user/scripted_user.h"

namespace cadencora::stage {

// A step, and in what it falls short of what the user did; empty: in nothing.
struct RecordedStep {
    Step step;
    std::string shortfall;
};

class Recorder {
public:
    // The step's selection and time are written down where they are others than the last step left.
    // A control that is no button makes a step only if it edits, and one that falls short.
    void begin(const ControlModel& control, const Scene& scene);

    // Within a step. `set` is told after the value was taken; a button counts as a setting. Sliding
    // and typing on in the same control leaves the last value alone.
    void dialogOpened(const PanelModel& panel);
    void set(const ControlModel& control, const Scene& scene);
    void dialogClosed(const PanelModel& panel, bool accepted, const Scene& scene);
    void answered(bool yes);

    // `changed`: the step made an edit that an undo takes back.
    void end(bool changed, const Scene& scene);

    // The step ended in an error and did nothing: it is none.
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
    bool pressed_ = false;                   // by a button
    std::vector<const PanelModel*> dialogs_; // all that opened
    const ControlModel* last_ = nullptr;     // of the last setting
    std::size_t madeHere_ = 0;               // settings made in the newest dialog
};

} // namespace cadencora::stage
