#include "ui/terminal/dashboard_blocks.h"

#include "metrics/core/metric_level.h"
#include "sessions/core/session_list.h"
#include "usage/core/usage_text.h"

#include <algorithm>

namespace ravo::ui::dashboard {

using namespace metrics;

namespace {

Tone stateTone(sessions::AgentSession::State state) {
    switch (state) {
    case sessions::AgentSession::State::running:
        return Tone::accent;
    case sessions::AgentSession::State::waiting:
        return Tone::warning;
    case sessions::AgentSession::State::done:
        return Tone::good;
    }
    return Tone::plain;
}

} // namespace

CellStyle toneOf(std::optional<MetricLevel> level) {
    if (!level)
        return {Tone::dim};
    switch (*level) {
    case MetricLevel::normal:
        return {};
    case MetricLevel::warning:
        return {Tone::warning};
    case MetricLevel::critical:
        return {Tone::critical, true};
    }
    return {};
}

std::string bar(double fraction, int width) {
    const int filled = static_cast<int>(std::clamp(fraction, 0.0, 1.0) * width + 0.5);
    std::string text;
    for (int i = 0; i < width; ++i)
        text += i < filled ? "█" : "░";
    return text;
}

Block limitsBlock(const DashboardFrame& frame, int width) {
    Block block{DashboardSection::limits, "AI limits", {}, {}};
    if (!frame.usage || frame.usage->providers.empty()) {
        block.lines.push_back({{{0, "Asking Claude Code and Codex…", {Tone::dim}}}});
        return block;
    }
    const int labelWidth = 14;
    const int barWidth = std::clamp(width - 2 - labelWidth - 34, 6, 30);
    for (const auto& provider : frame.usage->providers) {
        Line plan{{{0, usage::UsageText::planLine(provider), {Tone::plain, true}}}};
        // Each provider says how old its own figures are: one may lag behind the other.
        if (provider.updatedAt) {
            const std::string when =
                "as of " + sessions::SessionList::age(*provider.updatedAt, frame.now);
            plan.spans.push_back(
                {std::max(width - displayWidth(when), labelWidth + 8),
                 when,
                 {usage::UsageText::isStale(provider, frame.now) ? Tone::warning : Tone::dim}});
        }
        block.lines.push_back(std::move(plan));
        // The fullest window stays longest.
        const auto fullest = std::max_element(
            provider.windows.begin(), provider.windows.end(),
            [](const auto& a, const auto& b) { return a.usedPercent < b.usedPercent; });
        for (auto window = provider.windows.begin(); window != provider.windows.end(); ++window) {
            const double fraction = std::clamp(window->usedPercent / 100.0, 0.0, 1.0);
            std::string figures = usage::UsageText::percentUsed(*window) + " used";
            if (window->resetsAt)
                figures += " · resets " + usage::UsageText::timeUntil(*window->resetsAt, frame.now);
            block.lines.push_back(
                {{{2, window->label(), {}, labelWidth - 1},
                  {2 + labelWidth, bar(fraction, barWidth), toneOf(levelFor(fraction))},
                  {3 + labelWidth + barWidth, figures, {}}},
                 window == fullest ? 0 : 2});
        }
        // Credits, a setup to finish, an error: the lines after the windows.
        const auto described = usage::UsageText::describe(provider, frame.now);
        for (std::size_t i = provider.windows.size(); i < described.size(); ++i) {
            const bool trouble = provider.setup || (provider.error && i + 1 == described.size());
            // What went wrong is read in full; its first line stays longest.
            int priority = trouble ? 0 : 2;
            for (const auto& part : wrapText(described[i], width - 2)) {
                block.lines.push_back(
                    {{{2, part, {trouble ? Tone::warning : Tone::plain}}}, priority});
                priority = std::max(priority, 1);
            }
        }
    }
    return block;
}

Block sessionsBlock(const DashboardFrame& frame, const DashboardView& view, int width) {
    Block block{DashboardSection::sessions, "Agent sessions", {}, {}};
    if (!frame.tracksSessions) {
        block.lines.push_back(
            {{{0, "Tracking is off; turn it on with `ravo hooks install`.", {Tone::dim}}}});
        return block;
    }
    if (frame.sessions.empty()) {
        block.lines.push_back({{{0, "None right now.", {Tone::dim}}}});
        return block;
    }
    const bool focused = view.focus == DashboardSection::sessions;
    for (int i = 0; i < static_cast<int>(frame.sessions.size()); ++i) {
        const auto& session = frame.sessions[static_cast<std::size_t>(i)];
        const std::string age = sessions::SessionList::age(session.updatedAt, frame.now);
        std::string what = session.project;
        if (session.title)
            what += " — " + *session.title;
        const int ageColumn = width - displayWidth(age);
        block.lines.push_back(
            {{{0, std::string(rawValue(session.state)), {stateTone(session.state), true}, 8},
              {9, std::string(usage::displayName(session.provider)), {}, 7},
              {17, what, {}, std::max(ageColumn - 18, 1)},
              {ageColumn, age, {Tone::dim}}},
             0,
             i,
             focused && view.selectedSession == i});
    }
    return block;
}

} // namespace ravo::ui::dashboard
