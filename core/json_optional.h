#pragma once

#include <nlohmann/json.hpp>

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

} // namespace ravo::json
