#pragma once

#include <QByteArray>
#include <QObject>
#include <QProcess>
#include <QTimer>

#include <optional>
#include <string>

namespace ravo::usage {

// The moving parts of one app-server exchange: the child, its output split into lines and
// the timer. `finished` fires once, with the answer line or the reason there is none.
class CodexExchange : public QObject {
    Q_OBJECT
public:
    CodexExchange(QString program, QString path, QByteArray requestLines, int requestID,
                  std::chrono::milliseconds timeout, QObject* parent = nullptr);
    ~CodexExchange() override;

    void start();

signals:
    void finished(QByteArray answer, QString error, bool timedOut);

private:
    void readLines();
    void finish(QByteArray answer, QString error, bool timedOut = false);

    QProcess process_;
    QTimer timer_;
    QByteArray requestLines_;
    QByteArray pending_;
    int requestID_;
    bool sawOutput_ = false;
    bool done_ = false;
};

} // namespace ravo::usage
