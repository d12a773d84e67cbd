#include "server/checker/http_prober.h"
#include "server/checker/problem_detail.h"

#include "server/net/interface_addresses.h"
#include "server/net/ip_address.h"

#include <algorithm>

#include <curl/curl.h>
#include <openssl/asn1.h>
#include <openssl/ssl.h>
#include <openssl/x509.h>

#include <cstring>
#include <sys/socket.h>

namespace ravo::server {

struct HttpProber::Transfer {
    CURL* easy = nullptr;
    const ProbeOptions* options = nullptr;
    const std::vector<IpAddress>* ownAddresses = nullptr;
    bool refusedAddress = false; // a connection was not made: the address is not for checks
    DueCheck check;
    TimePoint startedAt;
    std::size_t searchLimit = 0;
    std::string body; // kept only while looking for the keyword
    bool keywordFound = false;
    bool stoppedEarly = false; // we ended the download: nothing more was needed
    std::optional<TimePoint> certificateExpiry;
    char error[CURL_ERROR_SIZE] = {};
};

namespace {

CURLM* multi(void* handle) {
    return static_cast<CURLM*>(handle);
}

std::optional<TimePoint> leafCertificateExpiry(CURL* easy) {
    curl_tlssessioninfo* session = nullptr;
    if (curl_easy_getinfo(easy, CURLINFO_TLS_SSL_PTR, &session) != CURLE_OK || !session ||
        session->backend != CURLSSLBACKEND_OPENSSL || !session->internals)
        return std::nullopt;
    X509* certificate = SSL_get1_peer_certificate(static_cast<SSL*>(session->internals));
    if (!certificate)
        return std::nullopt;
    std::optional<TimePoint> expiry;
    std::tm tm{};
    if (ASN1_TIME_to_tm(X509_get0_notAfter(certificate), &tm) == 1)
        expiry = Clock::from_time_t(timegm(&tm));
    X509_free(certificate);
    return expiry;
}

CURLcode useTrust(CURL*, void* context, void* data) {
    X509_STORE* store = static_cast<CheckTrust*>(data)->authorities();
    if (!store)
        return CURLE_SSL_CACERT_BADFILE;
    SSL_CTX_set_cert_store(static_cast<SSL_CTX*>(context), store); // takes our reference
    return CURLE_OK;
}

curl_socket_t openSocket(void* data, curlsocktype purpose, curl_sockaddr* address) {
    auto* transfer = static_cast<HttpProber::Transfer*>(data);
    const auto ip = addressOf(&address->addr);
    const auto& own = *transfer->ownAddresses;
    const bool reachable =
        ip && isGlobalAddress(*ip) && std::find(own.begin(), own.end(), *ip) == own.end();
    if (purpose != CURLSOCKTYPE_IPCXN || !ip ||
        !(reachable || anyContains(transfer->options->allowNetworks, *ip))) {
        transfer->refusedAddress = true;
        return CURL_SOCKET_BAD;
    }
    return socket(address->family, address->socktype | SOCK_CLOEXEC, address->protocol);
}

std::size_t onHeader(char*, std::size_t size, std::size_t count, void* data) {
    auto* transfer = static_cast<HttpProber::Transfer*>(data);
    // The connection is live here, so its certificate can be read, reused or not.
    if (!transfer->certificateExpiry)
        transfer->certificateExpiry = leafCertificateExpiry(transfer->easy);
    return size * count;
}

std::size_t onBody(char* bytes, std::size_t size, std::size_t count, void* data) {
    auto* transfer = static_cast<HttpProber::Transfer*>(data);
    const std::size_t length = size * count;
    const auto& keyword = transfer->check.keyword;
    if (!keyword || transfer->keywordFound) {
        transfer->stoppedEarly = true;
        return 0; // the status is known and nothing in the body is needed
    }
    const std::size_t from =
        transfer->body.size() > keyword->size() ? transfer->body.size() - keyword->size() : 0;
    transfer->body.append(bytes, std::min(length, transfer->searchLimit - transfer->body.size()));
    if (transfer->body.find(*keyword, from) != std::string::npos) {
        transfer->keywordFound = true;
        transfer->body.clear();
        transfer->stoppedEarly = true;
        return 0;
    }
    if (transfer->body.size() >= transfer->searchLimit) {
        transfer->stoppedEarly = true;
        return 0;
    }
    return length;
}

std::string problemKindFor(CURLcode code) {
    switch (code) {
    case CURLE_OPERATION_TIMEDOUT:
        return "timeout";
    case CURLE_PEER_FAILED_VERIFICATION:
    case CURLE_SSL_CERTPROBLEM:
    case CURLE_SSL_ISSUER_ERROR:
    case CURLE_SSL_PINNEDPUBKEYNOTMATCH:
    case CURLE_SSL_INVALIDCERTSTATUS:
        return "certificate_invalid";
    case CURLE_COULDNT_RESOLVE_HOST:
        return "dns_failed";
    case CURLE_COULDNT_CONNECT:
        return "connection_failed";
    case CURLE_SSL_CONNECT_ERROR:
        return "tls_failed";
    case CURLE_TOO_MANY_REDIRECTS:
        return "too_many_redirects";
    default:
        return "request_failed";
    }
}

CheckOutcome outcomeOf(CURL* easy, CURLcode code, const HttpProber::Transfer& transfer) {
    CheckOutcome outcome;
    outcome.at = transfer.startedAt;
    outcome.certificateExpiry = transfer.certificateExpiry;
    long status = 0;
    curl_easy_getinfo(easy, CURLINFO_RESPONSE_CODE, &status);
    curl_off_t micros = 0;
    curl_easy_getinfo(easy, CURLINFO_TOTAL_TIME_T, &micros);
    const bool answered = code == CURLE_OK || (code == CURLE_WRITE_ERROR && transfer.stoppedEarly);
    if (!answered && transfer.refusedAddress && code == CURLE_COULDNT_CONNECT) {
        // Nothing was sent, and nothing about what answers there may show.
        outcome.problemKind = "connection_failed";
        outcome.problemDetail = kPrivateAddressDetail;
        if (status > 0)
            outcome.statusCode = status;
        return outcome;
    }
    if (!answered) {
        outcome.problemKind = problemKindFor(code);
        outcome.problemDetail = problemDetailFor(*outcome.problemKind);
        if (status > 0)
            outcome.statusCode = status;
        return outcome;
    }
    outcome.statusCode = status;
    outcome.latencyMs = static_cast<double>(micros) / 1000.0;
    if (!isAcceptedStatus(status))
        outcome.problemKind = "http_status";
    else if (transfer.check.keyword && !transfer.keywordFound)
        outcome.problemKind = "keyword_missing";
    return outcome;
}

} // namespace

HttpProber::HttpProber(ProbeOptions options, std::shared_ptr<CheckTrust> trust,
                       std::shared_ptr<SharedDnsCache> dns)
    : options_(std::move(options)),
      trust_(trust ? std::move(trust) : std::make_shared<CheckTrust>(options_.caFile)),
      dns_(dns ? std::move(dns) : std::make_shared<SharedDnsCache>()), multi_(curl_multi_init()) {}

HttpProber::~HttpProber() {
    CURLM* handle = multi(multi_);
    for (Transfer* transfer : transfers_) {
        curl_multi_remove_handle(handle, transfer->easy);
        curl_easy_cleanup(transfer->easy);
        delete transfer;
    }
    curl_multi_cleanup(handle);
}

std::size_t HttpProber::inFlight() const {
    return transfers_.size();
}

void HttpProber::start(const DueCheck& check) {
    CURL* easy = curl_easy_init();
    auto* transfer = new Transfer;
    transfer->easy = easy;
    if (const auto now = std::chrono::steady_clock::now();
        now - ownAddressesAt_ > std::chrono::minutes(1)) {
        ownAddresses_ = interfaceAddresses();
        ownAddressesAt_ = now;
    }
    transfer->options = &options_;
    transfer->ownAddresses = &ownAddresses_;
    transfer->check = check;
    transfer->startedAt = Clock::now();
    transfer->searchLimit = options_.keywordSearchBytes;
    transfers_.insert(transfer);
    curl_easy_setopt(easy, CURLOPT_URL, check.url.c_str());
    curl_easy_setopt(easy, CURLOPT_PRIVATE, transfer);
    curl_easy_setopt(easy, CURLOPT_ERRORBUFFER, transfer->error);
    curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(easy, CURLOPT_TIMEOUT_MS, static_cast<long>(options_.timeout.count()));
    curl_easy_setopt(easy, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(easy, CURLOPT_REDIR_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(easy, CURLOPT_FOLLOWLOCATION, 1L);
    curl_easy_setopt(easy, CURLOPT_MAXREDIRS, 5L);
    curl_easy_setopt(easy, CURLOPT_FORBID_REUSE, 1L); // every check connects afresh
    curl_easy_setopt(easy, CURLOPT_OPENSOCKETFUNCTION, openSocket);
    curl_easy_setopt(easy, CURLOPT_OPENSOCKETDATA, transfer);
    // No proxy from the environment: the address judged must be the one connected to.
    curl_easy_setopt(easy, CURLOPT_PROXY, "");
    curl_easy_setopt(easy, CURLOPT_ACCEPT_ENCODING, "");
    curl_easy_setopt(easy, CURLOPT_USERAGENT, options_.userAgent.c_str());
    // The authorities come from the shared store, not read from disk for each connection;
    // a session is never resumed, so each check verifies the certificate afresh.
    curl_easy_setopt(easy, CURLOPT_CAINFO, nullptr);
    curl_easy_setopt(easy, CURLOPT_CAPATH, nullptr);
    curl_easy_setopt(easy, CURLOPT_SSL_CTX_FUNCTION, useTrust);
    curl_easy_setopt(easy, CURLOPT_SSL_CTX_DATA, trust_.get());
    curl_easy_setopt(easy, CURLOPT_SSL_SESSIONID_CACHE, 0L);
    if (dns_->handle())
        curl_easy_setopt(easy, CURLOPT_SHARE, dns_->handle());
    curl_easy_setopt(easy, CURLOPT_HEADERFUNCTION, onHeader);
    curl_easy_setopt(easy, CURLOPT_HEADERDATA, transfer);
    curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, onBody);
    curl_easy_setopt(easy, CURLOPT_WRITEDATA, transfer);
    curl_multi_add_handle(multi(multi_), easy);
}

void HttpProber::wakeUp() {
    curl_multi_wakeup(multi(multi_));
}

std::vector<CheckReport> HttpProber::poll(std::chrono::milliseconds wait) {
    CURLM* handle = multi(multi_);
    int running = 0;
    curl_multi_perform(handle, &running);
    // Waits the whole time when nothing runs, so an idle checker sleeps.
    curl_multi_poll(handle, nullptr, 0, static_cast<int>(wait.count()), nullptr);
    curl_multi_perform(handle, &running);
    std::vector<CheckReport> finished;
    int queued = 0;
    while (CURLMsg* message = curl_multi_info_read(handle, &queued)) {
        if (message->msg != CURLMSG_DONE)
            continue;
        CURL* easy = message->easy_handle;
        Transfer* transfer = nullptr;
        curl_easy_getinfo(easy, CURLINFO_PRIVATE, &transfer);
        finished.push_back({transfer->check, outcomeOf(easy, message->data.result, *transfer)});
        curl_multi_remove_handle(handle, easy);
        curl_easy_cleanup(easy);
        transfers_.erase(transfer);
        delete transfer;
    }
    return finished;
}

} // namespace ravo::server
