#pragma once

#include "server/checker/check_trust.h"
#include "server/checker/shared_dns_cache.h"
#include "server/net/ip_address.h"
#include "server/net/ip_network.h"
#include "server/store/store.h"

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
    // Besides global addresses, the only ones a check may connect to.
    std::vector<IpNetwork> allowNetworks;
};

// What a check reads when the address it would connect to is not the public internet's.
inline constexpr const char* kPrivateAddressDetail =
    "The address is private to the server's network.";

// Runs many checks at once on one libcurl multi handle, used by one thread: one GET per check on a
// fresh connection, following up to five redirects, within the time-out. Every address a check
// connects to, at every redirect, is judged as the socket is opened, after any resolving:
// no spelling of an address and no DNS answer can lead a check inside the server's network.
class HttpProber {
public:
    // Without `trust` or `dns` the prober keeps its own; checking threads share them.
    explicit HttpProber(ProbeOptions options, std::shared_ptr<CheckTrust> trust = nullptr,
                        std::shared_ptr<SharedDnsCache> dns = nullptr);
    ~HttpProber();
    HttpProber(const HttpProber&) = delete;
    HttpProber& operator=(const HttpProber&) = delete;

    void start(const DueCheck& check);
    std::size_t inFlight() const;
    // Lets transfers run for up to `wait`; the checks that finished meanwhile.
    std::vector<CheckReport> poll(std::chrono::milliseconds wait);
    // Ends a poll that waits, from any thread: there are checks to start.
    void wakeUp();

    struct Transfer;

private:
    ProbeOptions options_;
    std::shared_ptr<CheckTrust> trust_;
    std::shared_ptr<SharedDnsCache> dns_;
    // This machine's own addresses, looked up again now and then: interfaces come and go.
    std::vector<IpAddress> ownAddresses_;
    std::chrono::steady_clock::time_point ownAddressesAt_{};
    void* multi_;
    std::unordered_set<Transfer*> transfers_;
};

} // namespace ravo::server
