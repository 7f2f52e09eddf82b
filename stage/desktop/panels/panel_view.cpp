#include "stage/desktop/panels/panel_view.h"

#include <QCloseEvent>
#include <QDialogButtonBox>
#include <QEventLoop>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QPushButton>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>
#include <QSettings>
#include <QStyle>
#include <QVBoxLayout>

namespace cadencora::stage {

namespace {

// Where windows of panels were last, by the panel's title.
QString placeKey(const QString& title, const char* what) {
    return QStringLiteral("places/%1/%2")
        .arg(QString(title).replace(QLatin1Char('/'), QLatin1Char(' ')), QLatin1String(what));
}

// At a place as far as that is on the screen.
void moveTo(QWidget& window, const QPoint& place) {
    const QScreen* found = QGuiApplication::screenAt(place);
    const QRect screen = (found ? found : window.screen())->availableGeometry();
    const QPoint last = screen.bottomRight() - QPoint(window.width(), window.height());
    window.move(std::clamp(place.x(), screen.left(), std::max(screen.left(), last.x())),
                std::clamp(place.y(), screen.top(), std::max(screen.top(), last.y())));
}

// Where it was last. Else beside the main window, where the screen has room there; over the view,
// at its upper right; over the lists at the left, where it is higher than the view, so that the
// curves below that stay free. Without a view where the panel asks to be.
void moveToUsualPlace(QWidget& window, const PanelModel& panel, const PanelMetrics& metrics,
                      const QWidget* view) {
    const QVariant known = QSettings().value(placeKey(qtText(panel.title), "at"));
    if (known.isValid()) return moveTo(window, known.toPoint());
    if (view) {
        constexpr int margin = 12;
        const QRect main = view->window()->frameGeometry();
        const QRect screen = view->screen()->availableGeometry();
        const int over = view->mapToGlobal(QPoint(0, margin)).y();
        if (main.right() + window.width() + margin <= screen.right())
            return moveTo(window, {main.right() + margin, main.top()});
        if (window.height() <= view->height())
            return moveTo(
                window,
                {view->mapToGlobal(QPoint(view->width(), 0)).x() - window.width() - margin, over});
        return moveTo(window, {main.left(), over});
    }
    moveTo(window, window.screen()->availableGeometry().topLeft() +
                       QPoint(metrics.toScreen(panel.x), metrics.toScreen(panel.y)));
}

// "Destroy Keys: Select Range"; the button that opened it is named once.
QString dialogTitle(const QString& title, const QString& button) {
    if (title.startsWith(button)) return title;
    return title.isEmpty() ? button : button + QStringLiteral(": ") + title;
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

ControlView* PanelView::onlyTextField() const {
    ControlView* found = nullptr;
    for (ControlView* control : controls_) {
        if (!control->isTextField() || !control->model().drawn) continue;
        if (found) return nullptr;
        found = control;
    }
    return found;
}

PanelWindow::PanelWindow(PanelModel& panel, const PanelContext& context, QMainWindow* window,
                         const QWidget* view)
    : QDockWidget(qtText(panel.title), window), view_(new PanelView(panel, context)),
      window_(window) {
    setObjectName(QStringLiteral("panel ") + windowTitle());
    // A docked panel may be higher than the window, and is as wide as it is.
    auto* area = new QScrollArea;
    area->setFrameShape(QFrame::NoFrame);
    area->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    area->setWidget(view_);
    setWidget(area);
    const QSettings settings;
    area_ = static_cast<Qt::DockWidgetArea>(
        settings.value(placeKey(windowTitle(), "area"), area_).toInt());
    if (window_) window_->addDockWidget(area_, this);
    const bool isDocked =
        window_ && settings.value(placeKey(windowTitle(), "docked"), false).toBool();
    setFloating(!isDocked);
    const int wide = view_->width() + 2;
    area->setMinimumWidth(wide);
    resize(wide + 2, view_->height() + style()->pixelMetric(QStyle::PM_DockWidgetFrameWidth) * 2 +
                         style()->pixelMetric(QStyle::PM_TitleBarHeight));
    if (!isDocked) moveToUsualPlace(*this, panel, context.metrics, view);
    connect(this, &QDockWidget::dockLocationChanged, this, [this](Qt::DockWidgetArea where) {
        if (where != Qt::NoDockWidgetArea) area_ = where;
        rememberPlace();
    });
    connect(this, &QDockWidget::topLevelChanged, this, &PanelWindow::rememberPlace);
    isPlaced_ = true;
}

void PanelWindow::rememberPlace() {
    if (!isPlaced_) return;
    QSettings settings;
    settings.setValue(placeKey(windowTitle(), "docked"), !isFloating());
    settings.setValue(placeKey(windowTitle(), "area"), static_cast<int>(area_));
    if (isFloating() && isVisible()) settings.setValue(placeKey(windowTitle(), "at"), pos());
}

void PanelWindow::moveEvent(QMoveEvent* event) {
    QDockWidget::moveEvent(event);
    if (isFloating()) rememberPlace();
}

void PanelWindow::bringUp() {
    panel().state = PanelState::floating;
    show();
    raise();
    activateWindow();
}

bool PanelWindow::event(QEvent* event) {
    if (!isPlainKey(*event)) return QDockWidget::event(event);
    event->accept();
    return true;
}

void PanelWindow::closeEvent(QCloseEvent* event) {
    panel().state = PanelState::closed;
    QDockWidget::closeEvent(event);
}

PanelDialog::PanelDialog(PanelModel& panel, const PanelContext& context, QWidget* parent,
                         const QWidget* view)
    : QDialog(parent), view_(new PanelView(panel, context)), title_(qtText(panel.title)) {
    setWindowTitle(dialogTitle(title_, qtText(context.document.command())));
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
    // The title can be read beside the buttons of the frame.
    QFont bold = font();
    bold.setBold(true);
    constexpr int frameButtons = 110; // pixels
    auto* row = new QHBoxLayout;
    row->setContentsMargins(margin, 0, margin, 0);
    row->addWidget(buttons);
    layout->addLayout(row);
    auto* wide = new QWidget;
    wide->setFixedSize(QFontMetrics(bold).horizontalAdvance(windowTitle()) + frameButtons, 0);
    layout->addWidget(wide);
    adjustSize();
    moveToUsualPlace(*this, panel, context.metrics, view);
    if (ControlView* field = view_->onlyTextField()) field->startTyping();
}

bool PanelDialog::wait() {
    QEventLoop loop;
    connect(this, &QDialog::finished, &loop, &QEventLoop::quit);
    show();
    raise();
    activateWindow();
    loop.exec();
    return result() == Accepted;
}

void PanelDialog::accept() {
    if (view_->settle()) QDialog::accept();
}

void PanelDialog::done(int result) {
    if (isVisible()) QSettings().setValue(placeKey(title_, "at"), pos());
    QDialog::done(result);
}

} // namespace cadencora::stage
