#include "stage/desktop/steps/folder_run.h"

#include "stage/desktop/widgets/qt_text.h"

#include <QCoreApplication>
#include <QDialog>
#include <QDialogButtonBox>
#include <QFontDatabase>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QProcess>
#include <QPushButton>
#include <QTemporaryDir>
#include <QVBoxLayout>

namespace cadencora::stage {

void runOnFolder(const Recipe& recipe, const QString& from, const QString& to, QWidget* parent) {
    const QTemporaryDir folder;
    const QString file = folder.filePath(QStringLiteral("desktop.recipe"));
    if (const auto saved = saveRecipe(file.toStdString(), recipe); !saved) {
        QMessageBox::critical(parent, QObject::tr("Error"), qtText(saved.problem().text()));
        return;
    }
    QDialog dialog(parent);
    dialog.setWindowTitle(QObject::tr("Recipe on a folder"));
    auto* said = new QPlainTextEdit;
    said->setReadOnly(true);
    said->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Cancel);
    auto* column = new QVBoxLayout(&dialog);
    column->addWidget(said);
    column->addWidget(buttons);
    dialog.resize(720, 420);

    QProcess program;
    program.setProcessChannelMode(QProcess::MergedChannels);
    QObject::connect(&program, &QProcess::readyRead, said, [&] {
        said->moveCursor(QTextCursor::End);
        said->insertPlainText(QString::fromUtf8(program.readAll()));
        said->moveCursor(QTextCursor::End);
    });
    const auto end = [&](const QString& how) {
        said->appendPlainText(how);
        buttons->setStandardButtons(QDialogButtonBox::Close);
    };
    QObject::connect(&program, &QProcess::finished, said, [&](int status) {
        end(status == 0 ? QObject::tr("\nFinished. The results are in %1.").arg(to)
                        : QObject::tr("\nFinished with problems; what worked is in %1.").arg(to));
    });
    QObject::connect(&program, &QProcess::errorOccurred, said, [&](QProcess::ProcessError error) {
        if (error == QProcess::FailedToStart)
            end(QObject::tr("The program cadencora could not be started: %1")
                    .arg(program.errorString()));
    });
    QObject::connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
    program.start(QCoreApplication::applicationDirPath() + QStringLiteral("/cadencora"),
                  {QStringLiteral("run"), from, QStringLiteral("--recipe"), file,
                   QStringLiteral("--out-dir"), to});
    dialog.exec();
    if (program.state() == QProcess::NotRunning) return;
    program.terminate(); // it ends its workers and leaves whole files
    program.waitForFinished(5000);
}

} // namespace cadencora::stage
