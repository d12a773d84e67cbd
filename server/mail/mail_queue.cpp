#include "server/mail/mail_queue.h"

#include "base/log.h"

#include <algorithm>

namespace ravo::server {

namespace {

constexpr std::size_t kMaxQueued = 1000;

} // namespace

MailQueue::MailQueue(Mailer& transport, std::vector<std::chrono::milliseconds> retryWaits)
    : transport_(transport), retryWaits_(std::move(retryWaits)), thread_([this] { run(); }) {}

MailQueue::~MailQueue() {
    {
        std::lock_guard lock(mutex_);
        stopping_ = true;
    }
    changed_.notify_all();
    thread_.join();
}

Status MailQueue::send(const MailMessage& message) {
    {
        std::lock_guard lock(mutex_);
        if (queue_.size() >= kMaxQueued)
            return Failure{"the mail queue is full"};
        queue_.push_back({message, 0, std::chrono::steady_clock::now()});
        counted(nullptr);
    }
    changed_.notify_all();
    return success();
}

void MailQueue::run() {
    std::unique_lock lock(mutex_);
    while (!stopping_) {
        if (queue_.empty()) {
            changed_.wait(lock);
            continue;
        }
        const auto next =
            std::min_element(queue_.begin(), queue_.end(),
                             [](const Pending& a, const Pending& b) { return a.due < b.due; });
        if (next->due > std::chrono::steady_clock::now()) {
            changed_.wait_until(lock, next->due);
            continue;
        }
        Pending pending = std::move(*next);
        queue_.erase(next);
        lock.unlock();
        const Status sent = transport_.send(pending.message);
        lock.lock();
        if (sent) {
            counted("sent");
            continue;
        }
        if (pending.attempts >= retryWaits_.size()) {
            log::error("mail",
                       "gave up on the mail to " + pending.message.to + ": " + sent.error());
            counted("given_up");
            continue;
        }
        log::info("mail",
                  "the mail to " + pending.message.to + " will be tried again: " + sent.error());
        pending.due = std::chrono::steady_clock::now() + retryWaits_[pending.attempts++];
        queue_.push_back(std::move(pending));
        counted("retry");
    }
}

void MailQueue::setTelemetry(ServerTelemetry* telemetry) {
    std::lock_guard lock(mutex_);
    telemetry_ = telemetry;
    counted(nullptr);
}

void MailQueue::counted(const char* outcome) {
    if (!telemetry_)
        return;
    if (outcome)
        telemetry_->mails.add({outcome});
    telemetry_->mailQueued = static_cast<std::int64_t>(queue_.size());
}

} // namespace ravo::server
