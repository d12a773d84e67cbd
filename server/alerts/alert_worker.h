#pragma once

#include "base/worker_thread.h"
#include "server/alerts/telegram_client.h"
#include "server/store/store.h"
#include "server/telemetry/server_telemetry.h"

#include <functional>
#include <optional>
#include <string>

namespace ravo::server {

// Sends queued alerts to Telegram, apart from the checks: a slow or failing Bot API
// delays alerts, never checks.
class AlertWorker {
public:
    AlertWorker(
        Store& store, const TelegramClient& telegram, std::optional<std::string> serverBotToken,
        std::function<TimePoint()> now = [] { return Clock::now(); });
    ~AlertWorker();
    void start();
    void stop();
    // Where deliveries are counted for the operator; before start().
    void setTelemetry(ServerTelemetry* telemetry) { telemetry_ = telemetry; }

    // What to do with an alert after Telegram's answer; the retry waits grow with attempts.
    static AlertOutcome outcomeFor(const TelegramDelivery& delivery, int attempts, TimePoint now);

private:
    void run();
    AlertOutcome deliver(const QueuedAlert& alert);

    Store& store_;
    const TelegramClient& telegram_;
    std::optional<std::string> serverBotToken_;
    std::function<TimePoint()> now_;
    WorkerThread thread_;
    ServerTelemetry* telemetry_ = nullptr;
};

} // namespace ravo::server
