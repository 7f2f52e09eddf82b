// File and directory fields with a picker, and buttons that load or save a file.

#include "stage/desktop/panels/control_view.h"
#include "stage/desktop/widgets/typed_field.h"
#include "stage/panels/actions.h"
#include "stage/panels/labels.h"

#include <QFileDialog>
#include <QPushButton>
#include <QToolButton>

namespace cadencora::stage {

namespace {

// The path that the user picks for a control; empty: none.
QString pickPath(const ControlModel& model, QWidget* parent) {
    const QString pattern = qtText(model.pattern);
    QFileDialog picker(parent, qtText(shownLabel(model)));
    if (model.type == ControlType::directory) {
        picker.setFileMode(QFileDialog::Directory);
        picker.setOption(QFileDialog::ShowDirsOnly);
    } else {
        const bool saves = model.type == ControlType::saveButton;
        // A file field may name one that is still to be written.
        picker.setFileMode(model.type == ControlType::loadButton ? QFileDialog::ExistingFile
                                                                 : QFileDialog::AnyFile);
        if (model.type == ControlType::file)
            picker.setLabelText(QFileDialog::Accept, QStringLiteral("Choose"));
        picker.setAcceptMode(saves ? QFileDialog::AcceptSave : QFileDialog::AcceptOpen);
        if (!pattern.isEmpty()) {
            picker.setNameFilters({pattern, QStringLiteral("*")});
            if (saves && pattern.startsWith(QLatin1String("*.")))
                picker.setDefaultSuffix(pattern.mid(2));
        }
    }
    if (!model.text.empty()) picker.selectFile(qtText(model.text));
    if (picker.exec() != QDialog::Accepted || picker.selectedFiles().isEmpty()) return {};
    return picker.selectedFiles().first();
}

class PathFieldView : public ControlView {
public:
    PathFieldView(ControlModel& model, const PanelContext& context, QWidget* parent)
        : ControlView(model, context, parent),
          field_(new TypedField([this](const std::string& text) { return choose(text); }, this)),
          pick_(new QToolButton(this)) {
        pick_->setText(QStringLiteral("…"));
        pick_->setToolTip(model.type == ControlType::directory ? QStringLiteral("Pick a folder")
                                                               : QStringLiteral("Pick a file"));
        setFocusProxy(field_);
        connect(pick_, &QToolButton::clicked, this, [this] {
            const QString path = pickPath(model_, window());
            if (path.isEmpty()) return;
            (void)choose(path.toStdString());
            showValue();
        });
    }
    bool settle() override { return field_->settleOrStay(); }
    bool isTextField() const override { return true; }
    void startTyping() override {
        field_->setFocus();
        field_->selectAll();
    }

private:
    Result<> choose(const std::string& path) {
        return use([&](ControlModel& control) { return choosePath(control, path); });
    }
    void showValue() override {
        field_->showText(qtText(model_.text));
        field_->setPlaceholderText(qtText(model_.pattern));
    }
    void place() override {
        QRect box = besideLabel();
        pick_->setGeometry(box.right() + 1 - height(), 0, height(), height());
        box.setWidth(box.width() - height());
        field_->setGeometry(box);
    }

    TypedField* field_;
    QToolButton* pick_;
};

class PathButtonView : public ControlView {
public:
    PathButtonView(ControlModel& model, const PanelContext& context, QWidget* parent)
        : ControlView(model, context, parent), button_(new QPushButton(buttonText(model), this)) {
        button_->setAutoDefault(false);
        setFocusProxy(button_);
        connect(button_, &QPushButton::clicked, this, [this] {
            const QString path = pickPath(model_, window());
            if (path.isEmpty()) return;
            (void)use(
                [&](ControlModel& control) { return choosePath(control, path.toStdString()); });
        });
    }

private:
    void showValue() override {}
    void place() override { button_->setGeometry(rect()); }

    QPushButton* button_;
};

} // namespace

ControlView* makePathField(ControlModel& model, const PanelContext& context, QWidget* parent) {
    return new PathFieldView(model, context, parent);
}

ControlView* makePathButton(ControlModel& model, const PanelContext& context, QWidget* parent) {
    return new PathButtonView(model, context, parent);
}

} // namespace cadencora::stage
