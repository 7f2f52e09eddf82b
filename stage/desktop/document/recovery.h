// Work that is not saved, kept aside, so that it outlives a sudden end of the program.
//
// Every window has a file of its own in one folder, which it keeps locked, with the name of the
// open file in it. Beside it, while there is unsaved work, is the recovery file:
//   {"cadencora": "recovery", "version": 1, "file": "/films/walk.glb", "imported": false,
//    "clips": [{"clip": "Walk", "steps": RECIPE, "shortfalls": ["", ...], "scene": SCENE}]}
// with a recipe (recipe.h) and a scene file (scene_file.h). A window that is gone has left its
// lock.
#pragma once

#include "stage/base/result.h"
#include "stage/user/recorder.h"

#include <QObject>
#include <QTimer>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace cadencora::stage {

class Document;

struct RecoveredClip {
    std::string clip; // empty: the file has none
    Scene scene;
    std::vector<RecordedStep> steps;
};

struct Recovered {
    std::filesystem::path file; // empty: none
    bool isImported = false;
    std::vector<RecoveredClip> clips; // at least one
};

class Recovery : public QObject {
    Q_OBJECT
public:
    // Keeps the work of a document, which must outlive it. Without a folder that can be written to,
    // nothing is kept, and problem() says why.
    explicit Recovery(Document& document);
    ~Recovery() override; // the work is saved, or is not wanted

    // The usual folder, made where it is missing.
    static std::filesystem::path folder();

    const std::string& problem() const { return problem_; } // of the last attempt; empty: none

    // Whether a window that is open now, another than this one, has the file open.
    bool isOpenElsewhere(const std::filesystem::path& file) const;

    // The recovery files of windows that are gone, the newest first; files that they left without
    // such work are removed.
    std::vector<std::filesystem::path> leftBehind() const;
    static Result<Recovered> read(const std::filesystem::path& path);
    // Once the work is here, or is not wanted.
    static void remove(const std::filesystem::path& path);

    // Keeps the work at once, and waits for the disk.
    void keepNow();

private:
    struct Writing;
    void follow();
    void begin();
    void end();

    Document& document_;
    int lock_ = -1;
    std::filesystem::path lockPath_, path_, openFile_;
    QTimer timer_;
    std::unique_ptr<Writing> writing_; // on a thread of its own
    bool isStale_ = false;             // there is newer work than what is being written
    bool isKept_ = false;              // there is a recovery file
    std::string problem_;
};

} // namespace cadencora::stage
