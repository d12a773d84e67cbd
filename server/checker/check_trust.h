#pragma once

#include <chrono>
#include <mutex>
#include <optional>
#include <string>

struct x509_store_st;

namespace ravo::server {

// The certificate authorities every check verifies against, read once and shared by all
// checking threads instead of read again for each connection; read afresh now and then so
// a changed bundle is taken up.
class CheckTrust {
public:
    // `caFile`: the operator's authorities; nothing: the system's.
    explicit CheckTrust(std::optional<std::string> caFile);
    ~CheckTrust();
    CheckTrust(const CheckTrust&) = delete;
    CheckTrust& operator=(const CheckTrust&) = delete;

    // The store with one reference for the caller, or nothing when the authorities cannot
    // be read: then no certificate can be trusted and checks of HTTPS sites fail.
    x509_store_st* authorities();

private:
    x509_store_st* load() const;

    std::optional<std::string> caFile_;
    std::mutex mutex_;
    x509_store_st* store_ = nullptr;
    std::chrono::steady_clock::time_point loadedAt_{};
};

} // namespace ravo::server
