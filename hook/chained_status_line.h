#pragma once

#include <string>

namespace ravo::hook {

// Runs the user's own status-line command through /bin/sh with the same input; its output
// goes straight to Claude Code. Returns false when it could not be started.
bool runChainedStatusLine(const std::string& command, const std::string& input);

} // namespace ravo::hook
