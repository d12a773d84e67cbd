#include "usage/core/snapshot_json.h"

#include "base/json_exact_number.h"
#include "base/json_optional.h"
#include "base/json_parse.h"

#include <stdexcept>

namespace ravo::usage {

using nlohmann::json;

namespace {

json date(TimePoint t, DateStyle style) {
    return style == DateStyle::iso8601 ? json(toIso8601(t)) : json(referenceSeconds(t));
}

std::optional<TimePoint> readDate(const json& object, const char* key) {
    const auto it = object.find(key);
    if (it == object.end() || it->is_null())
        return std::nullopt;
    if (!it->is_number())
        throw std::invalid_argument(std::string("\"") + key + "\" is not a number of seconds");
    return fromReferenceSeconds(it->get<double>());
}

template <typename T> std::optional<T> readOptional(const json& object, const char* key) {
    const auto it = object.find(key);
    if (it == object.end() || it->is_null())
        return std::nullopt;
    return it->get<T>();
}

std::int64_t wholeNumber(const json& value, const char* key) {
    if (const auto integer = ravo::json::exactInteger(value))
        return *integer;
    throw std::invalid_argument(std::string("\"") + key + "\" is not a whole number");
}

std::optional<std::int64_t> optionalWholeNumber(const json& object, const char* key) {
    const auto it = object.find(key);
    if (it == object.end() || it->is_null())
        return std::nullopt;
    return wholeNumber(*it, key);
}

json windowToJson(const UsageWindow& w, DateStyle style) {
    json j = {{"id", w.id}, {"usedPercent", w.usedPercent}};
    if (w.minutes)
        j["minutes"] = *w.minutes;
    if (w.model)
        j["model"] = *w.model;
    if (w.resetsAt)
        j["resetsAt"] = date(*w.resetsAt, style);
    return j;
}

UsageWindow windowFromJson(const json& j) {
    UsageWindow w;
    w.id = j.at("id").get<std::string>();
    w.minutes = optionalWholeNumber(j, "minutes");
    w.model = readOptional<std::string>(j, "model");
    w.usedPercent = j.at("usedPercent").get<double>();
    w.resetsAt = readDate(j, "resetsAt");
    return w;
}

// The balance is a JSON number that keeps the decimal exactly, whatever its length: what a
// double would round is listed for the exact dump.
json balanceToJson(const Decimal& balance, const json::json_pointer& at,
                   std::vector<JsonExactNumber::Exact>* exact) {
    if (const auto whole = balance.integer())
        return *whole;
    if (!balance.isExactAsDouble() && exact)
        exact->push_back({at, balance.toString()});
    return balance.toDouble();
}

// Long balances arrive as their text (see kSnapshotLimits).
std::optional<Decimal> balanceFromJson(const json& value) {
    if (const auto whole = ravo::json::exactInteger(value))
        return Decimal(*whole, 0);
    if (value.is_number_float())
        return Decimal::fromDouble(value.get<double>());
    if (value.is_string())
        return Decimal::parse(value.get_ref<const std::string&>());
    return std::nullopt;
}

json usageToJson(const ProviderUsage& u, DateStyle style, const json::json_pointer& at,
                 std::vector<JsonExactNumber::Exact>* exact) {
    json windows = json::array();
    for (const auto& w : u.windows)
        windows.push_back(windowToJson(w, style));
    json j = {{"provider", rawValue(u.provider)},
              {"windows", std::move(windows)},
              {"resetCredits", u.resetCredits}};
    if (u.plan)
        j["plan"] = *u.plan;
    if (u.planMultiplier)
        j["planMultiplier"] = *u.planMultiplier;
    if (u.credits)
        j["credits"] = {
            {"balance", balanceToJson(u.credits->balance, at / "credits" / "balance", exact)},
            {"unlimited", u.credits->unlimited}};
    if (u.updatedAt)
        j["updatedAt"] = date(*u.updatedAt, style);
    if (u.error)
        j["error"] = *u.error;
    if (u.setup)
        j["setup"] = rawValue(*u.setup);
    return j;
}

ProviderUsage usageFromJson(const json& j) {
    ProviderUsage u;
    const auto provider = providerFromRaw(j.at("provider").get<std::string>());
    if (!provider)
        throw std::invalid_argument("unknown provider");
    u.provider = *provider;
    u.plan = readOptional<std::string>(j, "plan");
    u.planMultiplier = optionalWholeNumber(j, "planMultiplier");
    for (const auto& w : j.at("windows"))
        u.windows.push_back(windowFromJson(w));
    if (const auto it = j.find("credits"); it != j.end() && !it->is_null()) {
        const auto balance = balanceFromJson(it->at("balance"));
        if (!balance)
            throw std::invalid_argument("balance is not a number");
        u.credits = Credits{*balance, it->at("unlimited").get<bool>()};
    }
    u.resetCredits = wholeNumber(j.at("resetCredits"), "resetCredits");
    u.updatedAt = readDate(j, "updatedAt");
    u.error = readOptional<std::string>(j, "error");
    if (const auto setup = readOptional<std::string>(j, "setup")) {
        u.setup = setupFromRaw(*setup);
        if (!u.setup)
            throw std::invalid_argument("unknown setup state");
    }
    return u;
}

} // namespace

json snapshotToJson(const UsageSnapshot& snapshot, DateStyle dates,
                    std::vector<JsonExactNumber::Exact>* exact) {
    json providers = json::array();
    for (const auto& u : snapshot.providers)
        providers.push_back(
            usageToJson(u, dates, json::json_pointer("/providers") / providers.size(), exact));
    return json{{"providers", std::move(providers)}};
}

UsageSnapshot snapshotFromJson(const json& j) {
    UsageSnapshot snapshot;
    for (const auto& u : j.at("providers"))
        snapshot.providers.push_back(usageFromJson(u));
    return snapshot;
}

std::string encodeSnapshot(const UsageSnapshot& snapshot, DateStyle dates) {
    std::vector<JsonExactNumber::Exact> exact;
    json document = snapshotToJson(snapshot, dates, &exact);
    return JsonExactNumber::dump(std::move(document), exact);
}

Result<UsageSnapshot> decodeSnapshot(std::string_view text) {
    const auto document = parseJson(text, {.maxDepth = 16, .exactDecimalKeys = {"balance"}});
    if (!document)
        return Failure{document.error()};
    try {
        return snapshotFromJson(*document);
    } catch (const std::exception& error) {
        return Failure{error.what()};
    }
}

} // namespace ravo::usage
