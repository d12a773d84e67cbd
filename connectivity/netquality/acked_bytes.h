#pragma once

#include <cstdint>
#include <optional>

namespace ravo::connectivity {

// What the peer acknowledged of an upload on `socket`, as the kernel counts it; nothing where
// it cannot say. Bytes still in send buffers and queues have not crossed the link.
std::optional<std::int64_t> acknowledgedBytes(int socket);

// Closing `socket` drops what is still buffered instead of sending it on, so a load does not
// outlive its phase in the queues.
void discardOnClose(int socket);

} // namespace ravo::connectivity
