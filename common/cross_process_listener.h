#pragma once

#include <QObject>
#include <QString>

class QFileSystemWatcher;
class QTimer;

namespace ravo::common {

// What ravo-hook announces: the D-Bus signals on the session bus and, as a fallback without
// a bus, changes in the shared folder. Bursts (an agent runs many hooks in a row) arrive
// as one signal each.
class CrossProcessListener : public QObject {
    Q_OBJECT
public:
    explicit CrossProcessListener(QString containerPath, QObject* parent = nullptr);

    void start();
    bool isListeningOnBus() const { return onBus_; }

signals:
    void sessionsChanged();
    void claudeLimitsChanged();

private slots:
    void onSessionsSignal();
    void onClaudeLimitsSignal();

private:
    void watchFolders();

    QString container_;
    bool onBus_ = false;
    bool started_ = false;
    qint64 lastLimitsChange_ = 0;
    QFileSystemWatcher* watcher_ = nullptr;
    QTimer* sessionsBurst_ = nullptr;
    QTimer* limitsBurst_ = nullptr;
};

} // namespace ravo::common
