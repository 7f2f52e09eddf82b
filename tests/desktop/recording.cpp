// What was done at the desktop, and a script that does it again: the same bytes, or a mark.

#include "stage/desktop/document/document.h"
#include "stage/formats/registry.h"
#include "stage/panels/actions.h"
#include "stage/panels/labels.h"
#include "stage/user/recipe.h"
#include "tests/desktop/some_scene.h"
#include "tests/stage/cli/program.h"
#include "tests/test_folder.h"

#include <gtest/gtest.h>
#include <random>

namespace cadencora::stage {
namespace {

// Does in the dialogs what comes to its mind.
class Impulsive : public FrontEnd {
public:
    std::mt19937 random;
    Document* document = nullptr;
    std::filesystem::path folder;
    PanelModel* main = nullptr;

    const TextMetrics& metrics() const override { return metrics_; }
    int displayWidth() const override { return 1920; }
    int displayHeight() const override { return 1080; }
    void showFloating(PanelModel& panel) override { main = &panel; }
    void panelClosed(PanelModel&) override {}
    void panelDestroyed(PanelModel&) override {}
    void show(const Message& message) override {
        if (message.kind == MessageKind::error) document->countError();
    }
    bool ask(const Message&) override {
        const bool yes = one(4) > 0;
        document->recorder().answered(yes);
        return yes;
    }
    bool runModal(PanelModel& panel) override {
        document->recorder().dialogOpened(panel, document->scene());
        for (int i = one(6); i > 0; --i)
            touch(*panel.controls[static_cast<std::size_t>(one(panel.controls.size()))]);
        const bool accepted = one(6) > 0;
        document->recorder().dialogClosed(panel, accepted, document->scene());
        return accepted;
    }
    int one(std::size_t of) { return static_cast<int>(random() % of); }

private:
    void touch(ControlModel& control) {
        (void)document->use(control, [this](ControlModel& c) -> Result<> {
            switch (c.type) {
            case ControlType::slider:
                return setInteger(c, c.minimum + one(static_cast<std::size_t>(
                                                     std::max(c.maximum - c.minimum, 0) + 1)));
            case ControlType::toggle:
                return setInteger(c, one(2));
            case ControlType::choice:
                return setInteger(c, one(c.choices.size()));
            case ControlType::integer:
                return setInteger(c, 1 + one(5));
            case ControlType::number:
                return setNumber(c, one(9) * 0.25);
            case ControlType::listBox: {
                const int rows = listRowCount(c);
                return rows ? setInteger(c, one(static_cast<std::size_t>(rows))) : done();
            }
            case ControlType::item: {
                const auto count = document->scene().itemCount();
                return chooseItem(c, static_cast<ItemId>(one(count + 1)));
            }
            case ControlType::button:
                return stage::press(c);
            case ControlType::loadButton: {
                const char* names[] = {"some.lw_channels", "some.lw_items", "missing"};
                return choosePath(c, folder / names[one(3)]);
            }
            case ControlType::saveButton:
                return choosePath(c, folder / "saved.set");
            default:
                return done();
            }
        });
    }

    FixedMetrics metrics_;
};

// The commands that draw random numbers draw others when they are repeated; those with clips and
// poses leave files behind, which a second run would find.
const char* const repeatable[] = {"Cycle (Bake) Keys",
                                  "Destroy Keys",
                                  "Defractionalize",
                                  "MoveRotateScale",
                                  "Node-to-Node Frame Copy",
                                  "Node-to-Node Motion Copy",
                                  "Dissolve",
                                  "UnDissolve",
                                  "Key All Morphs",
                                  "UnKey All Morphs",
                                  "Reset All Morphs"};

TEST(Recording, is_repeated_to_the_byte_or_marked) {
    const auto folder = testFolder();
    const auto input = folder / "scene.stage";
    ASSERT_TRUE(writeScene(someScene(), input).ok());
    std::ofstream(folder / "some.lw_channels") << "Position.X\nScale.Y\n";
    std::ofstream(folder / "some.lw_items") << "Hips\nBox\n";
    int marked = 0, edited = 0;
    constexpr int sequences = 300;
    for (unsigned run = 0; run < sequences; ++run) {
        SCOPED_TRACE(run);
        Impulsive user;
        user.random.seed(run);
        user.folder = folder;
        Document document(user);
        user.document = &document;
        auto loaded = readScene(input);
        ASSERT_TRUE(loaded.ok());
        ASSERT_TRUE(document.show(std::move(loaded.value()), input).ok());
        auto module = document.openPlugin(CADENCORA_BIN_DIR "/cadencora.so");
        ASSERT_TRUE(module.ok() && document.startPlugin(**module).ok());
        for (int i = 0; i < 8; ++i) {
            const auto items = document.scene().itemCount();
            switch (user.one(7)) {
            case 0:
                document.select({Scene::itemAt(static_cast<std::size_t>(user.one(items)))});
                break;
            case 1:
                document.setTime(user.one(50) / 37.0);
                break;
            case 2:
                document.setPreview(user.one(10), 20 + user.one(60));
                break;
            case 3:
                user.one(2) ? document.undo() : document.redo();
                break;
            default: {
                auto button = findControl({user.main}, repeatable[user.one(std::size(repeatable))]);
                ASSERT_TRUE(button.ok());
                button.value()->drawn = true; // whichever tab is up
                (void)document.use(**button, &press);
            }
            }
        }
        edited += document.isModified();
        const auto recorded = document.recorder().recorded();
        if (std::ranges::any_of(recorded, [](const auto& r) { return !r.shortfall.empty(); })) {
            ++marked;
            continue;
        }
        if (recorded.empty()) continue;
        const auto there = folder / "there.stage", again = folder / "again.stage";
        const auto recipe = folder / "steps.recipe";
        ASSERT_TRUE(saveRecipe(recipe, {document.recorder().steps(), {}}).ok());
        const auto result = runProgramFile(
            {"run", input.string(), "--recipe", recipe.string(), "-o", again.string()},
            folder / "errors");
        ASSERT_EQ(result.status, 0) << result.errors << result.output << fileText(recipe);
        auto replayed = readScene(again);
        ASSERT_TRUE(replayed.ok());
        // Selection, time and preview range as the user left them after the last step are no
        // step's.
        document.select(replayed->scene.selection);
        document.setTime(replayed->scene.currentTime);
        document.setPreview(replayed->scene.previewFirst, replayed->scene.previewLast);
        ASSERT_TRUE(writeScene(document.scene(), there).ok());
        ASSERT_EQ(fileText(there), fileText(again)) << fileText(recipe);
    }
    EXPECT_LT(marked, sequences / 3);
    EXPECT_GT(edited, sequences / 3);
}

} // namespace
} // namespace cadencora::stage
