// The main window: the views of one document, side by side, and its menus.
#pragma once

#include "stage/desktop/desktop_front_end.h"
#include "stage/desktop/document.h"
#include "stage/desktop/playback.h"

#include <QMainWindow>

class QLabel;
class QMenu;

namespace cadencora::stage {

class CurveView;
class ItemTree;
class StepList;
class Timeline;
class Viewport;

class MainWindow : public QMainWindow {
    Q_OBJECT
public:
    MainWindow();
    ~MainWindow() override;

    // As from the menus; what goes wrong is shown, and answered with false.
    bool openFile(const QString& path);
    bool saveFile(const QString& path);
    bool startPlugin(const QString& path = {}); // empty: the usual one

    Document& document() { return document_; }
    Playback& playback() { return playback_; }
    DesktopFrontEnd& frontEnd() { return frontEnd_; }

protected:
    void closeEvent(QCloseEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    void addViews();
    void addFileMenu();
    void addEditMenu();
    void addTimeMenu();
    void addViewMenu();
    void addPluginMenu();
    void askOpen();
    bool save();
    bool askSave();
    bool mayLeave(); // after asking about unsaved changes
    void fillRecent(QMenu& menu);
    void showNews();
    bool told(const Result<std::vector<std::string>>& result);

    DesktopFrontEnd frontEnd_;
    Document document_;
    Playback playback_;
    ItemTree* tree_ = nullptr;
    Viewport* viewport_ = nullptr;
    CurveView* curves_ = nullptr;
    QLabel* news_ = nullptr;
    QLabel* frame_ = nullptr;
    QAction* undo_ = nullptr;
    QAction* redo_ = nullptr;
};

} // namespace cadencora::stage
