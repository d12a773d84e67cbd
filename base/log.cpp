#include "base/log.h"

#include <atomic>

namespace ravo::log {

namespace {
std::atomic<Sink> currentSink{nullptr};
}

void setSink(Sink sink) {
    currentSink.store(sink);
}

void write(std::string_view category, Level level, std::string_view message) {
    if (auto sink = currentSink.load())
        sink(category, level, message);
}

} // namespace ravo::log
