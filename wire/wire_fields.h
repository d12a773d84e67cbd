#pragma once

#include "base/result.h"
#include "base/time.h"

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

namespace ravo::wire {

// Reads typed fields out of one JSON object and remembers the first thing that was wrong,
// so a decoder reads every field in a row and checks once at the end.
class WireFields {
public:
    explicit WireFields(const nlohmann::json& object);

    std::string text(const char* key);
    std::optional<std::string> optionalText(const char* key);
    std::int64_t integer(const char* key);
    std::optional<std::int64_t> optionalInteger(const char* key);
    std::optional<double> optionalNumber(const char* key);
    bool boolean(const char* key, std::optional<bool> fallback = std::nullopt);
    std::vector<std::string> texts(const char* key);
    std::optional<TimePoint> optionalDate(const char* key);

    // The first problem, as "<key> is missing", "<key> must be text", and so on.
    const std::optional<std::string>& problem() const { return problem_; }

private:
    const nlohmann::json* find(const char* key, bool required);
    void fail(std::string message);

    const nlohmann::json& object_;
    std::optional<std::string> problem_;
};

template <typename T> Result<T> finish(const WireFields& fields, T value) {
    if (fields.problem())
        return Failure{*fields.problem()};
    return value;
}

} // namespace ravo::wire
