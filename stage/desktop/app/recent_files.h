// The files opened lately, newest first, remembered from one start to the next.
#pragma once

#include <QStringList>

namespace cadencora::stage {

QStringList recentFiles(); // those that are still there
void rememberFile(const QString& path);

} // namespace cadencora::stage
