// What a window without a scene shows: ways to get one, and what to do then.
#pragma once

#include <QWidget>

class QVBoxLayout;

namespace cadencora::stage {

class Welcome : public QWidget {
    Q_OBJECT
public:
    explicit Welcome(QWidget* parent = nullptr);

    void showRecent(); // files, as they are remembered now

signals:
    void openWanted();
    void fileWanted(const QString& path);
    void manualWanted();

private:
    QVBoxLayout* recent_;
};

} // namespace cadencora::stage
