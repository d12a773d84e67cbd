#pragma once

#include <nlohmann/json.hpp>

#include <cstdint>
#include <optional>
#include <string_view>

// Optional members are left out when absent and read back as absent when missing or null.
namespace ravo::json {

template <typename T>
void putOptional(nlohmann::json& object, std::string_view key, const std::optional<T>& value) {
    if (value)
        object[std::string(key)] = *value;
}

template <typename T>
void getOptional(const nlohmann::json& object, std::string_view key, std::optional<T>& value) {
    const auto it = object.find(key);
    if (it == object.end() || it->is_null())
        value.reset();
    else
        value = it->template get<T>();
}

// A JSON integer that fits 64 signed bits; nothing for fractions, floats out of range or text.
// (nlohmann's own get<std::int64_t>() casts any float, which is undefined past the range.)
inline std::optional<std::int64_t> exactInteger(const nlohmann::json& value) {
    if (value.is_number_unsigned()) {
        const auto unsignedValue = value.get<std::uint64_t>();
        if (unsignedValue > static_cast<std::uint64_t>(INT64_MAX))
            return std::nullopt;
        return static_cast<std::int64_t>(unsignedValue);
    }
    if (value.is_number_integer())
        return value.get<std::int64_t>();
    return std::nullopt;
}

} // namespace ravo::json
