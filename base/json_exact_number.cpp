#include "base/json_exact_number.h"

#include <charconv>
#include <cstdio>
#include <random>

namespace ravo::JsonExactNumber {

namespace {

std::string dumped(const nlohmann::json& document, int indent) {
    return document.dump(indent, ' ', false, nlohmann::json::error_handler_t::replace);
}

std::string nonce() {
    static thread_local std::mt19937_64 random{std::random_device{}()};
    char text[40];
    std::snprintf(text, sizeof text, "%016llx%016llx", static_cast<unsigned long long>(random()),
                  static_cast<unsigned long long>(random()));
    return text;
}

} // namespace

std::string dump(nlohmann::json document, const std::vector<Exact>& numbers, int indent) {
    if (numbers.empty())
        return dumped(document, indent);
    // The placeholders carry a nonce that the document's own text does not hold, so nothing
    // that came from outside can be taken for one.
    for (const auto& number : numbers)
        document[number.at] = nullptr;
    const std::string plain = dumped(document, indent);
    std::string tag;
    do
        tag = "exact-" + nonce() + ":";
    while (plain.find(tag) != std::string::npos);
    for (std::size_t i = 0; i < numbers.size(); ++i)
        document[numbers[i].at] = tag + std::to_string(i);

    const std::string text = dumped(document, indent);
    const std::string opening = "\"" + tag;
    std::string out;
    out.reserve(text.size());
    std::size_t position = 0;
    for (auto start = text.find(opening); start != std::string::npos;
         start = text.find(opening, position)) {
        // The placeholder is ours, "<tag><index>"; anything else is left as it stands.
        const auto digits = start + opening.size();
        const auto close = text.find('"', digits);
        std::size_t index = numbers.size();
        if (close != std::string::npos)
            std::from_chars(text.data() + digits, text.data() + close, index);
        if (index >= numbers.size())
            break;
        out.append(text, position, start - position);
        out.append(numbers[index].decimal);
        position = close + 1;
    }
    out.append(text, position, std::string::npos);
    return out;
}

} // namespace ravo::JsonExactNumber
