#pragma once

#include <array>
#include <optional>
#include <string_view>

namespace ravo::usage {

// Case order is the display order everywhere.
enum class Provider { claude, codex };

inline constexpr std::array<Provider, 2> kAllProviders{Provider::claude, Provider::codex};

constexpr std::string_view rawValue(Provider provider) {
    return provider == Provider::claude ? "claude" : "codex";
}

constexpr std::string_view displayName(Provider provider) {
    return provider == Provider::claude ? "Claude" : "Codex";
}

constexpr std::optional<Provider> providerFromRaw(std::string_view raw) {
    if (raw == "claude")
        return Provider::claude;
    if (raw == "codex")
        return Provider::codex;
    return std::nullopt;
}

} // namespace ravo::usage
