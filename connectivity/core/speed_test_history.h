#pragma once

#include "base/number_format.h"
#include "base/result.h"
#include "base/time.h"
#include "connectivity/core/speed_test_result.h"

#include <cstddef>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>
#include <vector>

namespace ravo::connectivity {

// One finished test as this computer remembers it.
struct SpeedTestRecord {
    TimePoint finishedAt;
    std::string server; // the configuration URL; empty for the public server
    SpeedTestResult result;
    bool operator==(const SpeedTestRecord&) const = default;
};

// The tests run on this computer, newest first, whoever ran them (the popover or
// `ravo speedtest`), and the document `ravo speedtest --history` prints.
namespace SpeedTestHistory {

inline constexpr std::size_t kKept = 20;

// `record` put first; the oldest beyond kKept dropped.
std::vector<SpeedTestRecord> withRecord(std::vector<SpeedTestRecord> records,
                                        SpeedTestRecord record);

// The stored form: a JSON array of the records.
std::string encode(const std::vector<SpeedTestRecord>& records);
// Entries it cannot read are left out; a text that is not an array of objects is a failure.
Result<std::vector<SpeedTestRecord>> decode(std::string_view text);

// {"measuring": bool, "tests": [...]}: the same whether the running Ravo answers or the
// command reads the settings itself.
nlohmann::json toDocument(const std::vector<SpeedTestRecord>& records, bool measuring);
struct Listing {
    std::vector<SpeedTestRecord> records;
    bool measuring = false;
    bool operator==(const Listing&) const = default;
};
Result<Listing> fromDocument(std::string_view text);

// Aligned rows for a terminal, times in the local zone; says so when there are none.
std::string text(const Listing& listing, const FormatLocale& locale = {});

} // namespace SpeedTestHistory

} // namespace ravo::connectivity
