#include "base/json_file.h"

#include "base/atomic_file.h"
#include "base/json_parse.h"

namespace ravo {

std::optional<nlohmann::json> readJsonObject(const std::optional<std::filesystem::path>& path,
                                             std::size_t maxBytes) {
    if (!path)
        return std::nullopt;
    const auto text = readFile(*path, maxBytes);
    if (!text)
        return std::nullopt;
    auto parsed = parseJson(*text);
    if (!parsed || !parsed->is_object())
        return std::nullopt;
    return std::move(parsed).value();
}

} // namespace ravo
