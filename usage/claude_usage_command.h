#pragma once

#include "base/time.h"
#include "usage/core/claude_limits.h"

#include <QStringList>

#include <optional>
#include <string>
#include <string_view>
#include <variant>

// Claude Code's own `/usage` command, run once without a session, and what it prints.
namespace ravo::usage::ClaudeUsageCommand {

enum class Failure { unreadable, notALocalCommand, noLimits };

std::string_view message(Failure failure);

QStringList arguments();

// The lines "Current session: 39% used · resets 3pm (Europe/Oslo)" and their weekly kin.
std::variant<ClaudeLimits, Failure> limits(std::string_view standardOutput, TimePoint now);

// "3pm", "10:30am", "Jan 5 at 3pm", "15:00" in the named zone: the next such moment.
std::optional<TimePoint> resetDate(std::string_view text, std::string_view zone, TimePoint now);

// "Fable only" -> "fable", "Opus 4.1 only" -> "opus_4_1".
std::string modelKey(std::string_view scope);

} // namespace ravo::usage::ClaudeUsageCommand
