// The main window: the views of one document, side by side, and its menus.
#pragma once

#include "stage/desktop/canvas/viewport_canvas.h"
#include "stage/desktop/document/document.h"
#include "stage/desktop/document/playback.h"
#include "stage/desktop/panels/desktop_front_end.h"

#include <QMainWindow>

class QLabel;
class QMenu;
class QStackedWidget;
class QToolButton;

namespace cadencora::stage {

class CurveView;
class ItemTree;
class ManualWindow;
class Welcome;
class StepList;
class ShownChannels;
class TimeAxis;
class Timeline;
class Viewport;

class MainWindow : public QMainWindow {
    Q_OBJECT
public:
    // `shades`: the viewport uses OpenGL; else it draws lines.
    explicit MainWindow(bool shades = canShade());
    ~MainWindow() override;

    // Offers unsaved work of windows that have ended suddenly, once the window is shown.
    void offerRecovered();

    // As from the menus; what goes wrong is shown, and answered with false.
    // `clip`: of the file's; empty: the first. Opening can be cancelled, too.
    bool openFile(const QString& path, const QString& clip = {},
                  Document::Origin origin = Document::Origin::opened);
    // A clip of the open file. The selection, the plug-in and the undo of each clip stay.
    void openClip(const QString& clip);
    bool saveFile(const QString& path);
    bool exportFile(const QString& path);
    // Empty: the usual plug-in, and the server that the user picks where there are several.
    bool startPlugin(const QString& path = {}, const QString& server = {});

    Document& document() { return document_; }
    Playback& playback() { return playback_; }
    DesktopFrontEnd& frontEnd() { return frontEnd_; }

protected:
    void closeEvent(QCloseEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    void addViews(bool shades);
    QWidget* makeStepTabs();
    void addFileMenu();
    void addEditMenu();
    void addTimeMenu();
    void addViewMenu();
    void addViewSwitches(QMenu& menu);
    void addLookMenu(QMenu& menu);
    void addPluginMenu();
    void addHelpMenu();
    QString pageUnderPointer() const;                          // of the manual; empty: none
    bool eventFilter(QObject* object, QEvent* event) override; // tells what buttons do
    void showManual(const QString& page);
    void showShortcuts();
    void showWelcome();
    void makeNew();
    void closeFile();
    void revert();
    void askTimes();
    void askOpen();
    void askImport();
    bool save();
    bool askSave();
    void askExport();
    QString folder() const; // of the open file
    QString askTarget(const QString& title, const std::string& extension);
    bool mayLeave(); // after asking about unsaved changes
    void fillRecent(QMenu& menu);
    void showNews();
    bool told(const Result<std::vector<std::string>>& result);
    Result<Written> write(const std::filesystem::path& path, const QString& what);
    void askUndoMemory();
    bool mayLose(const std::filesystem::path& path); // what a format cannot hold

    DesktopFrontEnd frontEnd_;
    Document document_;
    Recovery recovery_;
    Playback playback_;
    TimeAxis* axis_ = nullptr;
    ShownChannels* channels_ = nullptr;
    ItemTree* tree_ = nullptr;
    Viewport* viewport_ = nullptr;
    CurveView* curves_ = nullptr;
    bool isAtFile_ = false;                              // reading or writing one
    std::pair<std::filesystem::path, QString> accepted_; // losses, for a file
    QStackedWidget* pages_ = nullptr;                    // the first screen, the views
    Welcome* welcome_ = nullptr;
    ManualWindow* manual_ = nullptr; // null: not opened yet
    QToolButton* selects_ = nullptr; // what the last command changed
    QLabel* news_ = nullptr;
    QLabel* frame_ = nullptr;
    QAction* undo_ = nullptr;
    QAction* redo_ = nullptr;
    QAction* undoMemory_ = nullptr;
};

} // namespace cadencora::stage
