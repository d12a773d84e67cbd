#pragma once

#include <QObject>
#include <QString>

class QLocalServer;

namespace ravo::app {

// One Ravo per user. A second `ravo` hands its request to the first over a local socket
// and exits: plain `ravo` brings up the AI usage, `ravo ravo://...` passes the link on.
class SingleInstance : public QObject {
    Q_OBJECT
public:
    explicit SingleInstance(QString socketName = defaultSocketName(), QObject* parent = nullptr);

    static QString defaultSocketName();

    // Sends the request to a running instance; false when there is none.
    bool forwardToRunning(const QString& request) const;
    // Becomes the running instance; false when another one already is.
    bool claim();

signals:
    void showUsageRequested();
    void openRequested(QString url);

private:
    QString name_;
    QLocalServer* server_ = nullptr;
};

} // namespace ravo::app
