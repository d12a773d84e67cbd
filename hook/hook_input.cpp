#include "hook/hook_input.h"

#include <cerrno>
#include <unistd.h>

namespace ravo::hook {

std::optional<std::string> readStandardInput(std::size_t limit) {
    std::string input;
    bool tooLarge = false;
    char buffer[65536];
    for (;;) {
        const ssize_t n = ::read(STDIN_FILENO, buffer, sizeof buffer);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            break;
        if (!tooLarge && input.size() + static_cast<std::size_t>(n) <= limit)
            input.append(buffer, static_cast<std::size_t>(n));
        else
            tooLarge = true;
    }
    if (tooLarge)
        return std::nullopt;
    return input;
}

} // namespace ravo::hook
