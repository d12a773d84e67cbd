// The speed tests a computer remembers, as its settings file holds them after a crash or a
// hand edit, and as a running Ravo answers `ravo speedtest --history`: read or refused,
// written back the same, and shown as a table.
#include "connectivity/core/speed_test_history.h"
#include "fuzz_check.h"

#include <nlohmann/json.hpp>

#include <cstddef>
#include <cstdint>
#include <string_view>

using namespace ravo::connectivity;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    if (const auto records = SpeedTestHistory::decode(text)) {
        FUZZ_CHECK(records->size() <= SpeedTestHistory::kKept);
        const auto again = SpeedTestHistory::decode(SpeedTestHistory::encode(*records));
        FUZZ_CHECK(again.ok() && *again == *records);
    }
    const auto listing = SpeedTestHistory::fromDocument(text);
    if (!listing) {
        FUZZ_CHECK(!listing.error().empty());
        return 0;
    }
    const auto document = SpeedTestHistory::toDocument(listing->records, listing->measuring);
    const auto again = SpeedTestHistory::fromDocument(document.dump());
    FUZZ_CHECK(again.ok() && *again == *listing);
    const std::string table = SpeedTestHistory::text(*listing);
    FUZZ_CHECK(table.find("nan Mb/s") == std::string::npos);
    // Plain printable ASCII: nothing a terminal acts on, whatever the file held.
    for (const char c : table)
        FUZZ_CHECK(c == '\n' || (c >= 0x20 && c < 0x7f));
    return 0;
}
