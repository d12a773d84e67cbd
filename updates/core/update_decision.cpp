#include "updates/core/update_decision.h"

namespace ravo::updates {

UpdateDecision UpdateDecision::decide(const std::optional<ReleaseManifest>& manifest,
                                      long long runningBuild) {
    if (!manifest)
        return {};
    if (runningBuild < manifest->minimumBuild)
        return {Kind::required, manifest};
    if (runningBuild < manifest->build)
        return {Kind::available, manifest};
    return {};
}

} // namespace ravo::updates
