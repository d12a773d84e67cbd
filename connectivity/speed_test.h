#pragma once

#include "base/result.h"
#include "base/setting.h"
#include "connectivity/core/speed_test_history.h"
#include "connectivity/core/speed_test_result.h"

#include <QObject>
#include <QString>

#include <qcoro/qcorotask.h>

#include <memory>
#include <optional>

class QProcess;
class QSettings;

namespace ravo::connectivity {

// Measures the connection on demand by running the platform's measuring tool (our own
// ravo-netquality on Linux) and reading its machine-readable answer.
class SpeedTest : public QObject {
    Q_OBJECT
public:
    static constexpr const char* kServerKey = "speedTestServer";
    // A typed server as it is stored (its configuration document), or what is wrong with it.
    static Result<std::string> checkedServer(std::string_view typed);
    static constexpr Setting kServer{kServerKey,
                                     Setting::Kind::text,
                                     "the speed test's server; empty for the public one",
                                     false,
                                     false,
                                     {},
                                     Setting::Store::app,
                                     {},
                                     &SpeedTest::checkedServer};
    // The tests remembered here, whichever process ran them.
    static constexpr const char* kHistoryKey = "speedTestHistory";
    static constexpr const char* kHistoryUnreadableKey = "speedTestHistoryUnreadable";
    static constexpr int kMaxSeconds = 30;
    static constexpr const char* kFailedText = "The speed test failed.";
    static constexpr const char* kMeasuringText = "Measuring… (about 20 s)";

    enum class Phase { idle, measuring, finished, failed };

    explicit SpeedTest(QSettings& defaults, QString program = defaultProgram(),
                       QObject* parent = nullptr);
    ~SpeedTest() override;

    // Nothing when the test failed. A second call while one runs waits for nothing and
    // gives nothing. `configURL` measures against another server than the setting's, once.
    QCoro::Task<std::optional<SpeedTestResult>> run(std::optional<QString> configURL = {});
    // Ends the measuring tool; the run then gives nothing.
    void cancel();

    Phase phase() const { return phase_; }
    const std::optional<SpeedTestResult>& lastResult() const { return lastResult_; }
    // Newest first, read again from the settings: `ravo speedtest` in a terminal adds to it.
    // What is wrong when the settings or the list cannot be read.
    Result<std::vector<SpeedTestRecord>> readHistory() const;
    // The same, with an unreadable list logged and read as none.
    std::vector<SpeedTestRecord> history() const;
    // After a failed run: what failed and what to do, in a sentence or two.
    const QString& failureReason() const { return failureReason_; }

    // The configuration URL of the server to measure against; empty for the public one.
    QString server() const;
    // A server's address ("https://ravo.example.org") or a configuration URL; empty text
    // goes back to the public server.
    Status setServer(const QString& text);
    static Result<QString> configURL(const QString& text);

    static QString defaultProgram();

signals:
    void phaseChanged();

private:
    void setPhase(Phase phase);
    void fail(const QString& reason);
    void remember(const SpeedTestResult& result, const QString& configURL);

    QSettings& defaults_;
    QString program_;
    std::unique_ptr<QProcess> process_;
    Phase phase_ = Phase::idle;
    std::optional<SpeedTestResult> lastResult_;
    QString failureReason_;
};

} // namespace ravo::connectivity
