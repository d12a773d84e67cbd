#include "metrics/core/system_reading_json.h"

#include "base/json_optional.h"

#include <nlohmann/json.hpp>
#include <stdexcept>

namespace ravo::metrics {

using json::getOptional;
using json::putOptional;

void to_json(nlohmann::json& j, const CPULoad& v) {
    j = {{"user", v.user}, {"system", v.system}, {"perCore", v.perCore}};
}

void from_json(const nlohmann::json& j, CPULoad& v) {
    j.at("user").get_to(v.user);
    j.at("system").get_to(v.system);
    j.at("perCore").get_to(v.perCore);
}

void to_json(nlohmann::json& j, const GPUUtilization& v) {
    j = {{"device", v.device}};
    putOptional(j, "renderer", v.renderer);
    putOptional(j, "tiler", v.tiler);
}

void from_json(const nlohmann::json& j, GPUUtilization& v) {
    j.at("device").get_to(v.device);
    getOptional(j, "renderer", v.renderer);
    getOptional(j, "tiler", v.tiler);
}

void to_json(nlohmann::json& j, const MemoryUsage& v) {
    j = {{"total", v.total},
         {"app", v.app},
         {"wired", v.wired},
         {"compressed", v.compressed},
         {"cached", v.cached},
         {"swapUsed", v.swapUsed},
         {"pressure", v.pressure},
         {"pressureLevel", static_cast<int>(v.pressureLevel)},
         {"pressureLevelKnown", v.pressureLevelKnown}};
}

void from_json(const nlohmann::json& j, MemoryUsage& v) {
    j.at("total").get_to(v.total);
    j.at("app").get_to(v.app);
    j.at("wired").get_to(v.wired);
    j.at("compressed").get_to(v.compressed);
    j.at("cached").get_to(v.cached);
    j.at("swapUsed").get_to(v.swapUsed);
    j.at("pressure").get_to(v.pressure);
    const int level = j.at("pressureLevel").get<int>();
    if (level != 1 && level != 2 && level != 4)
        throw std::invalid_argument("unknown memory pressure level");
    v.pressureLevel = static_cast<MemoryPressureLevel>(level);
    // Readings written before it was said were from machines that measure it.
    v.pressureLevelKnown =
        !j.contains("pressureLevelKnown") || j.at("pressureLevelKnown").get<bool>();
}

void to_json(nlohmann::json& j, const SwapUsage& v) {
    j = {{"total", v.total}, {"used", v.used}};
}

void from_json(const nlohmann::json& j, SwapUsage& v) {
    j.at("total").get_to(v.total);
    j.at("used").get_to(v.used);
}

void to_json(nlohmann::json& j, const DiskUsage& v) {
    j = {{"total", v.total}, {"available", v.available}};
    putOptional(j, "reserved", v.reserved);
    putOptional(j, "readRate", v.readRate);
    putOptional(j, "writeRate", v.writeRate);
}

void from_json(const nlohmann::json& j, DiskUsage& v) {
    j.at("total").get_to(v.total);
    j.at("available").get_to(v.available);
    getOptional(j, "reserved", v.reserved);
    getOptional(j, "readRate", v.readRate);
    getOptional(j, "writeRate", v.writeRate);
}

void to_json(nlohmann::json& j, const NetworkUsage& v) {
    j = {{"inRate", v.inRate}, {"outRate", v.outRate}};
    putOptional(j, "totalIn", v.totalIn);
    putOptional(j, "totalOut", v.totalOut);
}

void from_json(const nlohmann::json& j, NetworkUsage& v) {
    j.at("inRate").get_to(v.inRate);
    j.at("outRate").get_to(v.outRate);
    getOptional(j, "totalIn", v.totalIn);
    getOptional(j, "totalOut", v.totalOut);
}

void to_json(nlohmann::json& j, const Temperatures& v) {
    j = nlohmann::json::object();
    putOptional(j, "cpu", v.cpu);
    putOptional(j, "cpuAverage", v.cpuAverage);
    putOptional(j, "gpu", v.gpu);
    putOptional(j, "ssd", v.ssd);
    putOptional(j, "battery", v.battery);
}

void from_json(const nlohmann::json& j, Temperatures& v) {
    getOptional(j, "cpu", v.cpu);
    getOptional(j, "cpuAverage", v.cpuAverage);
    getOptional(j, "gpu", v.gpu);
    getOptional(j, "ssd", v.ssd);
    getOptional(j, "battery", v.battery);
}

void to_json(nlohmann::json& j, const ProcessUsage& v) {
    j = {{"name", v.name}, {"pid", v.pid}};
    putOptional(j, "cpuPercent", v.cpuPercent);
    j["residentBytes"] = v.residentBytes;
}

void from_json(const nlohmann::json& j, ProcessUsage& v) {
    j.at("name").get_to(v.name);
    j.at("pid").get_to(v.pid);
    getOptional(j, "cpuPercent", v.cpuPercent);
    j.at("residentBytes").get_to(v.residentBytes);
}

void to_json(nlohmann::json& j, const TopProcesses& v) {
    j = {{"byCpu", v.byCpu}, {"byMemory", v.byMemory}};
}

void from_json(const nlohmann::json& j, TopProcesses& v) {
    j.at("byCpu").get_to(v.byCpu);
    j.at("byMemory").get_to(v.byMemory);
}

void to_json(nlohmann::json& j, const SystemReading& v) {
    j = {{"date", toIso8601(v.date)}};
    putOptional(j, "cpu", v.cpu);
    putOptional(j, "gpuDetail", v.gpuDetail);
    putOptional(j, "memory", v.memory);
    putOptional(j, "swap", v.swap);
    putOptional(j, "disk", v.disk);
    putOptional(j, "network", v.network);
    putOptional(j, "temperatures", v.temperatures);
    putOptional(j, "processes", v.processes);
}

void from_json(const nlohmann::json& j, SystemReading& v) {
    const auto date = parseIso8601(j.at("date").get<std::string>());
    if (!date)
        throw std::invalid_argument("reading date is not ISO 8601 text");
    v.date = *date;
    getOptional(j, "cpu", v.cpu);
    getOptional(j, "gpuDetail", v.gpuDetail);
    getOptional(j, "memory", v.memory);
    getOptional(j, "swap", v.swap);
    getOptional(j, "disk", v.disk);
    getOptional(j, "network", v.network);
    getOptional(j, "temperatures", v.temperatures);
    getOptional(j, "processes", v.processes);
}

} // namespace ravo::metrics
