#include "stage/desktop/app/program.h"

#include "stage/desktop/app/main_window.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QMessageBox>
#include <QScreen>
#include <QSettings>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <memory>
#include <new>
#include <string_view>

namespace cadencora::stage {

namespace {

// Selects the items and goes to the frame that the arguments name.
bool showPlace(Document& document, const QStringList& names, const QString& frame) {
    const Scene& scene = document.scene();
    std::vector<ItemId> items;
    for (const QString& name : names) {
        items.push_back(scene.findItem(name.toStdString()));
        if (items.back() != ItemId::none) continue;
        std::fprintf(stderr, "cadencora-desktop: no item is named \"%s\" (%s)\n", qPrintable(name),
                     scene.namesLike(name.toStdString()).c_str());
        return false;
    }
    if (!items.empty()) document.select(std::move(items));
    if (frame.isEmpty()) return true;
    bool isNumber = false;
    const int number = frame.toInt(&isNumber);
    if (isNumber)
        document.goToFrame(number);
    else
        std::fprintf(stderr, "cadencora-desktop: \"%s\" is not a frame\n", qPrintable(frame));
    return isNumber;
}

// The window and its docks open where they were when the program ended last.
const QString geometry = QStringLiteral("geometry"), docks = QStringLiteral("docks");

void savePlaces(const MainWindow& window) {
    QSettings settings;
    settings.setValue(geometry, window.saveGeometry());
    settings.setValue(docks, window.saveState());
}

void restorePlaces(MainWindow& window) {
    const QSettings settings;
    window.resize(window.size().boundedTo(window.screen()->availableSize() * 0.95));
    window.restoreGeometry(settings.value(geometry).toByteArray());
    window.restoreState(settings.value(docks).toByteArray());
}

// Where memory runs out in the middle of what a click has begun, the program goes on.
class Application : public QApplication {
public:
    using QApplication::QApplication;

    bool notify(QObject* receiver, QEvent* event) override {
        try {
            return QApplication::notify(receiver, event);
        } catch (const std::bad_alloc&) {
            QMessageBox::critical(nullptr, tr("Error"),
                                  QString::fromStdString(outOfMemory().text()));
            return true;
        }
    }
};

// Whether the arguments only ask about the program, which needs no display.
bool isQuestion(int argc, char** argv) {
    const std::vector<std::string_view> words(argv + 1, argv + argc);
    return std::ranges::any_of(words, [](std::string_view word) {
        return word == "-h" || word == "--help" || word == "--help-all" || word == "-v" ||
               word == "--version";
    });
}

} // namespace

int runDesktop(int argc, char** argv) {
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN); // a full disk is an error, not the end
    const std::unique_ptr<QCoreApplication> application =
        isQuestion(argc, argv) ? std::make_unique<QCoreApplication>(argc, argv)
                               : std::make_unique<Application>(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("Cadencora"));
    QCoreApplication::setApplicationName(QStringLiteral("cadencora-desktop"));
    QCoreApplication::setApplicationVersion(QStringLiteral(CADENCORA_VERSION));

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("A keyframe toolbox for 3D animators."));
    parser.addHelpOption();
    parser.addVersionOption();
    parser.addPositionalArgument(QStringLiteral("file"), QStringLiteral("the scene to open"),
                                 QStringLiteral("[file]"));
    const QCommandLineOption start(QStringLiteral("start"),
                                   QStringLiteral("a plug-in to start at once"),
                                   QStringLiteral("path"));
    const QCommandLineOption server(QStringLiteral("server"),
                                    QStringLiteral("which of the plug-in's servers"),
                                    QStringLiteral("name"));
    const QCommandLineOption select(QStringLiteral("select"),
                                    QStringLiteral("an item to select; may be given again"),
                                    QStringLiteral("name"));
    const QCommandLineOption frame(QStringLiteral("frame"), QStringLiteral("the frame to go to"),
                                   QStringLiteral("number"));
    const QCommandLineOption lines(QStringLiteral("lines"),
                                   QStringLiteral("draw the viewport without OpenGL"));
    parser.addOptions({start, server, select, frame, lines});
    parser.process(*application); // ends here where it is a question
    const QStringList files = parser.positionalArguments();
    if (files.size() > 1) {
        std::fputs("cadencora-desktop: one file at most\n", stderr);
        return 2;
    }

    MainWindow window(!parser.isSet(lines) && canShade());
    restorePlaces(window);
    window.show();
    window.offerRecovered();
    if (!files.isEmpty()) window.openFile(files.first()); // what is wrong is shown
    if (parser.isSet(start) && !window.startPlugin(parser.value(start), parser.value(server)))
        return 1;
    if (!showPlace(window.document(), parser.values(select), parser.value(frame))) return 2;
    const int status = QApplication::exec();
    savePlaces(window);
    return status;
}

} // namespace cadencora::stage
