#include "app/log_file.h"

#include <QDateTime>
#include <QString>

#include <atomic>
#include <system_error>
#include <unistd.h>

namespace ravo::app {

namespace {

std::atomic<std::FILE*> target{nullptr};
std::atomic<bool> alsoToStderr{false};

const char* levelName(QtMsgType type) {
    switch (type) {
    case QtDebugMsg:
        return "debug";
    case QtInfoMsg:
        return "info";
    case QtWarningMsg:
        return "warning";
    case QtCriticalMsg:
        return "error";
    case QtFatalMsg:
        return "fatal";
    }
    return "info";
}

void writeLine(QtMsgType type, const QMessageLogContext& context, const QString& message) {
    std::FILE* file = target.load();
    if (!file)
        return;
    const QByteArray line =
        QDateTime::currentDateTimeUtc().toString(Qt::ISODate).toUtf8() + ' ' + levelName(type) +
        ' ' + (context.category ? context.category : "default") + ": " + message.toUtf8() + '\n';
    std::fwrite(line.constData(), 1, static_cast<std::size_t>(line.size()), file);
    std::fflush(file);
    if (alsoToStderr.load()) {
        const QByteArray formatted = qFormatLogMessage(type, context, message).toUtf8() + '\n';
        std::fwrite(formatted.constData(), 1, static_cast<std::size_t>(formatted.size()), stderr);
    }
}

} // namespace

LogFile::LogFile(const std::filesystem::path& path, Mode mode) {
    std::error_code ignored;
    std::filesystem::create_directories(path.parent_path(), ignored);
    if (std::filesystem::file_size(path, ignored) > 1024 * 1024) {
        auto aside = path;
        aside += ".1";
        std::filesystem::rename(path, aside, ignored);
    }
    file_ = std::fopen(path.c_str(), "ae");
    if (!file_)
        return;
    target.store(file_);
    previous_ = qInstallMessageHandler(writeLine);
    if (mode == Mode::besideStderr) {
        alsoToStderr.store(true);
        return;
    }
    // What children and libraries print to stderr goes there too.
    std::fflush(stderr);
    savedError_ = ::dup(STDERR_FILENO);
    ::dup2(::fileno(file_), STDERR_FILENO);
}

LogFile::~LogFile() {
    if (!file_)
        return;
    qInstallMessageHandler(previous_);
    target.store(nullptr);
    alsoToStderr.store(false);
    if (savedError_ >= 0) {
        std::fflush(stderr);
        ::dup2(savedError_, STDERR_FILENO);
        ::close(savedError_);
    }
    std::fclose(file_);
}

} // namespace ravo::app
