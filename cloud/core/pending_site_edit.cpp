#include "cloud/core/pending_site_edit.h"

#include "base/json_parse.h"

#include <algorithm>
#include <array>
#include <utility>

namespace ravo::cloud {

namespace {

using Kind = PendingSiteEdit::Kind;

constexpr std::array<std::pair<Kind, std::string_view>, 5> kWords = {
    {{Kind::add, "add"},
     {Kind::remove, "remove"},
     {Kind::enable, "enable"},
     {Kind::disable, "disable"},
     {Kind::interval, "interval"}}};

std::string_view wordOf(Kind kind) {
    return std::find_if(kWords.begin(), kWords.end(), [&](auto& w) { return w.first == kind; })
        ->second;
}

} // namespace

void applyEdit(const PendingSiteEdit& edit, std::vector<wire::CloudSite>& list) {
    const auto same = [&](const wire::CloudSite& site) { return site.id == edit.site.id; };
    switch (edit.kind) {
    case Kind::add:
        // Added meanwhile elsewhere: once is enough.
        if (std::none_of(list.begin(), list.end(), [&](const wire::CloudSite& site) {
                return same(site) || site.url == edit.site.url;
            }))
            list.push_back(edit.site);
        return;
    case Kind::remove:
        std::erase_if(list, same);
        return;
    case Kind::enable:
    case Kind::disable:
        for (auto& site : list)
            if (same(site))
                site.enabled = edit.kind == Kind::enable;
        return;
    case Kind::interval:
        for (auto& site : list)
            site.intervalMinutes = edit.site.intervalMinutes;
        return;
    }
}

std::string encodePendingEdits(const std::vector<PendingSiteEdit>& edits) {
    nlohmann::json list = nlohmann::json::array();
    for (const auto& edit : edits)
        list.push_back({{"edit", wordOf(edit.kind)}, {"site", wire::toJson(edit.site)}});
    return list.dump();
}

Result<std::vector<PendingSiteEdit>> decodePendingEdits(std::string_view text) {
    const auto parsed = parseJson(text);
    if (!parsed)
        return parsed.failure();
    if (!parsed->is_array())
        return Failure{"the pending website edits are not a list"};
    std::vector<PendingSiteEdit> edits;
    for (const auto& item : *parsed) {
        const auto word = item.is_object() && item.contains("edit") && item["edit"].is_string()
                              ? item["edit"].get<std::string>()
                              : std::string();
        const auto known =
            std::find_if(kWords.begin(), kWords.end(), [&](auto& w) { return w.second == word; });
        if (known == kWords.end() || !item.contains("site"))
            return Failure{"pending website edit " + std::to_string(edits.size() + 1) +
                           " is not one Ravo makes"};
        auto site = wire::siteFromJson(item["site"]);
        if (!site)
            return Failure{"pending website edit " + std::to_string(edits.size() + 1) + ": " +
                           site.error()};
        edits.push_back({known->first, std::move(site).value()});
    }
    return edits;
}

} // namespace ravo::cloud
