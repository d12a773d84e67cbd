// The website edits a Ravo keeps while the server is away, as its settings file holds them
// after a crash, a hand edit or another version: read whole or refused, and written back the
// same.
#include "cloud/core/pending_site_edit.h"
#include "fuzz_check.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

using namespace ravo::cloud;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const auto edits = decodePendingEdits(text);
    if (!edits) {
        FUZZ_CHECK(!edits.error().empty());
        return 0;
    }
    const auto again = decodePendingEdits(encodePendingEdits(*edits));
    FUZZ_CHECK(again.ok() && *again == *edits);
    std::vector<ravo::wire::CloudSite> list;
    for (const auto& edit : *edits)
        applyEdit(edit, list);
    FUZZ_CHECK(list.size() <= edits->size());
    return 0;
}
