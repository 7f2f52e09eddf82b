// Below the timeline: buttons that move the time, the frame as a number, the preview range.
#pragma once

#include "stage/desktop/document/playback.h"

#include <QWidget>

class QSpinBox;
class QToolButton;

namespace cadencora::stage {

class TypedField;

class TransportBar : public QWidget {
public:
    TransportBar(Document& document, Playback& playback, QWidget* parent = nullptr);

private:
    enum class Sign { first, back, play, pause, forward, last };
    QToolButton* addButton(Sign sign, const QString& tip);
    void setSigns();
    static QIcon signIcon(Sign sign, const QColor& colour);
    void changeEvent(QEvent* event) override;
    QSpinBox* addRangeField(const QString& tip);
    Result<> goTo(const std::string& frame);
    void showTime();
    void showRange();

    Document& document_;
    std::vector<std::pair<QToolButton*, Sign>> signs_;
    TypedField* frame_ = nullptr;
    QSpinBox* first_ = nullptr;
    QSpinBox* last_ = nullptr;
};

} // namespace cadencora::stage
