// A plug-in by somebody else in the desktop program.

#include "tests/desktop/desk.h"

#include <QComboBox>
#include <QInputDialog>

namespace cadencora::stage {
namespace {

const QString stranger = QStringLiteral(CADENCORA_BIN_DIR "/modules/stranger.so");

PanelWindow* panelTitled(const char* title) {
    for (QWidget* widget : QApplication::topLevelWidgets())
        if (auto* panel = dynamic_cast<PanelWindow*>(widget);
            panel && panel->windowTitle() == QString::fromUtf8(title))
            return panel;
    return nullptr;
}

struct Guest : Desk {
    std::vector<std::string> said;

    void expectMessages(int count) {
        for (int i = 0; i < count; ++i)
            hand.then([this](QDialog& box) {
                said.push_back(dynamic_cast<QMessageBox&>(box).text().toStdString());
                box.accept();
            });
    }
    void expectStart(const char* offset) {
        hand.then([offset](QDialog& dialog) {
            EXPECT_EQ(dialog.windowTitle(), QStringLiteral("Start"));
            type(part<QLineEdit>(dialog, "Offset"), QString::fromUtf8(offset));
            clickOk(dialog);
        });
        expectMessages(1);
    }
    std::string press(const char* button, int messages = 1) {
        expectMessages(messages);
        PanelWindow* panel = panelTitled("Stranger");
        if (!panel) return "no panel";
        click(findButton(*panel, button));
        return said.empty() ? "nothing" : said.back();
    }
};

TEST(Strangers, start_with_a_dialog_and_an_edit_and_keep_their_panel_over_files) {
    Guest desk;
    desk.expectStart("5");
    ASSERT_TRUE(desk.window.startPlugin(stranger, QStringLiteral("Stranger")));
    EXPECT_EQ(desk.said.back(), "activation 1 with 5");
    ASSERT_NE(desk.document().host().journal().undoName(), nullptr);
    EXPECT_EQ(*desk.document().host().journal().undoName(), "Start of Stranger");
    EXPECT_TRUE(desk.window.isWindowModified());
    desk.document().undo();
    EXPECT_FALSE(desk.window.isWindowModified());
    EXPECT_NE(panelTitled("Cadencora"), nullptr) << "both have their panel";

    EXPECT_EQ(desk.press("Keep"), "made Position.X#2");
    EXPECT_EQ(desk.press("Use"), "kept 0 and 7");
    EXPECT_EQ(desk.press("Temporary"), "copy has 3");
    EXPECT_EQ(*desk.document().host().journal().undoName(), "Keep") << "no step of its own";
    EXPECT_EQ(desk.press("Folder"), "folder " + desk.folder.path().toStdString());
    desk.document().undo();
    EXPECT_EQ(desk.press("Use", 2), "1 problem") << "the channel is gone";
    EXPECT_EQ(desk.said[desk.said.size() - 2], "kept 0 and nothing");
    desk.document().redo();
    EXPECT_EQ(desk.press("Use"), "kept 0 and 7") << "the same handle means the channel again";

    ASSERT_TRUE(desk.window.saveFile(desk.file("scene.stage")));
    desk.expectStart("0");
    ASSERT_TRUE(desk.window.openFile(desk.file("scene.stage")));
    EXPECT_EQ(desk.said.back(), "activation 2 with 0");
    EXPECT_EQ(desk.press("Recall", 2), "1 problem");
    EXPECT_EQ(desk.press("Use", 2), "1 problem");
    EXPECT_EQ(desk.said[desk.said.size() - 2], "kept 0 and nothing")
        << "its own envelope outlives the scene, the scene's does not";
}

TEST(Strangers, have_their_controls_where_they_asked_for_them_and_may_add_more) {
    Guest desk;
    desk.expectStart("0");
    ASSERT_TRUE(desk.window.startPlugin(stranger, QStringLiteral("Stranger")));
    PanelWindow& panel = *panelTitled("Stranger");
    const QPushButton* left = findButton(panel, "Left");
    const QPushButton* right = findButton(panel, "Right");
    EXPECT_EQ(left->x(), right->x());
    EXPECT_GE(right->y(), left->y() + left->height());
    EXPECT_GT(findButton(panel, "Values")->height(), 2 * findButton(panel, "Keep")->height());

    const int buttons = static_cast<int>(panel.findChildren<QPushButton*>().size());
    (void)desk.press("Grow", 0);
    EXPECT_EQ(panel.findChildren<QPushButton*>().size(), buttons + 50);
    EXPECT_EQ(desk.press("Grown 49"), "a grown button");
    desk.hand.then([](QDialog& dialog) {
        click(findButton(dialog, "More"));
        EXPECT_NE(part<QLineEdit>(dialog, "Late 49"), nullptr);
        clickOk(dialog);
    });
    EXPECT_EQ(desk.press("Dialog"), "grown and accepted");

    (void)desk.press("Open second", 0);
    ASSERT_NE(panelTitled("Second"), nullptr);
    desk.expectMessages(1);
    click(findButton(*panelTitled("Second"), "Go", 1));
    EXPECT_EQ(desk.said.back(), "second Go");
    EXPECT_EQ(desk.document().recorder().steps().back().press, "Second/Go#2");
}

TEST(Strangers, with_several_servers_offer_them) {
    Guest desk;
    desk.hand.then([](QDialog& dialog) {
        auto& picker = dynamic_cast<QInputDialog&>(dialog);
        picker.setTextValue(QStringLiteral("Silent"));
        picker.accept();
    });
    ASSERT_TRUE(desk.window.startPlugin(stranger));
    ASSERT_NE(desk.document().host().journal().undoName(), nullptr);
    EXPECT_EQ(*desk.document().host().journal().undoName(), "Start of Silent");
}

} // namespace
} // namespace cadencora::stage
