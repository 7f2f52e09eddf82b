// The desktop for tests: a main window without a display, a scene in it, the loaded plug-in, and a
// hand that acts in the dialogs that open.
#pragma once

#include "stage/desktop/app/main_window.h"
#include "stage/formats/registry.h"
#include "tests/desktop/some_scene.h"
#include "tests/desktop/windows.h"

#include <QApplication>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QFileInfo>
#include <QLineEdit>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>
#include <QTreeWidget>
#include <QWheelEvent>

#include <deque>
#include <gtest/gtest.h>

namespace cadencora::stage {

inline void click(QWidget* widget, QPoint at = {}) {
    ASSERT_NE(widget, nullptr);
    QTest::mouseClick(widget, Qt::LeftButton, {}, at);
}

// Types over what a field holds.
inline void type(QLineEdit* field, const QString& text) {
    ASSERT_NE(field, nullptr);
    field->setFocus();
    field->selectAll();
    QTest::keyClicks(field, text);
}

// The part of a control of a panel or dialog that has a label; the nth of that label.
template <class Part>
Part* part(QWidget& window, const char* label, int nth = 0) {
    const auto controls = window.findChildren<QWidget*>(QString::fromUtf8(label));
    return nth < controls.size() ? controls[nth]->findChild<Part*>() : nullptr;
}

inline void clickYes(QDialog& question) {
    click(dynamic_cast<QMessageBox&>(question).button(QMessageBox::Yes));
}

// A drag as a hand does it. The test library's own moves hold no button down.
inline void drag(QWidget& over, Qt::MouseButton button, const QPoint& from, const QPoint& to,
                 Qt::KeyboardModifiers modifiers = {}) {
    QTest::mousePress(&over, button, modifiers, from);
    for (int step = 1; step <= 4; ++step) {
        const QPointF at(from + (to - from) * step / 4);
        QMouseEvent move(QEvent::MouseMove, at, over.mapToGlobal(at), Qt::NoButton, button,
                         modifiers);
        QApplication::sendEvent(&over, &move);
    }
    QTest::mouseRelease(&over, button, modifiers, to);
}

// One notch of the wheel, away from the user.
inline void turnWheel(QWidget& over, const QPoint& at, Qt::KeyboardModifiers modifiers = {}) {
    QWheelEvent wheel(at, over.mapToGlobal(at), {}, {0, 120}, Qt::NoButton, modifiers,
                      Qt::NoScrollPhase, false);
    QApplication::sendEvent(&over, &wheel);
}

inline void trigger(const QWidget& window, const char* text) {
    if (QAction* entry = findEntry(window, text)) return entry->trigger();
    ADD_FAILURE() << "no entry " << text;
}

inline void clickOk(QWidget& dialog) {
    click(dialog.findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Ok));
}

// Types a file's name into a picker and accepts it. A picker that is still listing its folder goes
// back to the file that it offers, so what it has understood is waited for.
inline void pick(QFileDialog& picker, const QString& path) {
    picker.setDirectory(QFileInfo(path).path());
    EXPECT_TRUE(QTest::qWaitFor([&] {
        type(picker.findChild<QLineEdit*>(QStringLiteral("fileNameEdit")),
             QFileInfo(path).fileName());
        return picker.selectedFiles().value(0).startsWith(path);
    })) << path.toStdString();
    for (const auto which : {QDialogButtonBox::Save, QDialogButtonBox::Open})
        if (auto* accepts = picker.findChild<QDialogButtonBox*>()->button(which)) click(accepts);
}

// Acts in each modal dialog that opens, in the order in which the acts were given. What is given
// within an act is for the dialogs that open within it.
class Hand : public DialogWatcher {
public:
    using Act = std::function<void(QDialog&)>;

    Hand() : acts_(1) {}
    ~Hand() override { checkNoneLeft(); }
    void then(Act act) { acts_.back().push_back(std::move(act)); }

private:
    void checkNoneLeft() {
        EXPECT_TRUE(acts_.back().empty()) << acts_.back().size() << " dialogs did not open";
    }
    void opened(QDialog& dialog) override {
        if (acts_.back().empty()) {
            auto* box = qobject_cast<QMessageBox*>(&dialog);
            ADD_FAILURE() << "unexpected: " << dialog.windowTitle().toStdString() << " "
                          << (box ? box->text().toStdString() + ": " +
                                        box->informativeText().toStdString()
                                  : "");
            return dialog.reject();
        }
        EXPECT_TRUE(QTest::qWaitForWindowActive(&dialog)); // so that the focus is where it belongs
        const Act next = std::move(acts_.back().front());
        acts_.back().pop_front();
        acts_.emplace_back();
        const QPointer<QDialog> acted(&dialog);
        next(dialog);
        checkNoneLeft();
        acts_.pop_back();
        if (!acted || !acted->isVisible()) return;
        ADD_FAILURE() << "left open: " << dialog.windowTitle().toStdString();
        dialog.reject();
    }

    std::vector<std::deque<Act>> acts_; // by depth of dialogs
};

struct Desk {
    QTemporaryDir folder;
    MainWindow window;
    Hand hand;

    explicit Desk(const Scene& scene = someScene()) {
        EXPECT_TRUE(writeScene(scene, file("scene.stage").toStdString()).ok());
        EXPECT_TRUE(window.openFile(file("scene.stage")));
        EXPECT_TRUE(window.startPlugin());
        window.show();
    }
    QString file(const char* name) const { return folder.filePath(QString::fromUtf8(name)); }

    Document& document() { return window.document(); }
    const Scene& scene() { return document().scene(); }
    ItemId item(const char* name) { return scene().findItem(name); }
    void select(const char* name) { document().select({item(name)}); }

    // The only view of a kind in the window.
    template <class View>
    View* view() {
        for (QWidget* widget : window.findChildren<QWidget*>())
            if (auto* found = dynamic_cast<View*>(widget)) return found;
        return nullptr;
    }
    PanelWindow& panel() {
        if (PanelWindow* found = findPanelWindow()) return *found;
        throw std::runtime_error("the plug-in has no panel");
    }
    void press(const char* text) { click(findButton(panel(), text)); }

    std::vector<double> times(const char* name, MotionChannel which) {
        std::vector<double> frames;
        for (auto key = scene().motion(item(name), which).keys.begin(); key; key.advance())
            frames.push_back(scene().rate.frameOf(key.time()));
        return frames;
    }
    std::string news() { return document().news(); }
    void key(Qt::Key key, Qt::KeyboardModifiers modifiers = {}) {
        window.activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
        QTest::keyClick(&window, key, modifiers);
    }
};

} // namespace cadencora::stage
