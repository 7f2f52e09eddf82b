// Below the timeline: buttons that move the time, the frame as a number, the preview range.
#pragma once

#include "stage/desktop/playback.h"

#include <QWidget>

class QSpinBox;
class QToolButton;

namespace cadencora::stage {

class TypedField;

class TransportBar : public QWidget {
public:
    TransportBar(Document& document, Playback& playback, QWidget* parent = nullptr);

private:
    QToolButton* addButton(int standardIcon, const QString& tip);
    QSpinBox* addRangeField(const QString& tip);
    Result<> goTo(const std::string& frame);
    void showTime();
    void showRange();

    Document& document_;
    TypedField* frame_ = nullptr;
    QSpinBox* first_ = nullptr;
    QSpinBox* last_ = nullptr;
};

} // namespace cadencora::stage
