#pragma once

#include "base/result.h"
#include "wire/wire_records.h"

#include <string>
#include <string_view>
#include <vector>

namespace ravo::cloud {

// An edit of the site list made on this computer and not yet on the server. It is kept as
// what it does, not as the list it made, so it lands on the list the server has when it is
// sent, also after a restart.
struct PendingSiteEdit {
    enum class Kind { add, remove, enable, disable, interval };
    Kind kind = Kind::add;
    // add: the site; interval: the minutes every site gets; the others: the site's id.
    wire::CloudSite site;
    bool operator==(const PendingSiteEdit&) const = default;
};

void applyEdit(const PendingSiteEdit& edit, std::vector<wire::CloudSite>& list);

std::string encodePendingEdits(const std::vector<PendingSiteEdit>& edits);
// A text not wholly understood is refused: an edit is never half applied.
Result<std::vector<PendingSiteEdit>> decodePendingEdits(std::string_view text);

} // namespace ravo::cloud
