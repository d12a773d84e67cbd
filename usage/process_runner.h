#pragma once

#include <QByteArray>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>

#include <qcoro/qcorotask.h>

#include <chrono>
#include <variant>

namespace ravo::usage {

struct ProcessOutput {
    int exitStatus = 0;
    QByteArray standardOutput;
    QByteArray standardError;
};

enum class ProcessFailure { notStarted, timedOut };

using ProcessResult = std::variant<ProcessOutput, ProcessFailure>;

// Runs a program to its end with the given environment only. A program still running at the
// time-out is killed with everything it started.
QCoro::Task<ProcessResult> runProcess(QString program, QStringList arguments,
                                      QProcessEnvironment environment,
                                      std::chrono::milliseconds timeout);

} // namespace ravo::usage
