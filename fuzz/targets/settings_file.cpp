// Ravo/settings.json as a sync client delivers it, whole, half-written or from elsewhere.
#include "fuzz_check.h"
#include "sync/core/synced_settings_file.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

using namespace ravo;
using namespace ravo::sync;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const TimePoint now = *parseIso8601("2026-11-22T12:00:00Z");
    const auto file = SyncedSettingsFile::decode(text, now);
    if (!file) {
        FUZZ_CHECK(!file.error().empty());
        return 0;
    }
    // What is read is written back the same, to the second.
    const auto again = SyncedSettingsFile::decode(file->encode(), now);
    FUZZ_CHECK(again.ok());
    FUZZ_CHECK(again->settings == file->settings && again->deviceID == file->deviceID);
    return 0;
}
