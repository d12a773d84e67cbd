#include "usage/process_runner.h"

#include "usage/child_process_group.h"

#include <QProcess>
#include <qcoro/qcoroprocess.h>

namespace ravo::usage {

QCoro::Task<ProcessResult> runProcess(QString program, QStringList arguments,
                                      QProcessEnvironment environment,
                                      std::chrono::milliseconds timeout) {
    QProcess process;
    process.setProgram(program);
    process.setArguments(arguments);
    process.setProcessEnvironment(environment);
    startInOwnProcessGroup(process);
    const auto started = std::chrono::steady_clock::now();
    process.start(QIODevice::ReadWrite);
    if (!co_await qCoro(process).waitForStarted(timeout))
        co_return ProcessFailure::notStarted;
    process.closeWriteChannel();
    const auto left = timeout - std::chrono::duration_cast<std::chrono::milliseconds>(
                                    std::chrono::steady_clock::now() - started);
    if (!co_await qCoro(process).waitForFinished(std::max(left, std::chrono::milliseconds(1)))) {
        killProcessGroup(process);
        co_await qCoro(process).waitForFinished(std::chrono::seconds(2));
        co_return ProcessFailure::timedOut;
    }
    ProcessOutput output;
    output.exitStatus = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    output.standardOutput = process.readAllStandardOutput();
    output.standardError = process.readAllStandardError();
    co_return output;
}

} // namespace ravo::usage
