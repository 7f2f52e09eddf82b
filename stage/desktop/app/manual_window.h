// The manual in a window, page by page.
#pragma once

#include <QWidget>

class QTextBrowser;

namespace cadencora::stage {

class ManualWindow : public QWidget {
public:
    explicit ManualWindow(QWidget* parent);

    void show(const QString& page); // "desktop.md", within the manual

private:
    QTextBrowser* text_;
};

} // namespace cadencora::stage
