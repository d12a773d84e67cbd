#include "wire/wire_fields.h"

#include "base/json_optional.h"
#include "wire/wire_records.h"

namespace ravo::wire {

WireFields::WireFields(const nlohmann::json& object) : object_(object) {
    if (!object_.is_object())
        fail("the body must be a JSON object");
}

void WireFields::fail(std::string message) {
    if (!problem_)
        problem_ = std::move(message);
}

const nlohmann::json* WireFields::find(const char* key, bool required) {
    if (!object_.is_object())
        return nullptr;
    const auto it = object_.find(key);
    if (it == object_.end() || it->is_null()) {
        if (required)
            fail(std::string(key) + " is missing");
        return nullptr;
    }
    return &*it;
}

std::string WireFields::text(const char* key) {
    if (!find(key, true))
        return {};
    return optionalText(key).value_or(std::string());
}

std::optional<std::string> WireFields::optionalText(const char* key) {
    const auto* value = find(key, false);
    if (!value)
        return std::nullopt;
    if (!value->is_string()) {
        fail(std::string(key) + " must be text");
        return std::nullopt;
    }
    return value->get<std::string>();
}

std::int64_t WireFields::integer(const char* key) {
    if (!find(key, true))
        return 0;
    return optionalInteger(key).value_or(0);
}

std::optional<std::int64_t> WireFields::optionalInteger(const char* key) {
    const auto* value = find(key, false);
    if (!value)
        return std::nullopt;
    const auto integer = ravo::json::exactInteger(*value);
    if (!integer)
        fail(std::string(key) + " must be a whole number");
    return integer;
}

std::optional<double> WireFields::optionalNumber(const char* key) {
    const auto* value = find(key, false);
    if (!value)
        return std::nullopt;
    if (!value->is_number()) {
        fail(std::string(key) + " must be a number");
        return std::nullopt;
    }
    return value->get<double>();
}

bool WireFields::boolean(const char* key, std::optional<bool> fallback) {
    const auto* value = find(key, !fallback);
    if (!value)
        return fallback.value_or(false);
    if (!value->is_boolean()) {
        fail(std::string(key) + " must be true or false");
        return fallback.value_or(false);
    }
    return value->get<bool>();
}

std::vector<std::string> WireFields::texts(const char* key) {
    std::vector<std::string> list;
    const auto* value = find(key, true);
    if (!value)
        return list;
    if (!value->is_array()) {
        fail(std::string(key) + " must be a list");
        return list;
    }
    for (const auto& item : *value) {
        if (!item.is_string()) {
            fail(std::string(key) + " must hold text");
            return {};
        }
        list.push_back(item.get<std::string>());
    }
    return list;
}

std::optional<TimePoint> WireFields::optionalDate(const char* key) {
    const auto* value = find(key, false);
    if (!value)
        return std::nullopt;
    auto date = dateFromWire(*value);
    if (!date) {
        fail(date.error());
        return std::nullopt;
    }
    return *date;
}

} // namespace ravo::wire
