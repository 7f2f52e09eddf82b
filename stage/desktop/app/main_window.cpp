#include "stage/desktop/app/main_window.h"

#include "stage/desktop/app/welcome.h"
#include "stage/desktop/steps/preset_list.h"
#include "stage/desktop/steps/recipe_editor.h"
#include "stage/desktop/steps/step_list.h"
#include "stage/desktop/views/channel_list.h"
#include "stage/desktop/views/clip_picker.h"
#include "stage/desktop/views/curve_view.h"
#include "stage/desktop/views/item_tree.h"
#include "stage/desktop/views/timeline.h"
#include "stage/desktop/views/transport_bar.h"
#include "stage/desktop/views/viewport.h"
#include "stage/desktop/widgets/look.h"
#include "stage/scene/summary.h"

#include <QAction>
#include <QDockWidget>
#include <QLabel>
#include <QPainter>
#include <QSplitter>
#include <QStackedWidget>
#include <QStatusBar>
#include <QTabWidget>
#include <QToolButton>
#include <QVBoxLayout>

namespace cadencora::stage {

namespace {

// A line that shows by dots where it is cut.
class LineLabel : public QLabel {
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        const QString line =
            fontMetrics().elidedText(text(), Qt::ElideRight, contentsRect().width());
        painter.drawText(contentsRect(), Qt::AlignLeft | Qt::AlignVCenter, line);
    }
};

} // namespace

MainWindow::MainWindow(bool shades)
    : document_(frontEnd_), recovery_(document_), playback_(document_) {
    frontEnd_.serve(document_);
    setAcceptDrops(true);
    addViews(shades);
    frontEnd_.setMainWindow(this, viewport_);
    addFileMenu();
    addEditMenu();
    addTimeMenu();
    addViewMenu();
    addPluginMenu();
    addHelpMenu();
    setWindowIcon(programIcon());
    connect(&document_, &Document::changed, this, [this](Changes what) {
        if (what.testFlag(Change::scene)) showWelcome();
        showNews();
    });
    connect(&document_.clock(), &WorkClock::working, news_, &QLabel::setText);
    showWelcome();
    showNews();
    resize(1280, 800);
    viewport_->setFocus(); // the keys belong to the time
}

MainWindow::~MainWindow() {
    frontEnd_.closePanels(); // which know the document
}

void MainWindow::addViews(bool shades) {
    viewport_ =
        new Viewport(document_, shades ? Viewport::Canvas::shaded : Viewport::Canvas::lines);
    // The channels hear of an edit first: curves as they were before it are gone by then.
    channels_ = new ShownChannels(document_);
    channels_->setParent(this);
    axis_ = new TimeAxis(document_);
    axis_->setParent(this);
    curves_ = new CurveView(document_, *axis_, *channels_);

    // The timeline is right below the curves, so that one frame is at one place.
    auto* timed = new QWidget;
    auto* timedRows = new QVBoxLayout(timed);
    timedRows->setContentsMargins(0, 0, 0, 0);
    timedRows->setSpacing(0);
    timedRows->addWidget(curves_, 1);
    auto* timeline = new Timeline(document_, *axis_);
    timeline->setObjectName(QStringLiteral("timeline"));
    timedRows->addWidget(timeline);
    auto* curvesAndList = new QSplitter(Qt::Horizontal);
    curvesAndList->addWidget(timed);
    curvesAndList->addWidget(new ChannelList(*channels_));
    curvesAndList->setSizes({760, 190});
    curvesAndList->setStretchFactor(0, 1);
    auto* views = new QSplitter(Qt::Vertical);
    views->addWidget(viewport_);
    views->addWidget(curvesAndList);
    views->setSizes({400, 300});
    views->setChildrenCollapsible(false);

    auto* centre = new QWidget;
    auto* rows = new QVBoxLayout(centre);
    rows->setContentsMargins(0, 0, 0, 0);
    rows->setSpacing(2);
    rows->addWidget(views, 1);
    auto* below = new QHBoxLayout;
    below->addWidget(new TransportBar(document_, playback_), 1);
    auto* clips = new ClipPicker(document_);
    connect(clips, &ClipPicker::chosen, this, &MainWindow::openClip);
    below->addWidget(clips);
    rows->addLayout(below);
    welcome_ = new Welcome;
    connect(welcome_, &Welcome::openWanted, this, &MainWindow::askOpen);
    connect(welcome_, &Welcome::fileWanted, this, [this](const QString& path) { openFile(path); });
    connect(welcome_, &Welcome::manualWanted, this,
            [this] { showManual(QStringLiteral("README.md")); });
    viewport_->setObjectName(QStringLiteral("viewport"));
    curves_->setObjectName(QStringLiteral("curves"));
    pages_ = new QStackedWidget;
    pages_->addWidget(welcome_);
    pages_->addWidget(centre);
    setCentralWidget(pages_);

    tree_ = new ItemTree(document_);
    auto* items = new QDockWidget(tr("Items"), this);
    items->setObjectName(QStringLiteral("items"));
    items->setWidget(withSearch(tree_));
    addDockWidget(Qt::LeftDockWidgetArea, items);
    auto* steps = new QDockWidget(tr("Steps"), this);
    steps->setObjectName(QStringLiteral("steps"));
    steps->setWidget(makeStepTabs());
    addDockWidget(Qt::LeftDockWidgetArea, steps);
    resizeDocks({items, steps}, {230, 230}, Qt::Horizontal);
    resizeDocks({items, steps}, {430, 230}, Qt::Vertical);

    news_ = new LineLabel;
    news_->setContentsMargins(4, 0, 0, 0);
    news_->setTextFormat(Qt::PlainText);
    news_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    news_->setObjectName(QStringLiteral("news"));
    frame_ = new QLabel;
    statusBar()->addWidget(news_, 1);
    selects_ = new QToolButton;
    selects_->setText(tr("Select These"));
    selects_->setToolTip(tr("Select the items that the last command changed"));
    connect(selects_, &QToolButton::clicked, this,
            [this] { document_.select(document_.changedItems()); });
    statusBar()->addPermanentWidget(selects_);
    if (!shades) {
        auto* plain = new QLabel(tr("lines only"));
        plain->setToolTip(tr("Surfaces are drawn as lines: there is no OpenGL 3.3 here"));
        statusBar()->addPermanentWidget(plain);
    }
    statusBar()->addPermanentWidget(frame_);
}

