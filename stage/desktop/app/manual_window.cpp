#include "stage/desktop/app/manual_window.h"

#include "stage/desktop/app/shared_files.h"

#include <QDesktopServices>
#include <QPushButton>
#include <QTextBrowser>
#include <QVBoxLayout>

namespace cadencora::stage {

namespace {

// Links that lead out of the manual open elsewhere; pictures are made to fit.
class Pages : public QTextBrowser {
    void doSetSource(const QUrl& url, QTextDocument::ResourceType type) override {
        if (url.scheme().isEmpty() || url.isLocalFile())
            QTextBrowser::doSetSource(url, type);
        else
            QDesktopServices::openUrl(url);
    }
    QVariant loadResource(int type, const QUrl& url) override {
        if (type != QTextDocument::ImageResource) return QTextBrowser::loadResource(type, url);
        const QImage image(source().resolved(url).toLocalFile());
        constexpr int widest = 760; // pixels
        return image.width() > widest ? image.scaledToWidth(widest, Qt::SmoothTransformation)
                                      : image;
    }
};

} // namespace

ManualWindow::ManualWindow(QWidget* parent) : QWidget(parent, Qt::Window), text_(new Pages) {
    setWindowTitle(tr("The manual of Cadencora"));
    text_->setObjectName(QStringLiteral("manual"));
    auto* column = new QVBoxLayout(this);
    auto* row = new QHBoxLayout;
    const auto add = [&](const QString& name, auto act) {
        auto* button = new QPushButton(name);
        connect(button, &QPushButton::clicked, text_, act);
        row->addWidget(button);
        return button;
    };
    auto* back = add(tr("Back"), &QTextBrowser::backward);
    back->setEnabled(false);
    connect(text_, &QTextBrowser::backwardAvailable, back, &QWidget::setEnabled);
    add(tr("Contents"), [this] { show(QStringLiteral("README.md")); });
    row->addStretch();
    column->addLayout(row);
    column->addWidget(text_);
    resize(840, 760);
}

void ManualWindow::show(const QString& page) {
    text_->setSource(QUrl::fromLocalFile(manualFolder() + QLatin1Char('/') + page),
                     QTextDocument::MarkdownResource);
    QWidget::show();
    raise();
    activateWindow();
}

} // namespace cadencora::stage
