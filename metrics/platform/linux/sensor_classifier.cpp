#include "metrics/platform/linux/sensor_classifier.h"

#include <algorithm>
#include <array>

namespace ravo::metrics::kernel {

namespace {

template <std::size_t N>
bool isOneOf(std::string_view value, const std::array<std::string_view, N>& names) {
    return std::find(names.begin(), names.end(), value) != names.end();
}

std::string suffixed(std::string_view prefix, std::string_view chip, std::string_view label) {
    std::string name(prefix);
    name += chip;
    if (!label.empty()) {
        name += ' ';
        name += label;
    }
    return name;
}

} // namespace

std::optional<SensorName> classifyHwmon(std::string_view chip, std::string_view label) {
    static constexpr std::array<std::string_view, 6> processors{
        "coretemp", "k10temp", "zenpower", "cpu_thermal", "cpu-thermal", "soc_thermal"};
    static constexpr std::array<std::string_view, 4> graphics{"amdgpu", "radeon", "nouveau",
                                                              "i915"};
    static constexpr std::array<std::string_view, 2> storage{"nvme", "drivetemp"};
    if (isOneOf(chip, processors))
        return SensorName{SensorBank::smc, suffixed("Tp ", chip, label)};
    if (isOneOf(chip, graphics))
        return SensorName{SensorBank::smc, suffixed("Tg ", chip, label)};
    if (isOneOf(chip, storage))
        return SensorName{SensorBank::hid, suffixed("NAND ", chip, label)};
    if (chip.starts_with("BAT") || chip == "battery")
        return SensorName{SensorBank::hid, suffixed("battery ", chip, label)};
    // ACPI's zone usually sits by the processor; good enough when nothing better exists.
    if (chip == "acpitz")
        return SensorName{SensorBank::hid, suffixed("tdie ", chip, label)};
    return std::nullopt;
}

std::optional<SensorName> classifyThermalZone(std::string_view type) {
    static constexpr std::array<std::string_view, 5> processors{
        "x86_pkg_temp", "cpu-thermal", "cpu_thermal", "cpu0-thermal", "soc-thermal"};
    if (isOneOf(type, processors))
        return SensorName{SensorBank::hid, suffixed("tdie ", type, "")};
    return std::nullopt;
}

std::optional<SensorName> classifyPowerSupply(std::string_view type, std::string_view name) {
    if (type != "Battery")
        return std::nullopt;
    return SensorName{SensorBank::hid, suffixed("battery ", name, "")};
}

} // namespace ravo::metrics::kernel
