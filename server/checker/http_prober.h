#pragma once

#include "server/core/store.h"

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <unordered_set>
#include <vector>

namespace ravo::server {

struct ProbeOptions {
    std::chrono::milliseconds timeout{10000};
    std::size_t keywordSearchBytes = 1024 * 1024; // the keyword must be in this much
    std::optional<std::string> caFile;            // for sites on a private CA
    std::string userAgent = "ravo-server";
};

// Runs many checks at once on one libcurl multi handle: one GET per check on a fresh
// connection, following up to five redirects, within the time-out.
class HttpProber {
public:
    explicit HttpProber(ProbeOptions options);
    ~HttpProber();
    HttpProber(const HttpProber&) = delete;
    HttpProber& operator=(const HttpProber&) = delete;

    void start(const DueCheck& check);
    std::size_t inFlight() const;
    // Lets transfers run for up to `wait`; the checks that finished meanwhile.
    std::vector<CheckReport> poll(std::chrono::milliseconds wait);

    struct Transfer;

private:
    ProbeOptions options_;
    void* multi_;
    std::unordered_set<Transfer*> transfers_;
};

} // namespace ravo::server
