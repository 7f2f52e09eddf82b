#include "stage/desktop/app/shared_files.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTextDocument>

namespace cadencora::stage {

namespace {

QString firstThere(const QStringList& places) {
    const QDir programs(QCoreApplication::applicationDirPath());
    for (const QString& place : places)
        if (QFileInfo::exists(programs.filePath(place)))
            return QDir::cleanPath(programs.filePath(place));
    return {};
}

QString lettersOf(const QString& text) {
    QString letters;
    for (const QChar c : text)
        if (c.isLetterOrNumber()) letters += c.toLower();
    return letters;
}

} // namespace

QString manualFolder() {
    const QString index = firstThere({QStringLiteral("../share/doc/cadencora/manual/README.md"),
                                      QStringLiteral("../../../docs/README.md")});
    return index.isEmpty() ? QString() : QFileInfo(index).path();
}

QString exampleFile() {
    return firstThere({QStringLiteral("../share/cadencora/examples/figure.glb"),
                       QStringLiteral("../../../examples/figure.glb")});
}

// "Load Clip Data" and "Save Clip Data" have one page, clip-data; of several the longest name.
QString pageAbout(const QString& label) {
    const QString wanted = lettersOf(label), manual = manualFolder();
    if (manual.isEmpty() || wanted.isEmpty()) return {};
    QString best;
    qsizetype longest = 0;
    const QDir pages(manual + QStringLiteral("/commands"));
    for (const QString& page : pages.entryList({QStringLiteral("*.md")}, QDir::Files)) {
        const QString name = lettersOf(page.chopped(3));
        if (!wanted.contains(name) || name.size() <= longest) continue;
        longest = name.size();
        best = QStringLiteral("commands/") + page;
    }
    return best;
}

QString beginningOf(const QString& page) {
    QFile file(manualFolder() + QLatin1Char('/') + page);
    if (page.isEmpty() || !file.open(QIODevice::ReadOnly)) return {};
    // The first is the title.
    const QStringList paragraphs =
        QString::fromUtf8(file.readAll()).split(QStringLiteral("\n\n"), Qt::SkipEmptyParts);
    if (paragraphs.size() < 2) return {};
    QTextDocument text;
    text.setMarkdown(paragraphs[1]);
    return text.toPlainText().toHtmlEscaped();
}

} // namespace cadencora::stage
