#include "stage/desktop/views/transport_bar.h"

#include "stage/base/text.h"
#include "stage/desktop/widgets/typed_field.h"
#include "stage/scene/summary.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QSignalBlocker>
#include <QSpinBox>
#include <QToolButton>

#include <cmath>

namespace cadencora::stage {

TransportBar::TransportBar(Document& document, Playback& playback, QWidget* parent)
    : QWidget(parent), document_(document) {
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(4, 2, 4, 2);
    row->setSpacing(3);

    auto* start = addButton(Sign::first, tr("First frame of the preview (Home)"));
    auto* back = addButton(Sign::back, tr("A frame back (Left)"));
    auto* play = addButton(Sign::play, tr("Play the preview range (Space)"));
    auto* forward = addButton(Sign::forward, tr("A frame on (Right)"));
    auto* end = addButton(Sign::last, tr("Last frame of the preview (End)"));
    play->setObjectName(QStringLiteral("play"));
    connect(start, &QToolButton::clicked, this,
            [this] { document_.goToFrame(document_.scene().previewFirst); });
    connect(end, &QToolButton::clicked, this,
            [this] { document_.goToFrame(document_.scene().previewLast); });
    connect(back, &QToolButton::clicked, this, [this] { document_.stepFrames(-1); });
    connect(forward, &QToolButton::clicked, this, [this] { document_.stepFrames(1); });
    connect(play, &QToolButton::clicked, &playback, &Playback::toggle);
    connect(&playback, &Playback::playingChanged, this, [this, play](bool playing) {
        for (auto& [button, sign] : signs_)
            if (button == play) sign = playing ? Sign::pause : Sign::play;
        setSigns();
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
    setSigns();
    showTime();
    showRange();
}

QToolButton* TransportBar::addButton(Sign sign, const QString& tip) {
    auto* button = new QToolButton;
    signs_.emplace_back(button, sign);
    button->setToolTip(tip);
    button->setAutoRaise(true);
    button->setFocusPolicy(Qt::NoFocus); // Space plays, wherever the focus is
    layout()->addWidget(button);
    return button;
}

// Own pictures, since those of the style are black on a dark palette.
QIcon TransportBar::signIcon(Sign sign, const QColor& colour) {
    constexpr int scale = 3;
    QPixmap picture(16 * scale, 16 * scale);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(scale, scale);
    painter.setPen(Qt::NoPen);
    painter.setBrush(colour);
    if (sign == Sign::first || sign == Sign::back) {
        painter.translate(16, 0);
        painter.scale(-1, 1);
    }
    switch (sign) {
    case Sign::play:
        painter.drawPolygon(QPolygonF{{4, 2}, {13, 8}, {4, 14}});
        break;
    case Sign::pause:
        painter.drawRect(QRectF(4, 3, 3, 10));
        painter.drawRect(QRectF(9, 3, 3, 10));
        break;
    case Sign::back:
    case Sign::forward:
        painter.drawRect(QRectF(4, 4, 2, 8));
        painter.drawPolygon(QPolygonF{{7.5, 4}, {13, 8}, {7.5, 12}});
        break;
    case Sign::first:
    case Sign::last:
        painter.drawPolygon(QPolygonF{{4, 4}, {10, 8}, {4, 12}});
        painter.drawRect(QRectF(10.5, 4, 2, 8));
        break;
    }
    painter.end();
    picture.setDevicePixelRatio(scale);
    return picture;
}

void TransportBar::setSigns() {
    for (const auto& [button, sign] : signs_)
        button->setIcon(signIcon(sign, palette().color(QPalette::ButtonText)));
}

void TransportBar::changeEvent(QEvent* event) {
    if (event->type() == QEvent::PaletteChange) setSigns();
    QWidget::changeEvent(event);
}

QSpinBox* TransportBar::addRangeField(const QString& tip) {
    auto* field = new QSpinBox;
    field->setRange(-9'999'999, 9'999'999);
    field->setToolTip(tip);
    field->setFocusPolicy(Qt::ClickFocus);
    field->setKeyboardTracking(false);
    layout()->addWidget(field);
    connect(field, &QSpinBox::editingFinished, field, &QWidget::clearFocus); // as the frame's
    connect(field, &QSpinBox::valueChanged, this, [this] {
        document_.setPreview(first_->value(), last_->value());
        showRange(); // a range that ends before it begins is not taken
    });
    return field;
}

Result<> TransportBar::goTo(const std::string& text) {
    const auto frame = parseNumber(text);
    if (!frame || std::abs(*frame) > 1e9)
        return Problem{"not a frame number", {}, "expected a number such as 12 or 12.5"};
    document_.setTime(document_.scene().rate.timeAt(*frame));
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
