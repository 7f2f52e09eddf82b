// Presets: single steps under names of their own, by the button that they press, kept from one
// start of the program to the next.
#pragma once

#include "stage/desktop/document/document.h"

#include <QDir>
#include <QWidget>

class QTreeWidget;

namespace cadencora::stage {

class PresetList : public QWidget {
public:
    explicit PresetList(Document& document, QWidget* parent = nullptr);

    void askName(const Step& step); // and keep it
    bool keep(const Step& step, const QString& name);

private:
    void showPresets();
    void run();
    void remove();
    QString currentFile() const; // empty: none

    Document& document_;
    QDir folder_;
    QTreeWidget* rows_;
};

} // namespace cadencora::stage
