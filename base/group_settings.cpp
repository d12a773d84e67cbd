#include "base/group_settings.h"

#include "base/atomic_file.h"
#include "base/json_file.h"
#include "base/paths.h"

namespace ravo::GroupSettings {

namespace fs = std::filesystem;
using nlohmann::json;

namespace {

std::optional<fs::path> filePath() {
    return paths::inSharedContainer("group.json");
}

json load() {
    return readJsonObject(filePath()).value_or(json::object());
}

} // namespace

bool readBool(const std::string& key) {
    const json settings = load();
    const auto it = settings.find(key);
    return it != settings.end() && it->is_boolean() && it->get<bool>();
}

std::optional<std::vector<std::string>> readStrings(const std::string& key) {
    const json settings = load();
    const auto it = settings.find(key);
    if (it == settings.end() || !it->is_array())
        return std::nullopt;
    std::vector<std::string> values;
    for (const auto& entry : *it)
        if (entry.is_string())
            values.push_back(entry.get<std::string>());
    return values;
}

Status write(const std::string& key, json value) {
    const auto path = filePath();
    if (!path)
        return success();
    json settings = load();
    settings[key] = std::move(value);
    std::error_code error;
    fs::create_directories(path->parent_path(), error);
    return writeFileAtomically(*path, settings.dump(2) + "\n");
}

} // namespace ravo::GroupSettings
