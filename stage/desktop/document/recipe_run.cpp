// Taking the steps of a recipe on the open scene.

#include "stage/desktop/document/document.h"
#include "stage/user/step_place.h"

namespace cadencora::stage {

Result<> Document::run(const std::vector<Step>& steps) {
    if (isBusy()) return Problem{"a command is under way", name(), {}};
    ScriptedUser script;
    script.lookAt(scene());
    for (PanelModel& panel : host_.panels().panels())
        if (panel.state == PanelState::floating) script.showFloating(panel);
    Result<> ran = done();
    std::size_t taken = 0;
    {
        const SwitchableUser::Turn turn(user_, script);
        for (const Step& step : steps) {
            if (step.isStart) continue; // the plug-in has started
            ran = runStep(step, script);
            if (!ran) break;
            ++taken;
        }
    }
    if (ran && taken != 1) news_ = "ran " + std::to_string(taken) + " steps; the last: " + news_;
    emit changed(Change::keys | Change::range | Change::selection | Change::time);
    emit controlsChanged();
    return ran;
}

// One step as one edit. After a Problem the scene is as before the step.
Result<> Document::runStep(const Step& step, ScriptedUser& script) {
    if (auto there = goToStep(host_.mutableScene(), step); !there) return there;
    host_.refreshRecords();
    Result<> performed = done();
    command_ = step.press;
    const ChangeReport report = edit(step.press, [&] {
        performed = script.perform(step);
        failed_ = !performed || script.sawError() || !step.keep;
    });
    std::vector<Problem> problems = host_.takeProblems();
    if (!step.keep && performed) return done(); // whatever it said, it was taken back
    if (!performed) return performed;
    if (!problems.empty()) return problems.front();
    if (script.sawError()) {
        Problem problem{"the plug-in reported an error", step.press, {}};
        for (const Message& message : script.messages())
            if (message.kind == MessageKind::error)
                for (const std::string& line : message.lines)
                    problem.detail += (problem.detail.empty() ? "" : " ") + line;
        return problem;
    }
    recorder_.add(step, !report.empty(), scene());
    finishEdit(step.press, report);
    return done();
}

} // namespace cadencora::stage
