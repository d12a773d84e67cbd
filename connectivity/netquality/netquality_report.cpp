#include "connectivity/netquality/netquality_report.h"

#include "connectivity/core/speed_test_text.h"

#include <cmath>
#include <nlohmann/json.hpp>

namespace ravo::connectivity {

namespace {

void put(nlohmann::json& json, const char* key, const std::optional<double>& value, bool whole) {
    if (value && std::isfinite(*value))
        json[key] = whole ? nlohmann::json(std::llround(*value))
                          : nlohmann::json(std::round(*value * 1000) / 1000);
}

} // namespace

std::string NetqualityReport::json() const {
    nlohmann::json json = nlohmann::json::object();
    put(json, "dl_throughput", downloadBitsPerSecond, true);
    put(json, "ul_throughput", uploadBitsPerSecond, true);
    put(json, "responsiveness", responsivenessRPM, true);
    put(json, "dl_responsiveness", downloadResponsivenessRPM, true);
    put(json, "base_rtt", baseRTTMilliseconds, false);
    json["dl_flows"] = downloadFlows;
    json["ul_flows"] = uploadFlows;
    return json.dump(2);
}

std::string NetqualityReport::text() const {
    return speedTestText(
        {downloadBitsPerSecond, uploadBitsPerSecond, responsivenessRPM, baseRTTMilliseconds});
}

} // namespace ravo::connectivity
