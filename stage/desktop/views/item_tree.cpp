#include "stage/desktop/views/item_tree.h"

#include "stage/desktop/drawing/selection_order.h"
#include "stage/desktop/widgets/item_icons.h"
#include "stage/desktop/widgets/search_field.h"

#include <QEvent>
#include <QHeaderView>
#include <QKeyEvent>
#include <QSignalBlocker>
#include <QVBoxLayout>

#include <algorithm>

namespace cadencora::stage {

namespace {

constexpr int numberRole = Qt::UserRole; // the item's number from 0
constexpr std::size_t mostExpanded = 2000;

} // namespace

ItemTree::ItemTree(Document& document, QWidget* parent) : QTreeWidget(parent), document_(document) {
    setObjectName(QStringLiteral("tree"));
    setHeaderHidden(true);
    setSelectionMode(QAbstractItemView::ExtendedSelection);
    setUniformRowHeights(true);
    setIndentation(fontMetrics().height()); // skeletons are deep
    connect(this, &QTreeWidget::itemSelectionChanged, this, &ItemTree::takeSelection);
    connect(&document, &Document::changed, this, [this](Changes what) {
        if (what.testFlag(Change::scene)) rebuild();
        if (what & (Changes(Change::scene) | Change::selection)) markSelection();
    });
    rebuild();
    markSelection();
}

void ItemTree::rebuild() {
    const QSignalBlocker quiet(this);
    const Scene& scene = document_.scene();
    clear();
    rows_.clear();
    QList<QTreeWidgetItem*> top;
    for (std::size_t i = 0; i < scene.itemCount(); ++i) { // parents come before their children
        const Item& item = scene.item(Scene::itemAt(i));
        auto* row = new QTreeWidgetItem;
        row->setText(0, QString::fromStdString(item.name));
        row->setData(0, numberRole, static_cast<qulonglong>(i));
        if (item.parent == ItemId::none)
            top.push_back(row);
        else
            rows_[Scene::positionOf(item.parent)]->addChild(row);
        rows_.push_back(row);
    }
    addTopLevelItems(top);
    setIcons();
    if (rows_.size() <= mostExpanded) expandAll();
    header()->setMinimumSectionSize(sizeHintForColumn(0)); // scrolls where names are long
}

void ItemTree::setIcons() {
    std::array<QIcon, itemTypes.size()> icons;
    for (const ItemType type : itemTypes)
        icons[static_cast<std::size_t>(type)] = itemIcon(type, palette());
    for (std::size_t i = 0; i < rows_.size(); ++i) {
        const ItemType type = document_.scene().item(Scene::itemAt(i)).type;
        rows_[i]->setIcon(0, icons[static_cast<std::size_t>(type)]);
    }
}

// The marked rows below one, and below those.
void ItemTree::markRows(QTreeWidgetItem& above, const std::vector<bool>& marked,
                        QItemSelection& rows) const {
    const auto isMarked = [&](int i) {
        return i < above.childCount() &&
               marked[static_cast<std::size_t>(above.child(i)->data(0, numberRole).toULongLong())];
    };
    for (int i = 0; i < above.childCount(); ++i) {
        markRows(*above.child(i), marked, rows);
        if (!isMarked(i) || (i > 0 && isMarked(i - 1))) continue;
        int last = i;
        while (isMarked(last + 1))
            ++last;
        rows.append(
            QItemSelectionRange(indexFromItem(above.child(i)), indexFromItem(above.child(last))));
    }
}

void ItemTree::markSelection() {
    const QSignalBlocker quiet(this);
    const auto& selection = document_.scene().selection;
    std::vector<bool> marked(rows_.size(), false);
    for (const ItemId item : selection)
        marked[Scene::positionOf(item)] = true;
    // In one go, neighbours together: row by row, a selection takes quadratic time.
    QItemSelection rows;
    markRows(*invisibleRootItem(), marked, rows);
    selectionModel()->select(rows, QItemSelectionModel::ClearAndSelect);
    viewport()->update(); // the selection model told nobody
    if (selection.empty()) return;
    QTreeWidgetItem* last = rows_[Scene::positionOf(selection.back())];
    setCurrentItem(last, 0, QItemSelectionModel::NoUpdate); // where keys go on from
    scrollToItem(last);
}

void ItemTree::takeSelection() {
    std::vector<ItemId> marked;
    for (const QTreeWidgetItem* row : selectedItems())
        marked.push_back(
            Scene::itemAt(static_cast<std::size_t>(row->data(0, numberRole).toULongLong())));
    std::ranges::sort(marked);
    document_.select(inOrderOfSelection(document_.scene().selection, marked));
    if (document_.isBusy()) markSelection(); // a command is at work on what was selected
}

void ItemTree::filter(const QString& wanted) {
    // Children come after their parents, so that a parent learns of all that is below it.
    std::vector<bool> shown(rows_.size());
    for (std::size_t i = rows_.size(); i-- > 0;) {
        shown[i] = shown[i] || rows_[i]->text(0).contains(wanted, Qt::CaseInsensitive);
        const ItemId parent = document_.scene().item(Scene::itemAt(i)).parent;
        if (shown[i] && parent != ItemId::none) shown[Scene::positionOf(parent)] = true;
        rows_[i]->setHidden(!shown[i]);
    }
}

// Keys that move in the tree are its own while it has the focus, not the time's.
bool ItemTree::event(QEvent* event) {
    if (event->type() == QEvent::ShortcutOverride) {
        const auto* key = static_cast<QKeyEvent*>(event);
        constexpr std::array own{Qt::Key_Left, Qt::Key_Right, Qt::Key_Up,
                                 Qt::Key_Down, Qt::Key_Home,  Qt::Key_End};
        const bool isPlain = !(key->modifiers() & (Qt::ControlModifier | Qt::AltModifier));
        if (isPlain && std::ranges::find(own, key->key()) != own.end()) {
            event->accept();
            return true;
        }
    }
    return QTreeWidget::event(event);
}

QWidget* withSearch(ItemTree* tree) {
    auto* box = new QWidget;
    auto* search = new SearchField(ItemTree::tr("Search items"));
    QObject::connect(search, &QLineEdit::textChanged, tree, &ItemTree::filter);
    auto* column = new QVBoxLayout(box);
    column->setContentsMargins(2, 2, 2, 2);
    column->setSpacing(2);
    column->addWidget(search);
    column->addWidget(tree);
    return box;
}

void ItemTree::changeEvent(QEvent* event) {
    if (event->type() == QEvent::PaletteChange) setIcons();
    QTreeWidget::changeEvent(event);
}

} // namespace cadencora::stage
