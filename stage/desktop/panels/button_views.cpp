// Buttons, toggles, rows of choices and tabs.

#include "stage/desktop/panels/control_view.h"
#include "stage/panels/actions.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QProxyStyle>
#include <QPushButton>
#include <QSettings>
#include <QSignalBlocker>
#include <QTabBar>
#include <QTimer>

namespace cadencora::stage {

namespace {

class ButtonView : public ControlView {
public:
    ButtonView(ControlModel& model, const PanelContext& context, QWidget* parent)
        : ControlView(model, context, parent), button_(new QPushButton(buttonText(model), this)) {
        button_->setAutoDefault(false); // Return accepts the dialog
        setFocusProxy(button_);
        connect(button_, &QPushButton::clicked, this, [this] { (void)use(&press); });
    }

private:
    void showValue() override {}
    void place() override { button_->setGeometry(rect()); }

    QPushButton* button_;
};

class ToggleView : public ControlView {
public:
    ToggleView(ControlModel& model, const PanelContext& context, QWidget* parent)
        : ControlView(model, context, parent), box_(new QCheckBox(buttonText(model), this)) {
        setFocusProxy(box_);
        connect(box_, &QCheckBox::clicked, this, [this](bool on) {
            (void)use([on](ControlModel& control) { return setInteger(control, on ? 1 : 0); });
        });
    }

private:
    void showValue() override { box_->setChecked(model_.integer != 0); }
    void place() override { box_->setGeometry(rect()); }

    QCheckBox* box_;
};

// One of several, side by side or one below the other, all to be seen at once.
class ChoiceView : public ControlView {
public:
    ChoiceView(ControlModel& model, const PanelContext& context, QWidget* parent)
        : ControlView(model, context, parent) {
        for (const std::string& choice : model.choices) {
            auto* button = new QPushButton(withoutShortcut(qtText(choice)), this);
            button->setCheckable(true);
            button->setAutoDefault(false);
            choices_.addButton(button, static_cast<int>(choices_.buttons().size()));
            widths_.push_back(context.metrics.width(choice));
        }
        connect(&choices_, &QButtonGroup::idClicked, this, [this](int choice) {
            (void)use([choice](ControlModel& control) { return setInteger(control, choice); });
            showValue();
        });
    }

private:
    void showValue() override {
        choices_.setExclusive(false); // so that none may be chosen
        for (QAbstractButton* button : choices_.buttons()) {
            const bool isChosen = choices_.id(button) == model_.integer;
            button->setChecked(isChosen);
            QPalette colours;
            if (isChosen) {
                colours.setColor(QPalette::Button, colours.color(QPalette::Highlight));
                colours.setColor(QPalette::ButtonText, colours.color(QPalette::HighlightedText));
            }
            button->setPalette(colours);
        }
        choices_.setExclusive(true);
        setFocusProxy(choices_.checkedButton());
    }
    // Each gets its text's width and an equal part of what is left.
    void place() override {
        const QRect box = besideLabel();
        if (model_.isVertical) {
            const int rows = static_cast<int>(widths_.size());
            for (int i = 0; i < rows; ++i) {
                const int top = height() * i / rows;
                choices_.button(i)->setGeometry(box.left(), top, box.width(),
                                                height() * (i + 1) / rows - top);
            }
            return;
        }
        int text = 0;
        for (const int width : widths_)
            text += width;
        const int count = static_cast<int>(widths_.size());
        const int unit = text + 16 * count; // as the model measures it
        int before = 0;
        for (int i = 0; i < count; ++i) {
            const int after = before + widths_[static_cast<std::size_t>(i)] + 16;
            const int left = box.left() + box.width() * before / unit;
            choices_.button(i)->setGeometry(left, 0, box.left() + box.width() * after / unit - left,
                                            height());
            before = after;
        }
    }

    QButtonGroup choices_;
    std::vector<int> widths_; // of the texts, in panel pixels
};

// Tabs as narrow as the model makes them.
class NarrowTabs : public QProxyStyle {
    int pixelMetric(PixelMetric metric, const QStyleOption* option,
                    const QWidget* widget) const override {
        constexpr int margins = 10; // both sides of a tab's text
        return metric == PM_TabBarTabHSpace ? margins
                                            : QProxyStyle::pixelMetric(metric, option, widget);
    }
};

class TabsView : public ControlView {
public:
    TabsView(ControlModel& model, const PanelContext& context, QWidget* parent)
        : ControlView(model, context, parent), tabs_(new QTabBar(this)) {
        auto* style = new NarrowTabs;
        style->setParent(tabs_);
        tabs_->setStyle(style);
        tabs_->setUsesScrollButtons(false);
        tabs_->setElideMode(Qt::ElideNone);
        tabs_->setExpanding(true);
        const QSignalBlocker quiet(tabs_);
        for (const std::string& choice : model.choices)
            tabs_->addTab(withoutShortcut(qtText(choice)));
        setFocusProxy(tabs_);
        connect(tabs_, &QTabBar::currentChanged, this, [this](int tab) {
            QSettings().setValue(placeKey(), tab);
            (void)use([tab](ControlModel& control) { return setInteger(control, tab); });
        });
        // A panel that is opened anew, as for another scene, shows the tab that the user left. Its
        // opening is over then.
        const QVariant left = QSettings().value(placeKey());
        if (left.isValid()) QTimer::singleShot(0, this, [this, left] { restore(left.toInt()); });
    }

private:
    QString placeKey() const {
        return QStringLiteral("tabs/%1").arg(
            qtText(model_.panel->title).replace(QLatin1Char('/'), QLatin1Char(' ')));
    }
    void restore(int tab) {
        if (model_.panel->state != PanelState::floating || document().isBusy()) return;
        if (tab < tabs_->count()) tabs_->setCurrentIndex(tab); // as by a click
    }
    void showValue() override {
        const QSignalBlocker quiet(tabs_);
        tabs_->setCurrentIndex(model_.integer);
    }
    void place() override { tabs_->setGeometry(rect()); }

    QTabBar* tabs_;
};

} // namespace

ControlView* makeButton(ControlModel& model, const PanelContext& context, QWidget* parent) {
    return new ButtonView(model, context, parent);
}

ControlView* makeToggle(ControlModel& model, const PanelContext& context, QWidget* parent) {
    return new ToggleView(model, context, parent);
}

ControlView* makeChoice(ControlModel& model, const PanelContext& context, QWidget* parent) {
    return new ChoiceView(model, context, parent);
}

ControlView* makeTabs(ControlModel& model, const PanelContext& context, QWidget* parent) {
    return new TabsView(model, context, parent);
}

} // namespace cadencora::stage
