#pragma once

#include "usage/core/provider.h"

#include <string>

namespace ravo::hook {

// `ravo-hook claude` and `ravo-hook codex`: moves the session's record on by the event's
// rules and tells the app when the folder changed. Prints nothing.
int runSessionHook(usage::Provider provider, const std::string& input);

} // namespace ravo::hook
