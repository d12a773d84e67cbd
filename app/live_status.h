#pragma once

#include "app/status_report.h"
#include "ui/coordinators.h"

#include <QString>

#include <functional>

#include <optional>
#include <string>

namespace ravo::app {

// What the running Ravo knows, as `ravo status` reports it: the connection as its watchdog
// judged it, the websites as last polled, and `system`, a full reading (the views sample
// only what they show). Nothing before the watchdog's first verdict.
std::optional<StatusReport> liveStatusReport(const ui::Coordinators& parts,
                                             metrics::SystemReading system);

// Answers another process's `report <what>`: "status json", or "status text LOCALE" with
// the asker's locale name (the answer comes a second later: rates need two samples),
// "sites json|text", or "speedtests" (the history document, which knows whether a test runs
// now); nothing when this Ravo cannot say (the asker looks itself).
void answerReport(const ui::Coordinators& parts, const QString& what,
                  std::function<void(std::optional<std::string>)> reply);

// The question `ravo status` asks a running Ravo.
QString statusQuestion(bool json);
inline constexpr const char* kSpeedTestsQuestion = "report speedtests";

} // namespace ravo::app
