#pragma once

#include "base/result.h"
#include "updates/core/update_decision.h"

#include <QObject>
#include <QUrl>

#include <qcoro/qcorotask.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

class QSettings;
class QTimer;

namespace ravo::common {
class HttpTransport;
}

namespace ravo::updates {

// Asks the configured server for the latest release at start and every few hours, keeps
// the last manifest that verified, and turns it into the decision for the running build.
// An offered download is saved only when its SHA-256 is the manifest's.
class UpdateChecker : public QObject {
    Q_OBJECT
public:
    static constexpr const char* kManifestKey = "lastVerifiedUpdateManifest";
    static constexpr std::string_view kOlderReleaseText =
        "The release server offered an older release than one it published before, so it "
        "was ignored.";

    struct Options {
        long long currentBuild = 0;
        std::string publicKey;          // base64; the built-in key by default
        std::function<QUrl()> manifest; // where releases/latest is, for this platform
        std::chrono::milliseconds interval{6 * 3600 * 1000};
    };

    UpdateChecker(QSettings& defaults, std::shared_ptr<common::HttpTransport> transport,
                  Options options, QObject* parent = nullptr);

    void start();
    void stop();
    QCoro::Task<> check();

    const UpdateDecision& decision() const { return decision_; }
    const std::optional<std::string>& lastError() const { return lastError_; }

    // Saves the offered release into `folder` under the name in its link; the file is kept
    // only when its digest matches the manifest's.
    QCoro::Task<Result<std::filesystem::path>> download(std::filesystem::path folder);

    // releases/latest?platform=linux&channel=stable under a server's API base.
    static QUrl manifestURL(const QUrl& apiBase);

signals:
    void decisionChanged();
    void errorChanged();

private:
    void setDecision(std::optional<ReleaseManifest> manifest);
    void setError(std::optional<std::string> error);

    QSettings& defaults_;
    std::shared_ptr<common::HttpTransport> transport_;
    Options options_;
    UpdateDecision decision_;
    std::optional<std::string> lastError_;
    QTimer* timer_;
};

} // namespace ravo::updates
