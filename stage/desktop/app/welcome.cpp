#include "stage/desktop/app/welcome.h"

#include "stage/desktop/app/recent_files.h"
#include "stage/desktop/app/shared_files.h"
#include "stage/desktop/widgets/look.h"

#include <QFileInfo>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace cadencora::stage {

namespace {

// A button that reads like a line of text.
QPushButton* makeLink(const QString& text, const QString& tip) {
    auto* link = new QPushButton(text);
    link->setFlat(true);
    link->setToolTip(tip);
    link->setCursor(Qt::PointingHandCursor);
    QPalette colours = link->palette();
    colours.setColor(QPalette::ButtonText, colours.color(QPalette::Link));
    link->setPalette(colours);
    return link;
}

} // namespace

Welcome::Welcome(QWidget* parent) : QWidget(parent), recent_(new QVBoxLayout) {
    setBackgroundRole(QPalette::Base);
    setAutoFillBackground(true);
    auto* middle = new QVBoxLayout;
    middle->setSpacing(10);
    auto* icon = new QLabel;
    icon->setPixmap(programIcon().pixmap(64, 64));
    icon->setAlignment(Qt::AlignCenter);
    middle->addWidget(icon);
    auto* title = new QLabel(tr("Cadencora"));
    QFont large = font();
    large.setPointSizeF(large.pointSizeF() * 1.8);
    title->setFont(large);
    title->setAlignment(Qt::AlignCenter);
    middle->addWidget(title);
    auto* what =
        new QLabel(tr("Keyframes: repeat, delete, round, randomise, offset, copy, save, load"));
    what->setAlignment(Qt::AlignCenter);
    middle->addWidget(what);
    middle->addSpacing(12);

    auto* open = new QPushButton(tr("Open a BVH, glTF or GLB file…"));
    open->setMinimumHeight(2 * fontMetrics().height());
    connect(open, &QPushButton::clicked, this, &Welcome::openWanted);
    middle->addWidget(open);
    if (!exampleFile().isEmpty()) {
        auto* example = new QPushButton(tr("Open the example: a figure that walks"));
        example->setMinimumHeight(2 * fontMetrics().height());
        connect(example, &QPushButton::clicked, this, [this] { emit fileWanted(exampleFile()); });
        middle->addWidget(example);
    }
    if (!manualFolder().isEmpty()) {
        auto* manual = new QPushButton(tr("Read the manual"));
        connect(manual, &QPushButton::clicked, this, &Welcome::manualWanted);
        middle->addWidget(manual);
    }
    middle->addSpacing(8);
    recent_->setSpacing(0);
    middle->addLayout(recent_);
    middle->addSpacing(8);
    auto* hint = new QLabel(tr("Then select items, and press F2 for the toolbox"));
    hint->setAlignment(Qt::AlignCenter);
    middle->addWidget(hint);
    auto* row = new QHBoxLayout(this);
    row->addStretch();
    auto* column = new QVBoxLayout;
    column->addStretch();
    column->addLayout(middle);
    column->addStretch();
    row->addLayout(column);
    row->addStretch();
    showRecent();
}

void Welcome::showRecent() {
    while (QLayoutItem* old = recent_->takeAt(0)) {
        delete old->widget();
        delete old;
    }
    constexpr int most = 6;
    const QStringList files = recentFiles().mid(0, most);
    if (files.isEmpty()) return;
    recent_->addWidget(new QLabel(tr("Recent files")), 0, Qt::AlignCenter);
    for (const QString& file : files) {
        QPushButton* link = makeLink(QFileInfo(file).fileName(), file);
        connect(link, &QPushButton::clicked, this, [this, file] { emit fileWanted(file); });
        recent_->addWidget(link);
    }
}

} // namespace cadencora::stage
