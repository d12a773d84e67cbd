#include "app/platform/single_instance.h"

#include "base/private_folder.h"
#include "common/log_categories.h"

#include <QDir>
#include <QLocalServer>
#include <QLocalSocket>
#include <QPointer>

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

std::optional<std::string> SingleInstance::ask(const QString& request,
                                               std::chrono::milliseconds timeout) const {
    if (name_.isEmpty() || !PrivateFolder::checkOwnSocket(name_.toStdString()))
        return std::nullopt;
    QLocalSocket socket;
    socket.connectToServer(name_);
    if (!socket.waitForConnected(500))
        return std::nullopt;
    socket.write(request.toUtf8() + "\n");
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    QByteArray answer;
    // The answer ends when the instance closes the connection.
    while (socket.state() == QLocalSocket::ConnectedState) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        if (left.count() <= 0)
            return std::nullopt;
        socket.waitForReadyRead(static_cast<int>(left.count()));
        answer += socket.readAll();
    }
    answer += socket.readAll();
    if (answer.isEmpty())
        return std::nullopt;
    return answer.toStdString();
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
                    else if (line.startsWith(QLatin1String("report "))) {
                        const QPointer<QLocalSocket> asker(client);
                        const Reply reply = [asker](std::optional<std::string> answer) {
                            if (!asker)
                                return;
                            if (answer)
                                asker->write(QByteArray::fromStdString(*answer));
                            asker->disconnectFromServer();
                        };
                        if (reporter_)
                            reporter_(line.mid(7), reply);
                        else
                            reply(std::nullopt);
                        return;
                    }
                }
            });
        }
    });
    return Claim::claimed;
}

} // namespace ravo::app
