#include "usage/codex_exchange.h"

#include "common/child_process_group.h"
#include "base/json_parse.h"

#include <QProcessEnvironment>

#include <nlohmann/json.hpp>

namespace ravo::usage {

CodexExchange::CodexExchange(QString program, QString path, QByteArray requestLines, int requestID,
                             std::chrono::milliseconds timeout, QObject* parent)
    : QObject(parent), requestLines_(std::move(requestLines)), requestID_(requestID) {
    process_.setProgram(program);
    process_.setArguments({"app-server"});
    auto environment = QProcessEnvironment::systemEnvironment();
    environment.insert("PATH", path);
    process_.setProcessEnvironment(environment);
    process_.setProcessChannelMode(QProcess::SeparateChannels);
    common::startInOwnProcessGroup(process_);
    timer_.setSingleShot(true);
    timer_.setInterval(timeout);
    connect(&timer_, &QTimer::timeout, this,
            [this] { finish({}, QStringLiteral("codex app-server timed out"), true); });
    connect(&process_, &QProcess::readyReadStandardOutput, this, &CodexExchange::readLines);
    connect(&process_, &QProcess::readyReadStandardError, this,
            [this] { process_.readAllStandardError(); }); // keep its pipe from filling
    connect(&process_, &QProcess::finished, this, [this] {
        readLines();
        finish({}, sawOutput_ ? QStringLiteral("codex app-server exited without a response")
                              : QStringLiteral("codex app-server did not respond"));
    });
    connect(&process_, &QProcess::errorOccurred, this, [this](QProcess::ProcessError error) {
        if (error == QProcess::FailedToStart)
            finish({}, QStringLiteral("codex app-server did not respond"));
    });
}

CodexExchange::~CodexExchange() {
    if (process_.state() != QProcess::NotRunning) {
        process_.disconnect(this);
        common::killProcessGroup(process_);
        process_.waitForFinished(1000);
    }
}

void CodexExchange::start() {
    timer_.start();
    process_.start();
    process_.write(requestLines_);
}

void CodexExchange::readLines() {
    pending_ += process_.readAllStandardOutput();
    qsizetype newline;
    while (!done_ && (newline = pending_.indexOf('\n')) >= 0) {
        const QByteArray line = pending_.left(newline).trimmed();
        pending_.remove(0, newline + 1);
        if (line.isEmpty())
            continue;
        sawOutput_ = true;
        // Notifications have no id; the initialize answer has id 1.
        const auto message = parseJsonOrDiscarded(
            std::string_view(line.constData(), static_cast<std::size_t>(line.size())));
        if (message.is_object() && message.contains("id") && message["id"] == requestID_)
            finish(line, {});
    }
}

void CodexExchange::finish(QByteArray answer, QString error, bool timedOut) {
    if (done_)
        return;
    done_ = true;
    timer_.stop();
    process_.disconnect(this);
    if (process_.state() != QProcess::NotRunning) {
        process_.closeWriteChannel();
        common::killProcessGroup(process_);
    }
    emit finished(answer, error, timedOut);
}

} // namespace ravo::usage
