#pragma once

#include "sessions/core/session_place.h"

namespace ravo::sessions {

// Brings the terminal an agent session runs in to the front: its tmux pane selected, its
// window raised and focused. False when nothing could be found to bring forward.
bool bringSessionForward(const sessions::SessionPlace& place);

} // namespace ravo::sessions
