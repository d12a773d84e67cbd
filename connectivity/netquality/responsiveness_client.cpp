#include "connectivity/netquality/responsiveness_client.h"

#include "connectivity/netquality/netquality_config.h"
#include "connectivity/netquality/responsiveness_math.h"

#include <curl/curl.h>

#include <linux/tcp.h> // tcp_info as the kernel fills it, with tcpi_bytes_acked
#include <netinet/in.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <memory>
#include <vector>

namespace ravo::connectivity {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr milliseconds kInterval{1000};
constexpr int kMaxFlows = 16;
constexpr int kBaseProbes = 5;
// Enough for a queue of a few seconds left by an earlier load to drain.
constexpr int kMaxBaseProbes = 16;
constexpr std::size_t kConfigLimit = 64 * 1024;
constexpr std::size_t kProbeLimit = 64 * 1024;

std::string userAgent() {
    return "ravo-netquality/1";
}

double microsecondsToMs(curl_off_t value) {
    return double(value) / 1000.0;
}

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

    // An upload counts what the server acknowledged: what still sits in send buffers and
    // queues has not crossed the link. Bytes handed over only where the kernel cannot say.
    curl_off_t bytesMoved() const {
        if (kind != Kind::upload)
            return bytes;
        tcp_info info{};
        socklen_t size = sizeof info;
        if (fd < 0 || ::getsockopt(fd, IPPROTO_TCP, TCP_INFO, &info, &size) != 0 ||
            size < offsetof(tcp_info, tcpi_bytes_acked) + sizeof info.tcpi_bytes_acked)
            return fd < 0 ? acked : bytes;
        acked = std::max(acked, curl_off_t(info.tcpi_bytes_acked));
        return acked;
    }

    // Closing drops what is still buffered instead of sending it on, so the load does not
    // outlive its phase in the queues.
    void abortOnClose() const {
        const linger reset{1, 0};
        if (fd >= 0)
            ::setsockopt(fd, SOL_SOCKET, SO_LINGER, &reset, sizeof reset);
    }

    int fd = -1; // of a load-generating connection, once it is open

private:
    mutable curl_off_t acked = 0;
};

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

// The multi handle and everything running in it; owns the transfers.
class TransferSet {
public:
    // No "Expect: 100-continue": the upload starts at once.
    TransferSet() : multi_(curl_multi_init()), headers_(curl_slist_append(nullptr, "Expect:")) {}
    ~TransferSet() {
        for (auto& transfer : transfers_) {
            if (transfer->isLoad())
                transfer->abortOnClose();
            curl_multi_remove_handle(multi_, transfer->easy);
        }
        transfers_.clear();
        curl_multi_cleanup(multi_);
    }
    TransferSet(const TransferSet&) = delete;
    TransferSet& operator=(const TransferSet&) = delete;

