#pragma once

#include <mutex>

namespace ravo::server {

// One DNS cache for all checking threads, so a name many sites share is looked up once a
// minute, not once per thread. Every address is still judged as its socket is opened, so
// a cached answer cannot lead a check anywhere a fresh one could not.
class SharedDnsCache {
public:
    SharedDnsCache();
    ~SharedDnsCache();
    SharedDnsCache(const SharedDnsCache&) = delete;
    SharedDnsCache& operator=(const SharedDnsCache&) = delete;

    // The libcurl share handle for CURLOPT_SHARE; null when libcurl could not make one.
    void* handle() const { return share_; }

private:
    void* share_;
    std::mutex mutex_;
};

} // namespace ravo::server
