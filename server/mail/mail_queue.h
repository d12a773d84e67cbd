#pragma once

#include "server/mail/mailer.h"
#include "server/telemetry/server_telemetry.h"

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <vector>

namespace ravo::server {

// Sends mail from a worker thread, so a slow or stuck SMTP server never holds up a
// request; a failed send is tried again a few times before it is given up and logged.
class MailQueue final : public Mailer {
public:
    explicit MailQueue(Mailer& transport, std::vector<std::chrono::milliseconds> retryWaits = {
                                              std::chrono::seconds(5), std::chrono::seconds(30),
                                              std::chrono::seconds(120)});
    ~MailQueue() override;

    // Queues the message; fails only when the queue is full.
    Status send(const MailMessage& message) override;
    // Where sends and the queue's length are counted for the operator.
    void setTelemetry(ServerTelemetry* telemetry);

private:
    struct Pending {
        MailMessage message;
        std::size_t attempts = 0;
        std::chrono::steady_clock::time_point due;
    };
    void run();
    void counted(const char* outcome); // with the lock held

    Mailer& transport_;
    std::vector<std::chrono::milliseconds> retryWaits_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<Pending> queue_;
    bool stopping_ = false;
    ServerTelemetry* telemetry_ = nullptr;
    std::thread thread_;
};

} // namespace ravo::server
