#include "server/checker/shared_dns_cache.h"

#include <curl/curl.h>

namespace ravo::server {

namespace {

void lockShare(CURL*, curl_lock_data, curl_lock_access, void* data) {
    static_cast<std::mutex*>(data)->lock();
}

void unlockShare(CURL*, curl_lock_data, void* data) {
    static_cast<std::mutex*>(data)->unlock();
}

} // namespace

SharedDnsCache::SharedDnsCache() : share_(curl_share_init()) {
    if (!share_)
        return;
    CURLSH* share = static_cast<CURLSH*>(share_);
    curl_share_setopt(share, CURLSHOPT_LOCKFUNC, lockShare);
    curl_share_setopt(share, CURLSHOPT_UNLOCKFUNC, unlockShare);
    curl_share_setopt(share, CURLSHOPT_USERDATA, &mutex_);
    curl_share_setopt(share, CURLSHOPT_SHARE, CURL_LOCK_DATA_DNS);
}

SharedDnsCache::~SharedDnsCache() {
    curl_share_cleanup(static_cast<CURLSH*>(share_));
}

} // namespace ravo::server
