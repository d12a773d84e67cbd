#include "connectivity/speed_test.h"

#include "common/child_process_group.h"
#include "common/log_categories.h"
#include "connectivity/core/speed_test_parser.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QLockFile>
#include <QPointer>
#include <QProcess>
#include <QSettings>
#include <QUrl>
#include <qcoro/qcoroprocess.h>

namespace ravo::connectivity {

namespace {

// The tool stops itself at its limit; this is for one that does not.
constexpr std::chrono::seconds kGrace{20};

constexpr const char* kReinstall = " Reinstall Ravo to bring it back.";

// Our own tool's last words are written for the user; anything else's are not.
QString toolReason(const QString& program, const QByteArray& errorOutput) {
    const QString prefix = QFileInfo(program).fileName() + ": ";
    const QStringList lines = QString::fromUtf8(errorOutput).trimmed().split('\n');
    if (QFileInfo(program).fileName() == QStringLiteral("ravo-netquality") && !lines.isEmpty() &&
        lines.last().startsWith(prefix))
        return lines.last().mid(prefix.size()).left(400);
    return QStringLiteral("The measuring tool stopped with an error. Try again; if it keeps "
                          "failing, check the speed test server in Ravo's settings.");
}

} // namespace

SpeedTest::SpeedTest(QSettings& defaults, QString program, QObject* parent)
    : QObject(parent), defaults_(defaults), program_(std::move(program)) {}

SpeedTest::~SpeedTest() {
    cancel();
}

QString SpeedTest::defaultProgram() {
#ifdef __APPLE__
    return QStringLiteral("/usr/bin/networkQuality");
#else
    return QCoreApplication::applicationDirPath() + "/ravo-netquality";
#endif
}

QString SpeedTest::server() const {
    return defaults_.value(kServerKey).toString();
}

Result<std::string> SpeedTest::checkedServer(std::string_view typed) {
    const auto url =
        configURL(QString::fromUtf8(typed.data(), static_cast<qsizetype>(typed.size())));
    if (!url)
        return url.failure();
    return url->toStdString();
}

Result<QString> SpeedTest::configURL(const QString& text) {
    const QString given = text.trimmed();
    if (given.isEmpty())
        return QString();
    QUrl url(given, QUrl::StrictMode);
    if (!url.isValid() || (url.scheme() != "http" && url.scheme() != "https") ||
        url.host().isEmpty())
        return Failure{"Enter the server's address with http:// or https://, such as "
                       "https://ravo.example.org."};
    // A Ravo server's own address leads to its configuration document.
    if (url.path().isEmpty() || url.path() == "/")
        url.setPath("/api/v1/speedtest/config");
    return url.toString();
}

Status SpeedTest::setServer(const QString& text) {
    const auto url = configURL(text);
    if (!url)
        return url.failure();
    if (url->isEmpty())
        defaults_.remove(kServerKey);
    else
        defaults_.setValue(kServerKey, *url);
    return success();
}

void SpeedTest::setPhase(Phase phase) {
    if (phase == phase_)
        return;
    phase_ = phase;
    emit phaseChanged();
}

void SpeedTest::fail(const QString& reason) {
    failureReason_ = reason;
    lastResult_.reset();
    setPhase(Phase::failed);
}

Result<std::vector<SpeedTestRecord>> SpeedTest::readHistory() const {
    defaults_.sync();
    if (defaults_.status() != QSettings::NoError)
        return Failure{"The settings file " + defaults_.fileName().toStdString() +
                       " cannot be read."};
    const QString text = defaults_.value(kHistoryKey).toString();
    if (text.isEmpty())
        return std::vector<SpeedTestRecord>{};
    auto records = SpeedTestHistory::decode(text.toStdString());
    if (!records)
        return Failure{"The speed test history in " + defaults_.fileName().toStdString() +
                       " is unreadable: " + records.error()};
    return records;
}

std::vector<SpeedTestRecord> SpeedTest::history() const {
    auto records = readHistory();
    if (!records) {
        qCWarning(lcConnection).noquote() << QString::fromStdString(records.error());
        return {};
    }
    return std::move(records).value();
}

// Added to the list as it is now, under a lock, so a test another process finishes at the
// same moment stays too. An unreadable list is kept once before a new one replaces it.
void SpeedTest::remember(const SpeedTestResult& result, const QString& configURL) {
    QLockFile lock(defaults_.fileName() + ".speedtests.lock");
    lock.setStaleLockTime(std::chrono::seconds(10));
    if (!lock.tryLock(std::chrono::seconds(5)))
        qCWarning(lcConnection) << "The speed test history stayed locked; saving anyway";
    auto records = readHistory();
    // A settings file that cannot be read is never written over.
    if (defaults_.status() != QSettings::NoError) {
        qCWarning(lcConnection).noquote()
            << "The speed test is not remembered:" << QString::fromStdString(records.error());
        return;
    }
    if (!records && !defaults_.contains(kHistoryUnreadableKey))
        defaults_.setValue(kHistoryUnreadableKey, defaults_.value(kHistoryKey));
    const auto kept = SpeedTestHistory::withRecord(
        records ? std::move(records).value() : std::vector<SpeedTestRecord>{},
        {std::chrono::floor<std::chrono::seconds>(Clock::now()), configURL.toStdString(), result});
    defaults_.setValue(kHistoryKey, QString::fromStdString(SpeedTestHistory::encode(kept)));
    defaults_.sync();
}

void SpeedTest::cancel() {
    if (process_ && process_->state() != QProcess::NotRunning)
        common::killProcessGroup(*process_);
}

QCoro::Task<std::optional<SpeedTestResult>> SpeedTest::run(std::optional<QString> configURL) {
    if (phase_ == Phase::measuring)
        co_return std::nullopt;
    failureReason_.clear();
    setPhase(Phase::measuring);
    // A missing tool would otherwise only show as a start that never comes.
    if (!QFileInfo(program_).isExecutable()) {
        qCWarning(lcConnection).noquote() << "The speed test tool is missing:" << program_;
        fail("The measuring tool " + program_ + " is missing." + kReinstall);
        co_return std::nullopt;
    }
    QPointer<SpeedTest> self(this);
    QStringList arguments{"-c", "-M", QString::number(kMaxSeconds)};
    const QString url = configURL.value_or(server());
    if (!url.isEmpty())
        arguments << "--config" << url;
    process_ = std::make_unique<QProcess>();
    QProcess* process = process_.get();
    process->setProgram(program_);
    process->setArguments(arguments);
    process->setProcessChannelMode(QProcess::SeparateChannels);
    common::startInOwnProcessGroup(*process);
    process->start(QIODevice::ReadOnly);
    const bool started = co_await qCoro(*process).waitForStarted(std::chrono::seconds(5));
    bool finished = false;
    if (started && self) {
        const bool ended =
            co_await qCoro(*process).waitForFinished(std::chrono::seconds(kMaxSeconds) + kGrace);
        finished = ended;
    }
    if (!self)
        co_return std::nullopt;
    std::optional<SpeedTestResult> result;
    QString reason;
    if (!started) {
        qCWarning(lcConnection).noquote()
            << "The speed test did not start:" << process->errorString();
        reason = "The measuring tool " + program_ + " could not be started." + kReinstall;
    } else if (!finished) {
        common::killProcessGroup(*process);
        qCWarning(lcConnection) << "The speed test ran past its limit";
        reason = "The test did not finish in time and was stopped. Try again later.";
    } else if (process->exitStatus() != QProcess::NormalExit) {
        qCWarning(lcConnection) << "The speed test tool ended abnormally";
        reason = "The measuring tool stopped before it was done. Try again.";
    } else if (process->exitCode() != 0) {
        const QByteArray errors = process->readAllStandardError();
        qCWarning(lcConnection).noquote()
            << "The speed test failed:" << QString::fromUtf8(errors).trimmed().left(400);
        reason = toolReason(program_, errors);
    } else {
        result = SpeedTestParser::resultFromOutput(process->readAllStandardOutput().toStdString());
        if (!result)
            reason = "The measuring tool gave no figures. Try again; if it keeps failing, check "
                     "the speed test server in Ravo's settings.";
    }
    if (result) {
        remember(*result, url);
        lastResult_ = result;
        setPhase(Phase::finished);
    } else {
        fail(reason);
    }
    co_return result;
}

} // namespace ravo::connectivity
