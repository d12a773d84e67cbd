#include "app/platform/single_instance.h"

#include "common/log_categories.h"
#include "base/private_folder.h"

#include <QDir>
#include <QLocalServer>
#include <QLocalSocket>

#include <unistd.h>

namespace ravo::app {

namespace fs = std::filesystem;

SingleInstance::SingleInstance(QString socketName, QObject* parent)
    : QObject(parent), name_(std::move(socketName)) {}

QString SingleInstance::defaultSocketName() {
    const QString runtime = qEnvironmentVariable("XDG_RUNTIME_DIR");
    const auto folder = PrivateFolder::runtimeFolder(
        runtime.isEmpty() ? std::nullopt : std::optional(fs::path(runtime.toStdString())),
        fs::path(QDir::tempPath().toStdString()));
    if (!folder) {
        qCWarning(lcApp).noquote() << QString::fromStdString(folder.error())
                                   << "- links cannot be handed to a running Ravo";
        return {};
    }
    const QString file = QStringLiteral("ravo-%1.socket").arg(::getuid());
    return QString::fromStdString(folder->string()) + "/" + file;
}

bool SingleInstance::forwardToRunning(const QString& request) const {
    if (name_.isEmpty())
        return false;
    if (const auto own = PrivateFolder::checkOwnSocket(name_.toStdString()); !own) {
        qCWarning(lcApp).noquote() << QString::fromStdString(own.error());
        return false;
    }
    QLocalSocket socket;
    socket.connectToServer(name_);
    if (!socket.waitForConnected(500))
        return false;
    socket.write(request.toUtf8() + "\n");
    socket.waitForBytesWritten(500);
    socket.disconnectFromServer();
    return true;
}

SingleInstance::Claim SingleInstance::claim() {
    if (name_.isEmpty())
        return Claim::unavailable;
    if (const auto own = PrivateFolder::checkOwnSocket(name_.toStdString()); !own) {
        qCWarning(lcApp).noquote() << QString::fromStdString(own.error());
        return Claim::unavailable;
    }
    if (forwardToRunning(QStringLiteral("ping")))
        return Claim::anotherIsRunning;
    QLocalServer::removeServer(name_); // a socket left by a crashed instance
    server_ = new QLocalServer(this);
    server_->setSocketOptions(QLocalServer::UserAccessOption);
    if (!server_->listen(name_)) {
        qCWarning(lcApp).noquote() << "Cannot listen on" << name_ << server_->errorString();
        return Claim::unavailable;
    }
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
    return Claim::claimed;
}

} // namespace ravo::app
