// snapshot.json as the widget and the app read it, and as Ravo writes it back.
#include "fuzz_check.h"
#include "usage/core/snapshot_json.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

using namespace ravo::usage;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const auto snapshot = decodeSnapshot(text);
    if (!snapshot)
        return 0;
    const std::string written = encodeSnapshot(*snapshot, DateStyle::referenceSeconds);
    const auto reread = decodeSnapshot(written);
    FUZZ_CHECK(reread);
    FUZZ_CHECK(reread->providers.size() == snapshot->providers.size());
    for (std::size_t i = 0; i < snapshot->providers.size(); ++i) {
        const auto& before = snapshot->providers[i];
        const auto& after = reread->providers[i];
        FUZZ_CHECK(before.credits.has_value() == after.credits.has_value());
        if (before.credits)
            FUZZ_CHECK(before.credits->balance == after.credits->balance);
        FUZZ_CHECK(before.windows.size() == after.windows.size());
    }
    encodeSnapshot(*snapshot, DateStyle::iso8601);
    return 0;
}
