#include "server/alerts/alert_worker.h"

#include "base/log.h"

namespace ravo::server {

namespace {

constexpr int kMaxAttempts = 6;

} // namespace

AlertWorker::AlertWorker(Store& store, const TelegramClient& telegram,
                         std::optional<std::string> serverBotToken, std::function<TimePoint()> now)
    : store_(store), telegram_(telegram), serverBotToken_(std::move(serverBotToken)),
      now_(std::move(now)) {}

AlertWorker::~AlertWorker() {
    stop();
}

void AlertWorker::start() {
    thread_.start([this] { run(); });
}

void AlertWorker::stop() {
    thread_.stop();
}

AlertOutcome AlertWorker::outcomeFor(const TelegramDelivery& delivery, int attempts,
                                     TimePoint now) {
    using Kind = TelegramDelivery::Kind;
    switch (delivery.kind) {
    case Kind::sent:
        return {AlertOutcome::Kind::sent, {}, {}, std::nullopt};
    case Kind::retryLater:
        return {AlertOutcome::Kind::retry, now + delivery.retryAfter, {}, std::nullopt};
    case Kind::migrated:
        return {AlertOutcome::Kind::retry, now, {}, delivery.migratedChatId};
    case Kind::permanent:
        return {AlertOutcome::Kind::failed, {}, delivery.description, std::nullopt};
    case Kind::transient:
        break;
    }
    if (attempts >= kMaxAttempts)
        return {AlertOutcome::Kind::failed, {}, delivery.description, std::nullopt};
    // 30 s, 1 min, 2 min, 4 min, 8 min.
    const auto wait = std::chrono::seconds(30) * (1 << std::max(0, attempts - 1));
    return {AlertOutcome::Kind::retry, now + wait, {}, std::nullopt};
}

AlertOutcome AlertWorker::deliver(const QueuedAlert& alert) {
    if (!alert.chatID)
        return {AlertOutcome::Kind::failed, {}, "No Telegram chat is set.", std::nullopt};
    const auto token = speakingBot(alert.botToken, serverBotToken_);
    if (!token)
        return {AlertOutcome::Kind::failed, {}, kNoBotText, std::nullopt};
    const auto delivery = telegram_.sendMessage(*token, *alert.chatID, alert.text);
    if (delivery.kind != TelegramDelivery::Kind::sent)
        log::info("alerts", "Telegram did not take an alert: " + delivery.description);
    return outcomeFor(delivery, alert.attempts, now_());
}

void AlertWorker::run() {
    while (!thread_.stopping()) {
        auto due = store_.claimDueAlerts(now_(), 20);
        if (!due)
            log::error("alerts", "reading the alert queue failed: " + due.error());
        else
            for (const auto& alert : *due) {
                const AlertOutcome outcome = deliver(alert);
                if (telemetry_)
                    telemetry_->alertDeliveries.add(
                        {outcome.kind == AlertOutcome::Kind::sent    ? "sent"
                         : outcome.kind == AlertOutcome::Kind::retry ? "retry"
                                                                     : "given_up"});
                if (auto finished = store_.finishAlert(alert, outcome); !finished)
                    log::error("alerts", "recording a sent alert failed: " + finished.error());
            }
        for (int i = 0; i < 10 && !thread_.stopping() && (!due || due->empty()); ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
}

} // namespace ravo::server
