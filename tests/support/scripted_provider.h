#pragma once

#include "usage/usage_provider.h"

#include <QTimer>

#include <qcoro/qcorotimer.h>
#include <string>
#include <vector>

namespace ravo::testing {

// A usage provider whose answer arrives after a delay on the event loop, like a child
// process's, and that counts how often it was asked.
struct ScriptedProvider final : usage::UsageProvider {
    usage::UsageOutcome outcome = usage::ProviderReading{};
    std::chrono::milliseconds delay{0};
    int calls = 0;
    // When set, "start <name>" is noted when asked and "<name>" when answering.
    std::vector<std::string>* events = nullptr;
    std::string name;

    QCoro::Task<usage::UsageOutcome> fetch(TimePoint) override {
        ++calls;
        if (events)
            events->push_back("start " + name);
        QTimer timer;
        timer.setSingleShot(true);
        timer.start(delay);
        co_await timer;
        if (events)
            events->push_back(name);
        usage::UsageOutcome answer = outcome; // g++ 12 would move the member out
        co_return answer;
    }
};

inline usage::ProviderReading readingWithWindow(const char* id, double usedPercent,
                                                std::optional<std::int64_t> minutes = 300) {
    usage::ProviderReading reading;
    usage::UsageWindow window;
    window.id = id;
    window.minutes = minutes;
    window.usedPercent = usedPercent;
    reading.windows.push_back(window);
    return reading;
}

} // namespace ravo::testing
