#include "base/json_parse.h"

#include <string>

namespace ravo {

namespace {

using Json = nlohmann::json;
using DomParser = nlohmann::detail::json_sax_dom_parser<Json>;

// nlohmann's parser itself is iterative; only what is built from the result recurses, so the
// depth is bounded here, while parsing, instead of after the fact.
class BoundedDomParser : public DomParser {
public:
    BoundedDomParser(Json& result, const JsonLimits& limits)
        : DomParser(result, false), limits_(limits) {}

    bool start_object(std::size_t size) { return enter() && DomParser::start_object(size); }
    bool start_array(std::size_t size) { return enter() && DomParser::start_array(size); }
    bool end_object() {
        --depth_;
        return DomParser::end_object();
    }
    bool end_array() {
        --depth_;
        return DomParser::end_array();
    }
    bool key(std::string& name) {
        lastKey_ = name;
        return DomParser::key(name);
    }
    bool number_float(double value, const std::string& text) {
        if (keepsText() && !fitsADouble(text)) {
            std::string copy = text;
            return DomParser::string(copy);
        }
        return DomParser::number_float(value, text);
    }

    template <class Exception>
    bool parse_error(std::size_t, const std::string&, const Exception& exception) {
        if (error_.empty())
            error_ = readable(exception.what());
        return false;
    }

    const std::string& error() const { return error_; }

private:
    bool enter() {
        if (++depth_ <= limits_.maxDepth)
            return true;
        error_ = "it nests deeper than " + std::to_string(limits_.maxDepth) + " levels";
        return false;
    }
    bool keepsText() const {
        for (auto key : limits_.exactDecimalKeys)
            if (key == lastKey_)
                return true;
        return false;
    }
    // A double keeps any decimal of up to 15 significant digits exactly.
    static bool fitsADouble(const std::string& text) {
        int significant = 0;
        bool leading = true;
        for (char c : text) {
            if (c == 'e' || c == 'E')
                break;
            if (c < '0' || c > '9')
                continue;
            leading = leading && c == '0';
            if (!leading)
                ++significant;
        }
        return significant <= 15;
    }
    // "[json.exception.parse_error.101] parse error at ..." reads better without the tag.
    static std::string readable(std::string message) {
        if (const auto close = message.find("] ");
            message.rfind("[json.", 0) == 0 && close != std::string::npos)
            message.erase(0, close + 2);
        return message;
    }

    const JsonLimits& limits_;
    std::size_t depth_ = 0;
    std::string lastKey_;
    std::string error_;
};

} // namespace

Result<Json> parseJson(std::string_view text, const JsonLimits& limits) {
    Json result;
    BoundedDomParser parser(result, limits);
    try {
        const bool parsed =
            Json::sax_parse(text.begin(), text.end(), &parser, Json::input_format_t::json, true);
        if (!parsed || parser.is_errored())
            return Failure{parser.error().empty() ? std::string("it is not valid JSON")
                                                  : parser.error()};
    } catch (const std::exception& exception) {
        // Nothing is expected here; a library surprise still must not escape a parser.
        return Failure{exception.what()};
    } catch (...) {
        return Failure{"it could not be parsed"};
    }
    return result;
}

Json parseJsonOrDiscarded(std::string_view text, const JsonLimits& limits) {
    auto parsed = parseJson(text, limits);
    if (!parsed)
        return Json(Json::value_t::discarded);
    return std::move(parsed).value();
}

} // namespace ravo
