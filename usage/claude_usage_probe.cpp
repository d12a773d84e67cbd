#include "usage/claude_usage_probe.h"

#include "base/agent_detection.h"
#include "base/json_parse.h"
#include "common/settings_values.h"
#include "usage/claude_usage_command.h"
#include "usage/core/claude_account_plan.h"
#include "usage/core/snapshot_json.h"
#include "usage/usage_log.h"

#include <QSettings>

#include <cstdlib>

namespace ravo::usage {

using nlohmann::json;

ClaudeUsageProbe::ClaudeUsageProbe(QSettings* defaults, std::filesystem::path home, QObject* parent)
    : QObject(parent), defaults_(defaults), home_(std::move(home)), runner_(runProcess) {}

bool ClaudeUsageProbe::isEnabled() const {
    return common::readFlag(*defaults_, kEnabled);
}

void ClaudeUsageProbe::setEnabled(bool enabled) {
    defaults_->setValue(kEnabledKey, enabled);
}

namespace {

QProcessEnvironment freshEnvironment(const std::filesystem::path& home) {
    QProcessEnvironment environment;
    environment.insert("HOME", QString::fromStdString(home.string()));
    const char* user = std::getenv("USER");
    environment.insert("USER", QString::fromUtf8(user ? user : ""));
    environment.insert("LANG", "en_US.UTF-8");
    environment.insert("PATH", QString::fromStdString(AgentDetection::searchPath(home)));
    return environment;
}

// The cache is the file's own format for a provider entry, kept as JSON text.
json cacheJson(const ProviderReading& reading, TimePoint fetchedAt) {
    ProviderUsage entry;
    entry.plan = reading.plan;
    entry.planMultiplier = reading.planMultiplier;
    entry.windows = reading.windows;
    entry.updatedAt = fetchedAt;
    UsageSnapshot snapshot;
    snapshot.providers.push_back(entry);
    return snapshotToJson(snapshot, DateStyle::referenceSeconds).at("providers").at(0);
}

} // namespace

std::optional<ProviderReading> ClaudeUsageProbe::cachedReading() const {
    const QString text = defaults_->value(kCacheKey).toString();
    if (text.isEmpty())
        return std::nullopt;
    try {
        const auto entry = parseJson(text.toStdString(), {.maxDepth = 16});
        if (!entry)
            return std::nullopt;
        const auto snapshot = snapshotFromJson(json{{"providers", json::array({*entry})}});
        const ProviderUsage& usage = snapshot.providers.at(0);
        if (!usage.updatedAt)
            return std::nullopt;
        ProviderReading reading{usage.plan, usage.planMultiplier, usage.windows, std::nullopt,
                                0,          usage.updatedAt};
        for (auto& window : reading.windows)
            window.observedAt = usage.updatedAt;
        return reading;
    } catch (const std::exception&) {
        return std::nullopt; // a damaged cache is as good as none
    }
}

void ClaudeUsageProbe::storeCache(const ProviderReading& reading) {
    defaults_->setValue(kCacheKey,
                        QString::fromStdString(
                            cacheJson(reading, reading.fetchedAt.value_or(Clock::now())).dump()));
}

QCoro::Task<std::optional<ProviderReading>> ClaudeUsageProbe::reading(TimePoint now) {
    if (isRunning_ || isRetired_ || (lastRun_ && secondsBetween(*lastRun_, now) < kMinimumInterval))
        co_return cachedReading();
    const auto executable = AgentDetection::claudeExecutable(home_);
    if (!executable)
        co_return cachedReading();

    isRunning_ = true;
    lastRun_ = now;
    const ProcessResult result =
        co_await runner_(QString::fromStdString(executable->string()),
                         ClaudeUsageCommand::arguments(), freshEnvironment(home_), kTimeout);
    isRunning_ = false;

    if (std::holds_alternative<ProcessFailure>(result)) {
        lastError_ = std::get<ProcessFailure>(result) == ProcessFailure::timedOut
                         ? "Claude Code didn't answer in time."
                         : "Claude Code could not be started.";
        qCWarning(lcRefresh).noquote() << QString::fromStdString(*lastError_);
        co_return cachedReading();
    }
    const auto& output = std::get<ProcessOutput>(result);
    const auto parsed = ClaudeUsageCommand::limits(output.standardOutput.toStdString(), now);
    if (const auto* failure = std::get_if<ClaudeUsageCommand::Failure>(&parsed)) {
        lastError_ = std::string(ClaudeUsageCommand::message(*failure));
        if (*failure == ClaudeUsageCommand::Failure::notALocalCommand) {
            isRetired_ = true;
            qCInfo(lcRefresh) << "Claude Code no longer runs /usage locally; stopped asking it "
                                 "until Ravo restarts";
        } else if (*failure == ClaudeUsageCommand::Failure::unreadable) {
            qCWarning(lcRefresh, "Unreadable /usage answer from Claude Code, exit status %d",
                      output.exitStatus);
        } else {
            qCInfo(lcRefresh) << "Claude Code's /usage reported no limits";
        }
        co_return cachedReading();
    }
    ProviderReading reading = ClaudeStatusLine::reading(std::get<ClaudeLimits>(parsed), now);
    if (const auto plan = ClaudeAccountPlan::load(home_)) {
        reading.plan = plan->plan();
        reading.planMultiplier = plan->multiplier();
    }
    lastError_.reset();
    storeCache(reading);
    co_return reading;
}

} // namespace ravo::usage
