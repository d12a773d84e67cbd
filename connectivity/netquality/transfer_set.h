#pragma once

#include "connectivity/netquality/responsiveness_math.h"

#include <curl/curl.h>

#include <chrono>
#include <memory>
#include <string>
#include <vector>

// The transfers a responsiveness test runs side by side in one libcurl multi handle.
namespace ravo::connectivity::netquality {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

// One transfer: a load-generating download or upload, or a latency probe.
struct Transfer {
    enum class Kind { download, upload, freshProbe, loadedProbe, config };
    Kind kind;
    CURL* easy = nullptr;
    curl_off_t bytes = 0;
    std::string body; // probes and the configuration keep theirs, within a limit
    bool finished = false;
    CURLcode result = CURLE_OK;
    long status = 0;

    explicit Transfer(Kind k) : kind(k), easy(curl_easy_init()) {}
    ~Transfer() { curl_easy_cleanup(easy); }
    Transfer(const Transfer&) = delete;
    Transfer& operator=(const Transfer&) = delete;
    bool isLoad() const { return kind == Kind::download || kind == Kind::upload; }

    // An upload counts what the server acknowledged; bytes handed over only where the
    // kernel cannot say.
    curl_off_t bytesMoved() const;

    int fd = -1; // of a load-generating connection, once it is open

private:
    mutable curl_off_t acked = 0;
};

// The multi handle and everything running in it; owns the transfers.
class TransferSet {
public:
    TransferSet();
    ~TransferSet();
    TransferSet(const TransferSet&) = delete;
    TransferSet& operator=(const TransferSet&) = delete;

    Transfer* add(Transfer::Kind kind, const std::string& url, milliseconds timeout);
    void remove(Transfer* transfer);
    // Moves the transfers along for up to `wait`; finished ones are marked.
    void step(milliseconds wait);

private:
    struct SlistFree {
        void operator()(curl_slist* list) const { curl_slist_free_all(list); }
    };
    CURLM* multi_;
    std::vector<std::unique_ptr<Transfer>> transfers_;
    std::unique_ptr<curl_slist, SlistFree> headers_;
};

bool succeeded(const Transfer& transfer);
// What went wrong, in words of our own: the library's texts are for its developers.
std::string failureOf(const Transfer& transfer);
// The timings of a finished probe, into the lists they belong to.
void recordProbe(const Transfer& probe, ResponsivenessMath::ProbeTimings& timings);

inline constexpr const char* kTryAgain = " Try again; if it keeps failing, the server or the "
                                         "network between you and it is at fault.";

} // namespace ravo::connectivity::netquality