    Transfer* add(Transfer::Kind kind, const std::string& url, milliseconds timeout) {
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

    void remove(Transfer* transfer) {
        curl_multi_remove_handle(multi_, transfer->easy);
        std::erase_if(transfers_,
                      [transfer](const auto& owned) { return owned.get() == transfer; });
    }

    // Moves the transfers along for up to `wait`; finished ones are marked.
    void step(milliseconds wait) {
        int running = 0;
        curl_multi_perform(multi_, &running);
        curl_multi_poll(multi_, nullptr, 0, int(std::max<milliseconds::rep>(wait.count(), 0)),
                        nullptr);
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

    std::vector<Transfer*> all() const {
        std::vector<Transfer*> list;
        for (const auto& transfer : transfers_)
            list.push_back(transfer.get());
        return list;
    }

private:
    struct SlistFree {
        void operator()(curl_slist* list) const { curl_slist_free_all(list); }
    };
    CURLM* multi_;
    std::vector<std::unique_ptr<Transfer>> transfers_;
    std::unique_ptr<curl_slist, SlistFree> headers_;
};

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

constexpr const char* kCheckServer =
    " Check the speed test server in Ravo's settings, or leave it empty for the public one.";
constexpr const char* kTryAgain = " Try again; if it keeps failing, the server or the network "
                                  "between you and it is at fault.";

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

void merge(ResponsivenessMath::ProbeTimings& into, const ResponsivenessMath::ProbeTimings& part) {
    into.tcpFresh.insert(into.tcpFresh.end(), part.tcpFresh.begin(), part.tcpFresh.end());
    into.tlsFresh.insert(into.tlsFresh.end(), part.tlsFresh.begin(), part.tlsFresh.end());
    into.httpFresh.insert(into.httpFresh.end(), part.httpFresh.begin(), part.httpFresh.end());
    into.httpLoaded.insert(into.httpLoaded.end(), part.httpLoaded.begin(), part.httpLoaded.end());
}

struct PhaseResult {
    std::optional<double> bitsPerSecond;
    ResponsivenessMath::ProbeTimings timings; // of the last intervals
    int flows = 0;
};

class Run {
public:
    Run(NetqualityConfig config, Clock::time_point deadline)
        : config_(std::move(config)), deadline_(deadline) {}

    Result<double> baseRTT() {
        ResponsivenessMath::ProbeTimings timings;
        std::string lastFailure = "the server did not answer";
        std::optional<double> settled;
        for (int i = 0; i < kMaxBaseProbes && Clock::now() < deadline_; ++i) {
            if (i >= kBaseProbes && (settled = ResponsivenessMath::idleRoundTrip(timings.tcpFresh)))
                break;
            TransferSet set;
            Transfer* probe = set.add(Transfer::Kind::freshProbe, config_.smallURL,
                                      std::min(left(), milliseconds(3000)));
            while (!probe->finished && Clock::now() < deadline_)
                set.step(milliseconds(50));
            if (succeeded(*probe))
                recordProbe(*probe, timings);
            else if (probe->finished)
                lastFailure = failureOf(*probe);
        }
        // A queue that never settled: its calmest samples are the nearest to idle.
        const auto rtt =
            settled ? settled : ResponsivenessMath::idleRoundTrip(timings.tcpFresh, true);
        if (!rtt)
            return Failure{"The idle latency could not be measured: " + lastFailure + "." +
                           kTryAgain};
        return *rtt;
    }

    Result<PhaseResult> phase(Transfer::Kind kind, milliseconds budget) {
        const std::string& loadURL =
            kind == Transfer::Kind::download ? config_.largeURL : config_.uploadURL;
        const auto phaseEnd = std::min(Clock::now() + budget, deadline_);
        TransferSet set;
        std::vector<Transfer*> flows;
        auto addFlow = [&] {
            flows.push_back(set.add(kind, loadURL, budget + milliseconds(5000)));
        };
        addFlow();
        Transfer* loadedProbe = nullptr;
        Transfer* freshProbe = nullptr;
        std::vector<double> throughput;
        std::vector<ResponsivenessMath::ProbeTimings> probesPerInterval(1);
        curl_off_t countedBytes = 0;
        auto intervalStart = Clock::now();
        while (Clock::now() < phaseEnd) {
            set.step(milliseconds(20));
            for (Transfer* flow : flows)
                if (flow->finished)
                    return Failure{std::string(kind == Transfer::Kind::download
                                                   ? "The download stopped early: "
                                                   : "The upload stopped early: ") +
                                   failureOf(*flow) + "." + kTryAgain};
            for (Transfer** probe : {&loadedProbe, &freshProbe}) {
                if (!*probe || !(*probe)->finished)
                    continue;
                // A lost probe only means fewer samples.
                if (succeeded(**probe))
                    recordProbe(**probe, probesPerInterval.back());
                set.remove(*probe);
                *probe = nullptr;
            }
            const auto now = Clock::now();
            if (now - intervalStart < kInterval)
                continue;
            curl_off_t bytes = 0;
            for (Transfer* flow : flows)
                bytes += flow->bytesMoved();
            const double seconds = std::chrono::duration<double>(now - intervalStart).count();
            throughput.push_back(double(bytes - countedBytes) * 8 / seconds);
            countedBytes = bytes;
            intervalStart = now;
            probesPerInterval.emplace_back();
            const auto step =
                ResponsivenessMath::rampStep(throughput, int(flows.size()), kMaxFlows);
            if (step.stop)
                break;
            if (step.addFlow)
                addFlow();
            if (!freshProbe)
                freshProbe =
                    set.add(Transfer::Kind::freshProbe, config_.smallURL, milliseconds(4000));
            if (!loadedProbe)
                loadedProbe =
                    set.add(Transfer::Kind::loadedProbe, config_.smallURL, milliseconds(4000));
        }
        if (throughput.empty() && countedBytes == 0) {
            curl_off_t bytes = 0;
            for (Transfer* flow : flows)
                bytes += flow->bytesMoved();
            if (bytes == 0)
                return Failure{std::string(kind == Transfer::Kind::download
                                               ? "Nothing arrived from the server's download."
                                               : "The server took no upload.") +
                               kTryAgain};
        }
        PhaseResult result;
        result.flows = int(flows.size());
        result.bitsPerSecond = ResponsivenessMath::stableThroughput(throughput);
        const std::size_t from = probesPerInterval.size() > 5 ? probesPerInterval.size() - 5 : 0;
        for (std::size_t i = from; i < probesPerInterval.size(); ++i)
            merge(result.timings, probesPerInterval[i]);
        return result;
    }

    milliseconds left() const {
        return std::max(milliseconds(0),
                        std::chrono::duration_cast<milliseconds>(deadline_ - Clock::now()));
    }

private:
    NetqualityConfig config_;
    Clock::time_point deadline_;
};

Result<NetqualityConfig> fetchConfig(const std::string& url, milliseconds timeout) {
    TransferSet set;
    Transfer* fetch = set.add(Transfer::Kind::config, url, timeout);
    const auto until = Clock::now() + timeout + milliseconds(500);
    while (!fetch->finished && Clock::now() < until)
        set.step(milliseconds(50));
    if (!fetch->finished)
        return Failure{std::string("The speed test server did not answer in time.") + kCheckServer};
    if (!succeeded(*fetch))
        return Failure{"The speed test server could not be asked for a test: " + failureOf(*fetch) +
                       "." + kCheckServer};
    auto config = NetqualityConfig::parse(fetch->body);
    if (!config)
        return Failure{std::string("The server at that address does not offer a speed test.") +
                       kCheckServer};
    return config;
}

} // namespace

Result<NetqualityReport> ResponsivenessClient::run() {
    const auto started = Clock::now();
    const auto deadline = started + options_.maxRuntime;
    curl_global_init(CURL_GLOBAL_DEFAULT);
    const auto config =
        fetchConfig(options_.configURL,
                    std::min(milliseconds(10'000),
                             std::chrono::duration_cast<milliseconds>(options_.maxRuntime)));
    if (!config)
        return config.failure();
    Run run(*config, deadline);
    const auto rtt = run.baseRTT();
    if (!rtt)
        return rtt.failure();
    NetqualityReport report;
    report.baseRTTMilliseconds = *rtt;
    // The rest of the time is shared by the two phases, at most 10 s each.
    const milliseconds each = std::min(milliseconds(10'000), run.left() / 2);
    const auto download = run.phase(Transfer::Kind::download, each);
    if (!download)
        return download.failure();
    const auto upload =
        run.phase(Transfer::Kind::upload, std::min(milliseconds(10'000), run.left()));
    if (!upload)
        return upload.failure();
    report.downloadBitsPerSecond = download->bitsPerSecond;
    report.uploadBitsPerSecond = upload->bitsPerSecond;
    report.downloadFlows = download->flows;
    report.uploadFlows = upload->flows;
    report.downloadResponsivenessRPM = ResponsivenessMath::roundTripsPerMinute(download->timings);
    ResponsivenessMath::ProbeTimings both = download->timings;
    merge(both, upload->timings);
    report.responsivenessRPM = ResponsivenessMath::roundTripsPerMinute(both);
    return report;
}

} // namespace ravo::connectivity
