#include "stage/desktop/app/recent_files.h"

#include <QFileInfo>
#include <QSettings>

namespace cadencora::stage {

namespace {

constexpr int most = 10;
const QString key = QStringLiteral("recentFiles");

} // namespace

QStringList recentFiles() {
    QStringList files = QSettings().value(key).toStringList();
    files.removeIf([](const QString& file) { return !QFileInfo::exists(file); });
    return files;
}

void rememberFile(const QString& path) {
    const QString absolute = QFileInfo(path).absoluteFilePath();
    QSettings settings;
    QStringList files = settings.value(key).toStringList();
    files.removeAll(absolute);
    files.prepend(absolute);
    settings.setValue(key, files.mid(0, most));
}

} // namespace cadencora::stage
