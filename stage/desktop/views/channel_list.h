// The channels of the selected items beside their curves: hidden by a click on the box, singled out
// by a double click, found by a part of their names.
#pragma once

#include "stage/desktop/views/shown_channels.h"

#include <QWidget>

class QLabel;
class QLineEdit;
class QTreeWidget;
class QTreeWidgetItem;

namespace cadencora::stage {

class ChannelList : public QWidget {
public:
    explicit ChannelList(ShownChannels& channels, QWidget* parent = nullptr);

protected:
    void changeEvent(QEvent* event) override;

private:
    void rebuild();
    void showChoice();
    void filter();
    EnvelopeId curveOf(const QTreeWidgetItem* row) const;

    ShownChannels& channels_;
    QLineEdit* search_;
    QTreeWidget* rows_;
    QLabel* more_;
    std::vector<std::string> names_; // that the rows were made for
};

} // namespace cadencora::stage
