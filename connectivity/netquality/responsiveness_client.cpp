#include "connectivity/netquality/responsiveness_client.h"

#include "connectivity/netquality/idle_latency.h"
#include "connectivity/netquality/netquality_config.h"
#include "connectivity/netquality/responsiveness_math.h"
#include "connectivity/netquality/transfer_set.h"

#include <algorithm>
#include <vector>

namespace ravo::connectivity {

namespace {

using namespace netquality;

constexpr milliseconds kInterval{1000};
constexpr int kMaxFlows = 16;

constexpr const char* kCheckServer =
    " Check the speed test server in Ravo's settings, or leave it empty for the public one.";

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

    Result<double> baseRTT() { return measureIdleLatency(config_.smallURL, deadline_); }

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
