#include "stage/desktop/panels/panel_view.h"

#include <QCloseEvent>
#include <QDialogButtonBox>
#include <QKeyEvent>
#include <QPushButton>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>
#include <QVBoxLayout>

namespace cadencora::stage {

namespace {

// Where the panel asks to be, as far as it is on the screen then.
void moveToAskedPlace(QWidget& window, const PanelModel& panel, const PanelMetrics& metrics) {
    const QRect screen = window.screen()->availableGeometry();
    const QPoint asked =
        screen.topLeft() + QPoint(metrics.toScreen(panel.x), metrics.toScreen(panel.y));
    const QPoint last = screen.bottomRight() - QPoint(window.width(), window.height());
    window.move(std::clamp(asked.x(), screen.left(), std::max(screen.left(), last.x())),
                std::clamp(asked.y(), screen.top(), std::max(screen.top(), last.y())));
}

// Keys that move the time in the main window belong to the controls of a panel that has the focus.
bool isPlainKey(const QEvent& event) {
    if (event.type() != QEvent::ShortcutOverride) return false;
    const auto modifiers = static_cast<const QKeyEvent&>(event).modifiers();
    return (modifiers & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier)) == 0;
}

} // namespace

PanelView::PanelView(PanelModel& panel, const PanelContext& context, QWidget* parent)
    : QWidget(parent), panel_(panel), context_(context) {
    setFont(context.metrics.font());
    connect(&context.document, &Document::controlsChanged, this, &PanelView::refresh);
    refresh();
}

void PanelView::refresh() {
    for (std::size_t i = controls_.size(); i < panel_.controls.size(); ++i)
        controls_.push_back(makeControlView(*panel_.controls[i], context_, this));
    for (ControlView* control : controls_)
        control->refresh();
    setFixedSize(context_.metrics.toScreen(panel_.width()),
                 context_.metrics.toScreen(panel_.height()));
}

bool PanelView::settle() {
    for (ControlView* control : controls_)
        if (control->isVisible() && !control->settle()) return false;
    return true;
}

PanelWindow::PanelWindow(PanelModel& panel, const PanelContext& context, QWidget* parent)
    : QWidget(parent, Qt::Tool), view_(new PanelView(panel, context, this)) {
    setWindowTitle(qtText(panel.title));
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    layout->addWidget(view_);
    adjustSize();
    moveToAskedPlace(*this, panel, context.metrics);
}

void PanelWindow::bringUp() {
    panel().state = PanelState::floating;
    show();
    raise();
    activateWindow();
}

bool PanelWindow::event(QEvent* event) {
    if (!isPlainKey(*event)) return QWidget::event(event);
    event->accept();
    return true;
}

void PanelWindow::closeEvent(QCloseEvent* event) {
    panel().state = PanelState::closed;
    QWidget::closeEvent(event);
}

PanelDialog::PanelDialog(PanelModel& panel, const PanelContext& context, QWidget* parent)
    : QDialog(parent), view_(new PanelView(panel, context)) {
    setWindowTitle(qtText(panel.title));
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    buttons->button(QDialogButtonBox::Ok)->setDefault(true);
    connect(buttons, &QDialogButtonBox::accepted, this, &PanelDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &PanelDialog::reject);

    // A panel that is higher than the screen scrolls.
    auto* area = new QScrollArea;
    area->setFrameShape(QFrame::NoFrame);
    area->setWidget(view_);
    const int margin = context.metrics.toScreen(5);
    const int most = screen()->availableGeometry().height() - buttons->sizeHint().height() -
                     8 * margin; // with the title bar
    const bool scrolls = view_->height() > most;
    area->setFixedSize(view_->width() +
                           (scrolls ? area->verticalScrollBar()->sizeHint().width() : 0),
                       scrolls ? most : view_->height());

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, margin);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    layout->addWidget(area, 0, Qt::AlignHCenter);
    auto* row = new QHBoxLayout;
    row->setContentsMargins(margin, 0, margin, 0);
    row->addWidget(buttons);
    layout->addLayout(row);
    adjustSize();
    moveToAskedPlace(*this, panel, context.metrics);
}

void PanelDialog::accept() {
    if (view_->settle()) QDialog::accept();
}

} // namespace cadencora::stage
