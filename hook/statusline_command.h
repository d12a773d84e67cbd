#pragma once

#include <string>

namespace ravo::hook {

// `ravo-hook statusline`: stores the limits Claude Code passed, tells the app, then shows
// the user's own status line or a short one of Ravo's.
int runStatusLine(const std::string& input);

} // namespace ravo::hook
