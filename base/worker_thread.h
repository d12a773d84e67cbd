#pragma once

#include <atomic>
#include <functional>
#include <thread>

namespace ravo {

// A thread that runs `loop` until asked to stop; `loop` checks `stopping()` between steps.
class WorkerThread {
public:
    WorkerThread() = default;
    ~WorkerThread() { stop(); }
    WorkerThread(const WorkerThread&) = delete;
    WorkerThread& operator=(const WorkerThread&) = delete;

    void start(std::function<void()> loop) { thread_ = std::thread(std::move(loop)); }
    // Returns once the loop has ended; false when it was not running.
    bool stop() {
        if (!thread_.joinable())
            return false;
        stopping_ = true;
        thread_.join();
        return true;
    }
    bool stopping() const { return stopping_; }

private:
    std::atomic<bool> stopping_ = false;
    std::thread thread_;
};

} // namespace ravo
