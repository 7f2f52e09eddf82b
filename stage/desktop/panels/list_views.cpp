// List boxes, whose rows the plug-in names, and lists of the scene's items.

#include "stage/desktop/panels/control_view.h"
#include "stage/desktop/widgets/item_icons.h"
#include "stage/panels/actions.h"
#include "stage/panels/labels.h"

#include <QComboBox>
#include <QLabel>
#include <QListWidget>
#include <QSignalBlocker>

namespace cadencora::stage {

namespace {

// Without a chosen row, the focus chooses none.
class Rows : public QListWidget {
public:
    using QListWidget::QListWidget;

private:
    void focusInEvent(QFocusEvent* event) override {
        const bool hadNone = currentRow() < 0;
        const QSignalBlocker quiet(this);
        QListWidget::focusInEvent(event);
        if (hadNone) setCurrentItem(nullptr);
    }
};

class ListBoxView : public ControlView {
public:
    ListBoxView(ControlModel& model, const PanelContext& context, QWidget* parent)
        : ControlView(model, context, parent), title_(new QLabel(this)), rows_(new Rows(this)),
          titleHeight_(context.metrics.toScreen(context.metrics.lineHeight() + 2)) {
        title_->setTextFormat(Qt::PlainText);
        title_->setText(qtText(shownLabel(model)));
        rows_->setUniformItemSizes(true);
        rows_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
        rows_->setTextElideMode(Qt::ElideMiddle);
        setFocusProxy(rows_);
        connect(rows_, &QListWidget::currentRowChanged, this, &ListBoxView::choose);
        // A click on the row that has the frame already, but not the mark.
        connect(rows_, &QListWidget::itemClicked, this,
                [this](QListWidgetItem* item) { choose(rows_->row(item)); });
    }

private:
    void choose(int row) {
        if (row == model_.integer) return;
        (void)use([row](ControlModel& control) { return setInteger(control, row); });
        markRow();
    }
    void markRow() {
        const QSignalBlocker quiet(rows_);
        if (model_.integer >= 0 && model_.integer < rows_->count())
            rows_->setCurrentRow(model_.integer);
        else
            rows_->setCurrentItem(nullptr);
    }
    void showValue() override {
        const QSignalBlocker quiet(rows_);
        rows_->clear();
        const int count = listRowCount(model_);
        QString title = qtText(shownLabel(model_));
        if (count > mostListRows)
            title += QStringLiteral(" (the first %1 of %2)").arg(mostListRows).arg(count);
        title_->setText(title);
        for (const std::string& row : listRows(model_))
            rows_->addItem(qtText(row));
        markRow();
    }
    void place() override {
        title_->setGeometry(0, 0, width(), titleHeight_);
        rows_->setGeometry(0, titleHeight_, width(), height() - titleHeight_);
    }

    QLabel* title_;
    QListWidget* rows_;
    int titleHeight_;
};

class ItemListView : public ControlView {
public:
    ItemListView(ControlModel& model, const PanelContext& context, QWidget* parent)
        : ControlView(model, context, parent), items_(new QComboBox(this)) {
        setFocusProxy(items_);
        items_->addItem(QStringLiteral("(none)"));
        for (std::size_t i = 0; i < scene().itemCount(); ++i) {
            const Item& item = scene().item(Scene::itemAt(i));
            items_->addItem(itemIcon(item.type, palette()), qtText(item.name));
        }
        items_->setMaxVisibleItems(24);
        connect(items_, &QComboBox::activated, this, [this](int row) {
            const ItemId item =
                row == 0 ? ItemId::none : Scene::itemAt(static_cast<std::size_t>(row) - 1);
            (void)use([item](ControlModel& control) { return chooseItem(control, item); });
        });
    }

private:
    void showValue() override { items_->setCurrentIndex(static_cast<int>(model_.item)); }
    void place() override { items_->setGeometry(besideLabel()); }

    QComboBox* items_; // row 0: none; the others by their number
};

} // namespace

ControlView* makeListBox(ControlModel& model, const PanelContext& context, QWidget* parent) {
    return new ListBoxView(model, context, parent);
}

ControlView* makeItemList(ControlModel& model, const PanelContext& context, QWidget* parent) {
    return new ItemListView(model, context, parent);
}

} // namespace cadencora::stage
