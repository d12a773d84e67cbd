#include "app/platform/single_instance.h"

#include <QDir>
#include <QLocalServer>
#include <QLocalSocket>

#include <unistd.h>

namespace ravo::app {

SingleInstance::SingleInstance(QString socketName, QObject* parent)
    : QObject(parent), name_(std::move(socketName)) {}

QString SingleInstance::defaultSocketName() {
    const QString runtime = qEnvironmentVariable("XDG_RUNTIME_DIR");
    const QString file = QStringLiteral("ravo-%1.socket").arg(::getuid());
    return runtime.isEmpty() ? QDir::tempPath() + "/" + file : runtime + "/" + file;
}

bool SingleInstance::forwardToRunning(const QString& request) const {
    QLocalSocket socket;
    socket.connectToServer(name_);
    if (!socket.waitForConnected(500))
        return false;
    socket.write(request.toUtf8() + "\n");
    socket.waitForBytesWritten(500);
    socket.disconnectFromServer();
    return true;
}

bool SingleInstance::claim() {
    if (forwardToRunning(QStringLiteral("ping")))
        return false;
    QLocalServer::removeServer(name_); // a socket left by a crashed instance
    server_ = new QLocalServer(this);
    server_->setSocketOptions(QLocalServer::UserAccessOption);
    if (!server_->listen(name_))
        return false;
    connect(server_, &QLocalServer::newConnection, this, [this] {
        while (QLocalSocket* client = server_->nextPendingConnection()) {
            connect(client, &QLocalSocket::disconnected, client, &QObject::deleteLater);
            connect(client, &QLocalSocket::readyRead, this, [this, client] {
                while (client->canReadLine()) {
                    const QString line = QString::fromUtf8(client->readLine()).trimmed();
                    if (line == QLatin1String("show-usage"))
                        emit showUsageRequested();
                    else if (line.startsWith(QLatin1String("open ")))
                        emit openRequested(line.mid(5));
                }
            });
        }
    });
    return true;
}

} // namespace ravo::app
