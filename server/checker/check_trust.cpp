#include "server/checker/check_trust.h"

#include "base/log.h"

#include <openssl/x509.h>
#include <openssl/x509_vfy.h>

namespace ravo::server {

namespace {

constexpr auto kReadAgainAfter = std::chrono::hours(1);

} // namespace

CheckTrust::CheckTrust(std::optional<std::string> caFile) : caFile_(std::move(caFile)) {}

CheckTrust::~CheckTrust() {
    X509_STORE_free(store_);
}

X509_STORE* CheckTrust::authorities() {
    std::lock_guard lock(mutex_);
    const auto now = std::chrono::steady_clock::now();
    if (!store_ || now - loadedAt_ > kReadAgainAfter) {
        if (X509_STORE* fresh = load()) {
            X509_STORE_free(store_);
            store_ = fresh;
        } else if (!store_) {
            log::error("checker", "cannot read the certificate authorities " +
                                      caFile_.value_or("of the system"));
        }
        loadedAt_ = now;
    }
    if (store_ && X509_STORE_up_ref(store_) != 1)
        return nullptr;
    return store_;
}

X509_STORE* CheckTrust::load() const {
    X509_STORE* store = X509_STORE_new();
    if (!store)
        return nullptr;
    const bool loaded = caFile_ ? X509_STORE_load_file(store, caFile_->c_str()) == 1
                                : X509_STORE_set_default_paths(store) == 1;
    if (!loaded) {
        X509_STORE_free(store);
        return nullptr;
    }
    return store;
}

} // namespace ravo::server
