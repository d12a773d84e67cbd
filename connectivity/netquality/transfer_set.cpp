#include "connectivity/netquality/transfer_set.h"

#include "connectivity/netquality/acked_bytes.h"

#include <algorithm>

namespace ravo::connectivity::netquality {

namespace {

constexpr std::size_t kConfigLimit = 64 * 1024;
constexpr std::size_t kProbeLimit = 64 * 1024;

std::string userAgent() {
    return "ravo-netquality/1";
}

double microsecondsToMs(curl_off_t value) {
    return double(value) / 1000.0;
}

// The library tells which socket a transfer uses only once it is done; loads need it live.
int noteSocket(void* context, curl_socket_t socket, curlsocktype purpose) {
    if (purpose == CURLSOCKTYPE_IPCXN)
        static_cast<Transfer*>(context)->fd = int(socket);
    return CURL_SOCKOPT_OK;
}

std::size_t receive(char* data, std::size_t size, std::size_t count, void* context) {
    auto* transfer = static_cast<Transfer*>(context);
    const std::size_t bytes = size * count;
    transfer->bytes += curl_off_t(bytes);
    if (!transfer->isLoad()) {
        const std::size_t limit =
            transfer->kind == Transfer::Kind::config ? kConfigLimit : kProbeLimit;
        if (transfer->body.size() + bytes > limit)
            return 0; // refuse a probe answer that will not end
        transfer->body.append(data, bytes);
    }
    return bytes;
}

std::size_t sendZeros(char* buffer, std::size_t size, std::size_t count, void* context) {
    auto* transfer = static_cast<Transfer*>(context);
    const std::size_t bytes = size * count;
    std::fill(buffer, buffer + bytes, '\0');
    transfer->bytes += curl_off_t(bytes);
    return bytes;
}

} // namespace

curl_off_t Transfer::bytesMoved() const {
    if (kind != Kind::upload)
        return bytes;
    const auto sent = acknowledgedBytes(fd);
    if (!sent)
        return fd < 0 ? acked : bytes;
    acked = std::max(acked, curl_off_t(*sent));
    return acked;
}

// No "Expect: 100-continue": the upload starts at once.
TransferSet::TransferSet()
    : multi_(curl_multi_init()), headers_(curl_slist_append(nullptr, "Expect:")) {}

TransferSet::~TransferSet() {
    for (auto& transfer : transfers_) {
        if (transfer->isLoad())
            discardOnClose(transfer->fd);
        curl_multi_remove_handle(multi_, transfer->easy);
    }
    transfers_.clear();
    curl_multi_cleanup(multi_);
}

Transfer* TransferSet::add(Transfer::Kind kind, const std::string& url, milliseconds timeout) {
    auto transfer = std::make_unique<Transfer>(kind);
    CURL* easy = transfer->easy;
    curl_easy_setopt(easy, CURLOPT_URL, url.c_str());
    curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(easy, CURLOPT_USERAGENT, userAgent().c_str());
    curl_easy_setopt(easy, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(easy, CURLOPT_FOLLOWLOCATION, 0L);
    curl_easy_setopt(easy, CURLOPT_CONNECTTIMEOUT_MS,
                     long(std::min(timeout, milliseconds(5000)).count()));
    curl_easy_setopt(easy, CURLOPT_TIMEOUT_MS, long(timeout.count()));
    curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, receive);
    curl_easy_setopt(easy, CURLOPT_WRITEDATA, transfer.get());
    curl_easy_setopt(easy, CURLOPT_PRIVATE, transfer.get());
    curl_easy_setopt(easy, CURLOPT_HTTP_CONTENT_DECODING, 0L);
    if (kind == Transfer::Kind::freshProbe || kind == Transfer::Kind::config) {
        curl_easy_setopt(easy, CURLOPT_FRESH_CONNECT, 1L);
        curl_easy_setopt(easy, CURLOPT_FORBID_REUSE, 1L);
    }
    if (kind == Transfer::Kind::download || kind == Transfer::Kind::upload) {
        // Each load-generating flow is a connection of its own.
        curl_easy_setopt(easy, CURLOPT_FRESH_CONNECT, 1L);
        curl_easy_setopt(easy, CURLOPT_PIPEWAIT, 0L);
        curl_easy_setopt(easy, CURLOPT_SOCKOPTFUNCTION, noteSocket);
        curl_easy_setopt(easy, CURLOPT_SOCKOPTDATA, transfer.get());
    }
    if (kind == Transfer::Kind::upload) {
        curl_easy_setopt(easy, CURLOPT_POST, 1L);
        curl_easy_setopt(easy, CURLOPT_READFUNCTION, sendZeros);
        curl_easy_setopt(easy, CURLOPT_READDATA, transfer.get());
        curl_easy_setopt(easy, CURLOPT_POSTFIELDSIZE_LARGE, curl_off_t(1) << 36);
        curl_easy_setopt(easy, CURLOPT_HTTPHEADER, headers_.get());
    }
    curl_multi_add_handle(multi_, easy);
    transfers_.push_back(std::move(transfer));
    return transfers_.back().get();
}

void TransferSet::remove(Transfer* transfer) {
    curl_multi_remove_handle(multi_, transfer->easy);
    std::erase_if(transfers_, [transfer](const auto& owned) { return owned.get() == transfer; });
}

void TransferSet::step(milliseconds wait) {
    int running = 0;
    curl_multi_perform(multi_, &running);
    curl_multi_poll(multi_, nullptr, 0, int(std::max<milliseconds::rep>(wait.count(), 0)), nullptr);
    curl_multi_perform(multi_, &running);
    int left = 0;
    while (CURLMsg* message = curl_multi_info_read(multi_, &left)) {
        if (message->msg != CURLMSG_DONE)
            continue;
        Transfer* transfer = nullptr;
        curl_easy_getinfo(message->easy_handle, CURLINFO_PRIVATE, &transfer);
        if (!transfer)
            continue;
        transfer->finished = true;
        transfer->result = message->data.result;
        curl_easy_getinfo(transfer->easy, CURLINFO_RESPONSE_CODE, &transfer->status);
    }
}

bool succeeded(const Transfer& transfer) {
    return transfer.finished && transfer.result == CURLE_OK && transfer.status == 200;
}

// What went wrong, in words of our own: the library's texts are for its developers.
std::string failureOf(const Transfer& transfer) {
    switch (transfer.result) {
    case CURLE_OK:
        return "the server answered with error " + std::to_string(transfer.status);
    case CURLE_COULDNT_RESOLVE_HOST:
        return "the server's name could not be looked up";
    case CURLE_COULDNT_RESOLVE_PROXY:
    case CURLE_COULDNT_CONNECT:
        return "the server could not be reached";
    case CURLE_OPERATION_TIMEDOUT:
        return "the server did not answer in time";
    case CURLE_SSL_CONNECT_ERROR:
    case CURLE_PEER_FAILED_VERIFICATION:
    case CURLE_SSL_CERTPROBLEM:
    case CURLE_SSL_CIPHER:
    case CURLE_SSL_CACERT_BADFILE:
        return "a secure connection to the server could not be set up";
    case CURLE_GOT_NOTHING:
    case CURLE_RECV_ERROR:
    case CURLE_SEND_ERROR:
    case CURLE_PARTIAL_FILE:
        return "the server closed the connection";
    case CURLE_WRITE_ERROR:
        return "the server's answer was too long";
    case CURLE_UNSUPPORTED_PROTOCOL:
    case CURLE_URL_MALFORMAT:
        return "the server's address is not an http:// or https:// address";
    default:
        return "the connection to the server failed";
    }
}

// The timings of a finished probe, into the lists they belong to.
void recordProbe(const Transfer& probe, ResponsivenessMath::ProbeTimings& timings) {
    curl_off_t lookup = 0, connect = 0, tls = 0, pretransfer = 0, total = 0;
    curl_easy_getinfo(probe.easy, CURLINFO_NAMELOOKUP_TIME_T, &lookup);
    curl_easy_getinfo(probe.easy, CURLINFO_CONNECT_TIME_T, &connect);
    curl_easy_getinfo(probe.easy, CURLINFO_APPCONNECT_TIME_T, &tls);
    curl_easy_getinfo(probe.easy, CURLINFO_PRETRANSFER_TIME_T, &pretransfer);
    curl_easy_getinfo(probe.easy, CURLINFO_TOTAL_TIME_T, &total);
    const double http = microsecondsToMs(total - pretransfer);
    if (probe.kind == Transfer::Kind::loadedProbe) {
        timings.httpLoaded.push_back(http);
        return;
    }
    timings.tcpFresh.push_back(microsecondsToMs(connect - lookup));
    if (tls > 0)
        timings.tlsFresh.push_back(microsecondsToMs(tls - connect));
    timings.httpFresh.push_back(http);
}

} // namespace ravo::connectivity::netquality
