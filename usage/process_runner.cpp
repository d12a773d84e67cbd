#include "usage/process_runner.h"

#include "common/child_process_group.h"

#include <QProcess>
#include <QTimer>
#include <qcoro/qcoroprocess.h>

namespace ravo::usage {

QCoro::Task<ProcessResult> runProcess(QString program, QStringList arguments,
                                      QProcessEnvironment environment,
                                      std::chrono::milliseconds timeout) {
    QProcess process;
    process.setProgram(program);
    process.setArguments(arguments);
    process.setProcessEnvironment(environment);
    common::startInOwnProcessGroup(process);
    const auto started = std::chrono::steady_clock::now();
    process.start(QIODevice::ReadWrite);
    if (!co_await qCoro(process).waitForStarted(timeout))
        co_return ProcessFailure::notStarted;
    process.closeWriteChannel();
    const auto left = timeout - std::chrono::duration_cast<std::chrono::milliseconds>(
                                    std::chrono::steady_clock::now() - started);
    // QCoro's own time-out rides a coarse timer, which may fire 5% early (14.25 s for 15 s);
    // a precise one ends the child on time.
    bool timedOut = false;
    QTimer deadline;
    deadline.setTimerType(Qt::PreciseTimer);
    deadline.setSingleShot(true);
    QObject::connect(&deadline, &QTimer::timeout, &process, [&] {
        timedOut = true;
        common::killProcessGroup(process);
    });
    deadline.start(std::max(left, std::chrono::milliseconds(1)));
    const bool finished = co_await qCoro(process).waitForFinished(-1);
    deadline.stop();
    if (timedOut || !finished) {
        if (process.state() != QProcess::NotRunning) {
            common::killProcessGroup(process);
            co_await qCoro(process).waitForFinished(std::chrono::seconds(2));
        }
        co_return ProcessFailure::timedOut;
    }
    ProcessOutput output;
    output.exitStatus = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    output.standardOutput = process.readAllStandardOutput();
    output.standardError = process.readAllStandardError();
    co_return output;
}

} // namespace ravo::usage