QWidget* MainWindow::makeStepTabs() {
    auto* tabs = new QTabWidget;
    auto* recorded = new StepList(document_);
    auto* recipe = new RecipeEditor(document_);
    auto* presets = new PresetList(document_);
    tabs->addTab(recorded, tr("Recorded"));
    tabs->addTab(recipe, tr("Recipe"));
    tabs->addTab(presets, tr("Presets"));
    connect(recorded, &StepList::taken, this,
            [tabs, recipe](const std::vector<Step>& steps, bool saves) {
                recipe->take(steps);
                if (saves) return recipe->askSave();
                tabs->setCurrentWidget(recipe);
            });
    connect(recorded, &StepList::presetWanted, this, [tabs, presets](const Step& step) {
        presets->askName(step);
        tabs->setCurrentWidget(presets);
    });
    return tabs;
}

// The views, as soon as there is something to see in them.
void MainWindow::showWelcome() {
    const bool isEmpty = document_.scene().itemCount() == 0 && document_.path().empty();
    if (isEmpty) welcome_->showRecent();
    pages_->setCurrentIndex(isEmpty ? 0 : 1);
}

void MainWindow::showNews() {
    const Scene& scene = document_.scene();
    const auto& changedItems = document_.changedItems();
    selects_->setVisible(!changedItems.empty() && changedItems != scene.selection);
    const QString news = QString::fromStdString(document_.news());
    if (news_->text() != news) {
        news_->setText(news);
        news_->setToolTip(news);
    }
    frame_->setText(
        tr("frame %1 of %2, %3 per second")
            .arg(QString::fromStdString(frameText(scene.rate.frameOf(scene.currentTime))))
            .arg(scene.lastFrame)
            .arg(QString::fromStdString(scene.rate.text())));
    setWindowTitle(QString::fromStdString(document_.name()) + QStringLiteral("[*] - Cadencora"));
    setWindowModified(document_.isModified());

    const std::string* undo = document_.host().journal().undoName();
    const std::string* redo = document_.host().journal().redoName();
    undo_->setEnabled(undo != nullptr);
    redo_->setEnabled(redo != nullptr);
    undo_->setText(undo ? tr("&Undo %1").arg(QString::fromStdString(*undo)) : tr("&Undo"));
    redo_->setText(redo ? tr("&Redo %1").arg(QString::fromStdString(*redo)) : tr("&Redo"));
    const Journal& journal = document_.host().journal();
    const auto megabytes = [](std::size_t bytes) { return static_cast<qulonglong>(bytes >> 20); };
    const QString held = tr("Undo &Memory: %1 of %2 MB…")
                             .arg(megabytes(journal.bytes()))
                             .arg(megabytes(journal.budget()));
    undoMemory_->setText(journal.givenUp() == 0
                             ? held
                             : held + tr(" (%n oldest edit(s) given up)", nullptr,
                                         static_cast<int>(journal.givenUp())));
}

} // namespace cadencora::stage
