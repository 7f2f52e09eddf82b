// A line of text whose value is entered with Return or by leaving it, and may be refused.
//
// Knows nothing of panels.
#pragma once

#include "stage/base/result.h"

#include <QLineEdit>

#include <functional>

namespace cadencora::stage {

class TypedField : public QLineEdit {
public:
    // `enter` is given what the user typed; a refusal keeps the text, marked, with the reason.
    using Enter = std::function<Result<>(const std::string& text)>;
    TypedField(Enter enter, QWidget* parent);

    void showText(const QString& text); // the value as it stands

    // Enters what was typed; false where it was refused.
    bool settle();
    bool settleOrStay(); // the same, taking the focus where it is refused

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

private:
    void mark(const QString& reason);

    Enter enter_;
    QString shown_;
};

} // namespace cadencora::stage
