// The scene's items as a tree; what is marked in it is the host's selection, in order.
#pragma once

#include "stage/desktop/document/document.h"

#include <QTreeWidget>

namespace cadencora::stage {

class ItemTree : public QTreeWidget {
public:
    explicit ItemTree(Document& document, QWidget* parent = nullptr);

    // Shows the items whose names hold a text, and those above them.
    void filter(const QString& wanted);

protected:
    void changeEvent(QEvent* event) override;
    bool event(QEvent* event) override;

private:
    void rebuild();
    void markSelection();
    void markRows(QTreeWidgetItem& above, const std::vector<bool>& marked,
                  QItemSelection& rows) const;
    void takeSelection();
    void setIcons();

    Document& document_;
    std::vector<QTreeWidgetItem*> rows_; // by the item's number from 0
};

// The tree below a field that searches it.
QWidget* withSearch(ItemTree* tree);

} // namespace cadencora::stage
