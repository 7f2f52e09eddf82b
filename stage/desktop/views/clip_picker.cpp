#include "stage/desktop/views/clip_picker.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>

namespace cadencora::stage {

ClipPicker::ClipPicker(Document& document, QWidget* parent)
    : QWidget(parent), document_(document), clips_(new QComboBox) {
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(4, 2, 4, 2);
    row->addWidget(new QLabel(tr("Clip")));
    row->addWidget(clips_);
    clips_->setToolTip(tr("The animation of the file that is open; another one is read anew"));
    clips_->setFocusPolicy(Qt::ClickFocus); // the keys belong to the time
    clips_->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    connect(clips_, &QComboBox::activated, this, [this](int index) {
        const QString clip = clips_->itemText(index);
        showClips(); // as it is, until the other one is open
        if (clip != clips_->currentText()) emit chosen(clip);
    });
    connect(&document, &Document::changed, this, [this](Changes what) {
        const auto count = static_cast<std::size_t>(clips_->count());
        if (what & Change::scene || count != document_.clips().size()) showClips();
    });
    showClips();
}

void ClipPicker::showClips() {
    clips_->clear();
    for (const std::string& clip : document_.clips())
        clips_->addItem(QString::fromStdString(clip));
    clips_->setCurrentText(QString::fromStdString(document_.clip()));
    setVisible(clips_->count() > 1);
}

} // namespace cadencora::stage
