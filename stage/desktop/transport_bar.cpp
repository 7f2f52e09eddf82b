#include "stage/desktop/transport_bar.h"

#include "stage/base/text.h"
#include "stage/desktop/typed_field.h"
#include "stage/scene/summary.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QSignalBlocker>
#include <QSpinBox>
#include <QStyle>
#include <QToolButton>

#include <cmath>

namespace cadencora::stage {

TransportBar::TransportBar(Document& document, Playback& playback, QWidget* parent)
    : QWidget(parent), document_(document) {
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(4, 2, 4, 2);
    row->setSpacing(3);

    auto* start = addButton(QStyle::SP_MediaSkipBackward, tr("First frame of the preview (Home)"));
    auto* back = addButton(QStyle::SP_MediaSeekBackward, tr("A frame back (Left)"));
    auto* play = addButton(QStyle::SP_MediaPlay, tr("Play the preview range (Space)"));
    auto* forward = addButton(QStyle::SP_MediaSeekForward, tr("A frame on (Right)"));
    auto* end = addButton(QStyle::SP_MediaSkipForward, tr("Last frame of the preview (End)"));
    play->setObjectName(QStringLiteral("play"));
    const auto toFrame = [this](std::int64_t frame) {
        document_.setTime(document_.scene().rate.timeOf(frame));
    };
    connect(start, &QToolButton::clicked, this,
            [this, toFrame] { toFrame(document_.scene().previewFirst); });
    connect(end, &QToolButton::clicked, this,
            [this, toFrame] { toFrame(document_.scene().previewLast); });
    connect(back, &QToolButton::clicked, this, [this] { document_.stepFrames(-1); });
    connect(forward, &QToolButton::clicked, this, [this] { document_.stepFrames(1); });
    connect(play, &QToolButton::clicked, &playback, &Playback::toggle);
    connect(&playback, &Playback::playingChanged, this, [this, play](bool playing) {
        play->setIcon(
            style()->standardIcon(playing ? QStyle::SP_MediaPause : QStyle::SP_MediaPlay));
    });

    row->addSpacing(10);
    row->addWidget(new QLabel(tr("Frame")));
    frame_ = new TypedField([this](const std::string& text) { return goTo(text); }, this);
    frame_->setFixedWidth(fontMetrics().horizontalAdvance(QStringLiteral("00000.000")) + 16);
    frame_->setFocusPolicy(Qt::ClickFocus); // the keys belong to the time until it is asked for
    connect(frame_, &QLineEdit::returnPressed, frame_, &QWidget::clearFocus);
    frame_->setObjectName(QStringLiteral("frame"));
    row->addWidget(frame_);
    row->addStretch();
    row->addWidget(new QLabel(tr("Preview")));
    first_ = addRangeField(tr("First frame of the preview"));
    row->addWidget(new QLabel(tr("to")));
    last_ = addRangeField(tr("Last frame of the preview"));

    connect(&document, &Document::changed, this, [this](Changes what) {
        if (what & (Changes(Change::time) | Change::scene)) showTime();
        if (what & (Changes(Change::range) | Change::scene)) showRange();
    });
    showTime();
    showRange();
}

QToolButton* TransportBar::addButton(int standardIcon, const QString& tip) {
    auto* button = new QToolButton;
    button->setIcon(style()->standardIcon(static_cast<QStyle::StandardPixmap>(standardIcon)));
    button->setToolTip(tip);
    button->setAutoRaise(true);
    button->setFocusPolicy(Qt::NoFocus); // Space plays, wherever the focus is
    layout()->addWidget(button);
    return button;
}

QSpinBox* TransportBar::addRangeField(const QString& tip) {
    auto* field = new QSpinBox;
    field->setRange(-9'999'999, 9'999'999);
    field->setToolTip(tip);
    field->setFocusPolicy(Qt::ClickFocus);
    field->setKeyboardTracking(false);
    layout()->addWidget(field);
    connect(field, &QSpinBox::valueChanged, this, [this] {
        document_.setPreview(first_->value(), last_->value());
        showRange(); // a range that ends before it begins is not taken
    });
    return field;
}

Result<> TransportBar::goTo(const std::string& text) {
    const auto frame = parseNumber(text);
    if (!frame || std::abs(*frame) > 1e9)
        return Problem{"this is no frame", {}, "a number such as 12 or 12.5"};
    const FrameRate rate = document_.scene().rate;
    const bool whole = *frame == std::floor(*frame);
    document_.setTime(whole ? rate.timeOf(static_cast<std::int64_t>(*frame))
                            : *frame / rate.perSecond());
    return done();
}

void TransportBar::showTime() {
    const Scene& scene = document_.scene();
    frame_->showText(QString::fromStdString(frameText(scene.rate.frameOf(scene.currentTime))));
}

void TransportBar::showRange() {
    const QSignalBlocker quietFirst(first_), quietLast(last_);
    first_->setValue(static_cast<int>(document_.scene().previewFirst));
    last_->setValue(static_cast<int>(document_.scene().previewLast));
}

} // namespace cadencora::stage
