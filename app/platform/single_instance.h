#pragma once

#include <QObject>
#include <QString>

#include <chrono>
#include <functional>
#include <optional>
#include <string>

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

    // Asks the running instance a question (`report status json`, say) and waits for its
    // answer; nothing when none runs, it does not know yet, or it does not answer in time.
    std::optional<std::string>
    ask(const QString& request, std::chrono::milliseconds timeout = std::chrono::seconds(3)) const;

    // How the running instance answers `report <what>`, now or a little later; nothing:
    // "look for yourself".
    using Reply = std::function<void(std::optional<std::string> answer)>;
    using Reporter = std::function<void(const QString& what, Reply reply)>;
    void setReporter(Reporter reporter) { reporter_ = std::move(reporter); }

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
    Reporter reporter_;
};

} // namespace ravo::app
