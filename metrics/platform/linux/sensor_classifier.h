#pragma once

#include <optional>
#include <string>
#include <string_view>

// Sorts the kernel's temperature sensors into the banks the temperature maths reads:
// "Tp..." processor and "Tg..." graphics, then "tdie" (processor fallback), "NAND"
// (storage) and "battery" names.
namespace ravo::metrics::kernel {

enum class SensorBank { smc, hid };

struct SensorName {
    SensorBank bank = SensorBank::smc;
    std::string name;
    bool operator==(const SensorName&) const = default;
};

// A hwmon chip (its "name" file) and one of its temperature labels.
std::optional<SensorName> classifyHwmon(std::string_view chip, std::string_view label);
// A thermal zone by its "type"; only the processor zones count, as a fallback.
std::optional<SensorName> classifyThermalZone(std::string_view type);
// A power supply by its "type" and name.
std::optional<SensorName> classifyPowerSupply(std::string_view type, std::string_view name);

} // namespace ravo::metrics::kernel
