// Runs the desktop's tests without a display and without the user's settings.

#include <QApplication>
#include <QSettings>
#include <QTemporaryDir>

#include <cstring>
#include <gtest/gtest.h>

namespace cadencora::stage {
int editAndWait(); // of recovery.cpp: has unsaved work, and is killed
}

int main(int argc, char** argv) {
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("CADENCORA_PLUGIN", CADENCORA_BIN_DIR "/cadencora.so");
    testing::InitGoogleTest(&argc, argv);
    QApplication application(argc, argv);
    QApplication::setOrganizationName(QStringLiteral("Cadencora"));
    QApplication::setApplicationName(QStringLiteral("desktop-tests"));
    QApplication::setStyle(QStringLiteral("Fusion"));
    QApplication::setEffectEnabled(Qt::UI_AnimateCombo, false);
    const QTemporaryDir settings, data;
    const bool isChild = argc == 2 && std::strcmp(argv[1], "--edit-and-wait") == 0;
    if (!isChild) qputenv("XDG_DATA_HOME", data.path().toUtf8()); // the child has its parent's
    QSettings::setDefaultFormat(QSettings::IniFormat);
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, settings.path());
    return isChild ? cadencora::stage::editAndWait() : RUN_ALL_TESTS();
}
