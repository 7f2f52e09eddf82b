// The scene's items as a tree; what is marked in it is the host's selection, in order.
#pragma once

#include "stage/desktop/document/document.h"

#include <QTreeWidget>

namespace cadencora::stage {

class ItemTree : public QTreeWidget {
public:
    explicit ItemTree(Document& document, QWidget* parent = nullptr);

protected:
    void changeEvent(QEvent* event) override;

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

} // namespace cadencora::stage
