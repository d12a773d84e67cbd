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
    // An empty name: no safe place for the socket, so no hand-over at all.
    explicit SingleInstance(QString socketName = defaultSocketName(), QObject* parent = nullptr);

    // "ravo-<uid>.socket" in XDG_RUNTIME_DIR, or in a private folder under the temporary
    // folder; empty (with the reason logged) when neither is the user's own.
    static QString defaultSocketName();

    // Sends the request to a running instance; false when there is none, or when the socket
    // is not this user's own.
    bool forwardToRunning(const QString& request) const;

    enum class Claim { claimed, anotherIsRunning, unavailable };
    // Becomes the running instance, unless another one already is or the socket's place
    // cannot be trusted (then Ravo runs on its own).
    Claim claim();

signals:
    void showUsageRequested();
    void openRequested(QString url);

private:
    QString name_;
    QLocalServer* server_ = nullptr;
};

} // namespace ravo::app
