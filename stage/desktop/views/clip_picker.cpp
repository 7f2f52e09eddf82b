#include "stage/desktop/views/clip_picker.h"

#include "stage/desktop/widgets/qt_text.h"
#include "stage/desktop/widgets/search_field.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QListWidget>
#include <QScreen>
#include <QToolButton>
#include <QVBoxLayout>

#include <algorithm>

namespace cadencora::stage {

ClipPicker::ClipPicker(Document& document, QWidget* parent)
    : QWidget(parent), document_(document), open_(new QToolButton),
      popup_(new QWidget(this, Qt::Popup)), search_(new SearchField(tr("Search clips"))),
      clips_(new QListWidget) {
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(4, 2, 4, 2);
    row->addWidget(new QLabel(tr("Clip")));
    row->addWidget(open_);
    open_->setObjectName(QStringLiteral("clip"));
    open_->setArrowType(Qt::DownArrow);
    open_->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    open_->setToolTip(tr("The animation of the file that is open; the others keep what was done to "
                         "them"));
    open_->setFocusPolicy(Qt::NoFocus); // the keys belong to the time
    connect(open_, &QToolButton::clicked, this, &ClipPicker::openList);

    search_->installEventFilter(this);
    clips_->setUniformItemSizes(true);
    auto* column = new QVBoxLayout(popup_);
    column->setContentsMargins(4, 4, 4, 4);
    column->addWidget(search_);
    column->addWidget(clips_);
    connect(search_, &QLineEdit::textChanged, this, &ClipPicker::filter);
    connect(search_, &QLineEdit::returnPressed, this, &ClipPicker::choose);
    connect(clips_, &QListWidget::itemClicked, this, &ClipPicker::choose);
    connect(clips_, &QListWidget::itemActivated, this, &ClipPicker::choose);
    connect(&document, &Document::changed, this, &ClipPicker::showClips);
    showClips();
}

void ClipPicker::showClips() {
    const auto& clips = document_.clips();
    setVisible(clips.size() > 1);
    QString name = qtText(document_.clip());
    if (!document_.editedClips().empty()) name += tr(" (others edited)");
    open_->setText(name);
}

void ClipPicker::openList() {
    clips_->clear();
    const std::vector<std::string> edited = document_.editedClips();
    for (const std::string& clip : document_.clips()) {
        auto* row = new QListWidgetItem(qtText(clip), clips_);
        row->setData(Qt::UserRole, qtText(clip));
        if (std::ranges::find(edited, clip) != edited.end()) row->setText(row->text() + tr(" *"));
        if (clip == document_.clip()) clips_->setCurrentItem(row);
    }
    search_->clear();
    popup_->resize(std::max(240, open_->width()), 320);
    const QRect room = screen()->availableGeometry();
    QPoint place = open_->mapToGlobal(QPoint(0, -popup_->height()));
    place.setX(std::clamp(place.x(), room.left(), room.right() - popup_->width()));
    place.setY(std::max(place.y(), room.top()));
    popup_->move(place);
    popup_->show();
    search_->setFocus();
}

void ClipPicker::filter(const QString& wanted) {
    QListWidgetItem* first = nullptr;
    for (int i = 0; i < clips_->count(); ++i) {
        QListWidgetItem* row = clips_->item(i);
        row->setHidden(!row->text().contains(wanted, Qt::CaseInsensitive));
        if (!row->isHidden() && !first) first = row;
    }
    if (!wanted.isEmpty()) clips_->setCurrentItem(first);
}

void ClipPicker::choose() {
    const QListWidgetItem* row = clips_->currentItem();
    popup_->hide();
    if (!row || row->isHidden()) return;
    const QString clip = row->data(Qt::UserRole).toString();
    if (clip != qtText(document_.clip())) emit chosen(clip);
}

// The arrow keys of the search field move in the list.
bool ClipPicker::eventFilter(QObject*, QEvent* event) {
    if (event->type() != QEvent::KeyPress) return false;
    const int key = static_cast<QKeyEvent*>(event)->key();
    if (key != Qt::Key_Up && key != Qt::Key_Down) return false;
    const int step = key == Qt::Key_Down ? 1 : -1;
    for (int i = clips_->currentRow() + step; i >= 0 && i < clips_->count(); i += step)
        if (!clips_->item(i)->isHidden()) {
            clips_->setCurrentRow(i);
            break;
        }
    return true;
}

} // namespace cadencora::stage
