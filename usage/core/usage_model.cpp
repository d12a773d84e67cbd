#include "usage/core/usage_model.h"

#include <algorithm>
#include <cctype>
#include <charconv>

namespace ravo::usage {

std::string_view rawValue(ProviderSetup setup) {
    return setup == ProviderSetup::claudeCodeMissing ? "claudeCodeMissing" : "claudeCodeSignedOut";
}

std::optional<ProviderSetup> setupFromRaw(std::string_view raw) {
    if (raw == "claudeCodeMissing")
        return ProviderSetup::claudeCodeMissing;
    if (raw == "claudeCodeSignedOut")
        return ProviderSetup::claudeCodeSignedOut;
    return std::nullopt;
}

std::string_view message(ProviderSetup setup) {
    if (setup == ProviderSetup::claudeCodeMissing)
        return "Claude limits come from Claude Code. Install it and sign in once; you don't "
               "have to use it.";
    return "Sign in to Claude Code with your Claude subscription to see its limits.";
}

UsageError UsageError::setupRequired(ProviderSetup setup) {
    return UsageError{std::string(usage::message(setup)), setup, std::nullopt};
}

std::string UsageWindow::label() const {
    std::string text = WindowLabel::forMinutes(minutes);
    if (model)
        text += " · " + *model;
    return text;
}

const ProviderUsage* UsageSnapshot::usage(Provider provider) const {
    const auto it = std::find_if(providers.begin(), providers.end(),
                                 [&](const ProviderUsage& u) { return u.provider == provider; });
    return it == providers.end() ? nullptr : &*it;
}

void UsageSnapshot::apply(const UsageOutcome& outcome, Provider provider, TimePoint now) {
    ProviderUsage entry;
    entry.provider = provider;
    if (const ProviderUsage* existing = usage(provider))
        entry = *existing;
    if (const auto* reading = std::get_if<ProviderReading>(&outcome)) {
        entry.plan = reading->plan;
        entry.planMultiplier = reading->planMultiplier;
        entry.windows = reading->windows;
        entry.credits = reading->credits;
        entry.resetCredits = reading->resetCredits;
        entry.updatedAt = std::min(now, reading->fetchedAt.value_or(now));
        entry.error.reset();
        entry.setup.reset();
    } else {
        const auto& error = std::get<UsageError>(outcome);
        if (error.setup) {
            entry.setup = error.setup;
            entry.error.reset();
        } else {
            entry.error = error.message;
            entry.setup.reset();
        }
    }
    std::vector<ProviderUsage> rebuilt;
    for (Provider p : kAllProviders) {
        if (p == provider)
            rebuilt.push_back(entry);
        else if (const ProviderUsage* other = usage(p))
            rebuilt.push_back(*other);
    }
    providers = std::move(rebuilt);
}

void UsageSnapshot::retain(const std::set<Provider>& keep) {
    std::erase_if(providers, [&](const ProviderUsage& u) { return !keep.contains(u.provider); });
}

std::optional<double> UsageSnapshot::peakFraction() const {
    std::optional<double> peak;
    for (const auto& entry : providers)
        for (const auto& window : entry.windows)
            peak = std::max(peak.value_or(0.0), std::clamp(window.usedPercent / 100.0, 0.0, 1.0));
    return peak;
}

bool UsageSnapshot::needsAttention(TimePoint now) const {
    return std::any_of(providers.begin(), providers.end(), [&](const ProviderUsage& u) {
        return u.error && (!u.updatedAt || secondsBetween(*u.updatedAt, now) > 1800.0);
    });
}

std::string capitalizeWords(std::string_view text) {
    std::string result;
    bool wordStart = true;
    for (char c : text) {
        const auto u = static_cast<unsigned char>(c);
        result += static_cast<char>(wordStart ? std::toupper(u) : std::tolower(u));
        wordStart = c == ' ';
    }
    return result;
}

std::string WindowLabel::forMinutes(std::optional<std::int64_t> minutes) {
    if (!minutes)
        return "Limit";
    if (*minutes == 10080)
        return "Week";
    if (*minutes % 1440 == 0)
        return std::to_string(*minutes / 1440) + " d";
    if (*minutes % 60 == 0)
        return std::to_string(*minutes / 60) + " h";
    return std::to_string(*minutes) + " min";
}

std::optional<std::int64_t> PlanName::multiplier(const std::optional<std::string>& plan) {
    if (!plan)
        return std::nullopt;
    // The first run of digits followed by an "x" that ends a word, as in "max_20x".
    const auto isWord = [](char c) {
        return std::isalnum(static_cast<unsigned char>(c)) || c == '_';
    };
    const std::string& text = *plan;
    for (std::size_t start = 0; start < text.size();) {
        if (!std::isdigit(static_cast<unsigned char>(text[start]))) {
            ++start;
            continue;
        }
        std::size_t end = start;
        while (end < text.size() && std::isdigit(static_cast<unsigned char>(text[end])))
            ++end;
        if (end < text.size() && text[end] == 'x' &&
            (end + 1 == text.size() || !isWord(text[end + 1]))) {
            std::int64_t value = 0;
            const auto [ptr, error] =
                std::from_chars(text.data() + start, text.data() + end, value);
            if (error != std::errc{} || ptr != text.data() + end)
                return std::nullopt;
            return value;
        }
        start = end;
    }
    return std::nullopt;
}

std::optional<std::string> PlanName::display(const std::optional<std::string>& plan,
                                             std::optional<std::int64_t> multiplier) {
    if (!plan || plan->empty())
        return std::nullopt;
    std::string spaced = *plan;
    std::replace(spaced.begin(), spaced.end(), '_', ' ');
    std::replace(spaced.begin(), spaced.end(), '-', ' ');
    std::string text = capitalizeWords(spaced);
    if (multiplier && *multiplier >= 2)
        text += " " + std::to_string(*multiplier) + "×";
    return text;
}

} // namespace ravo::usage
