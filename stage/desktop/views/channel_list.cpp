#include "stage/desktop/views/channel_list.h"

#include "stage/desktop/widgets/item_icons.h"
#include "stage/desktop/widgets/qt_text.h"
#include "stage/desktop/widgets/search_field.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QPushButton>
#include <QSignalBlocker>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace cadencora::stage {

namespace {

QIcon swatch(const QColor& colour) {
    QPixmap picture(14, 14);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    painter.fillRect(QRect(0, 5, 14, 4), colour);
    return picture;
}

} // namespace

ChannelList::ChannelList(ShownChannels& channels, QWidget* parent)
    : QWidget(parent), channels_(channels), search_(new SearchField(tr("Search channels"))),
      rows_(new QTreeWidget), more_(new QLabel) {
    connect(search_, &QLineEdit::textChanged, this, &ChannelList::filter);
    auto* all = new QPushButton(tr("All"));
    all->setToolTip(tr("Show all curves"));
    all->setFocusPolicy(Qt::NoFocus);
    connect(all, &QPushButton::clicked, &channels, &ShownChannels::setAllVisible);

    rows_->setObjectName(QStringLiteral("channels"));
    rows_->setHeaderHidden(true);
    rows_->setTextElideMode(Qt::ElideLeft); // what tells channels apart is at the end
    rows_->setRootIsDecorated(false);
    rows_->setUniformRowHeights(true);
    rows_->setToolTip(tr("A click shows tangents, a double click singles a curve out"));
    connect(rows_, &QTreeWidget::itemChanged, this, [this](const QTreeWidgetItem* row) {
        channels_.setVisible(curveOf(row), row->checkState(0) == Qt::Checked);
    });
    connect(rows_, &QTreeWidget::currentItemChanged, this, [this](const QTreeWidgetItem* row) {
        if (row) channels_.setCurrent(curveOf(row));
    });
    connect(rows_, &QTreeWidget::itemDoubleClicked, this,
            [this](const QTreeWidgetItem* row) { channels_.singleOut(curveOf(row)); });

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(2, 2, 2, 2);
    layout->setSpacing(2);
    auto* head = new QHBoxLayout;
    head->addWidget(search_, 1);
    head->addWidget(all);
    layout->addLayout(head);
    layout->addWidget(rows_, 1);
    layout->addWidget(more_);
    connect(&channels, &ShownChannels::curvesChanged, this, &ChannelList::rebuild);
    connect(&channels, &ShownChannels::choiceChanged, this, &ChannelList::showChoice);
    rebuild();
}

EnvelopeId ChannelList::curveOf(const QTreeWidgetItem* row) const {
    return channels_
        .all()[static_cast<std::size_t>(
            rows_->indexOfTopLevelItem(const_cast<QTreeWidgetItem*>(row)))]
        .envelope;
}

// A command leaves the rows where the channels are the same.
void ChannelList::rebuild() {
    std::vector<std::string> names;
    for (const ShownCurve& curve : channels_.all())
        names.push_back(curve.name);
    if (names != names_ || rows_->topLevelItemCount() != static_cast<int>(names.size())) {
        const QSignalBlocker quiet(rows_);
        names_ = std::move(names);
        rows_->clear();
        QList<QTreeWidgetItem*> rows;
        for (const ShownCurve& curve : channels_.all()) {
            auto* row = new QTreeWidgetItem({qtText(curve.name)});
            row->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsUserCheckable);
            row->setIcon(0, swatch(curveColour(curve, isDark(palette()))));
            row->setToolTip(0, qtText(curve.name));
            rows << row;
        }
        rows_->addTopLevelItems(rows);
    }
    more_->setVisible(channels_.leftOut() > 0);
    more_->setText(tr("and %1 more that are not drawn").arg(channels_.leftOut()));
    showChoice();
    filter();
}

void ChannelList::showChoice() {
    const QSignalBlocker quiet(rows_);
    for (int i = 0; i < rows_->topLevelItemCount(); ++i) {
        QTreeWidgetItem* row = rows_->topLevelItem(i);
        const EnvelopeId curve = curveOf(row);
        row->setCheckState(0, channels_.isVisible(curve) ? Qt::Checked : Qt::Unchecked);
        if (curve == channels_.current()) rows_->setCurrentItem(row);
    }
    if (channels_.current() == EnvelopeId::none) rows_->setCurrentItem(nullptr);
}

void ChannelList::filter() {
    const QString wanted = search_->text();
    for (int i = 0; i < rows_->topLevelItemCount(); ++i) {
        QTreeWidgetItem* row = rows_->topLevelItem(i);
        row->setHidden(!row->text(0).contains(wanted, Qt::CaseInsensitive));
    }
}

void ChannelList::changeEvent(QEvent* event) {
    if (event->type() == QEvent::PaletteChange) {
        names_.clear();
        rows_->clear();
        rebuild();
    }
    QWidget::changeEvent(event);
}

} // namespace cadencora::stage
