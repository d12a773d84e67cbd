#include "base/number_format.h"

#include <array>
#include <charconv>
#include <cstdlib>
#include <initializer_list>

namespace ravo {

FormatLocale FormatLocale::named(std::string_view name) {
    // Languages that write a decimal comma, and those that set "%" apart (CLDR).
    static constexpr std::array<std::string_view, 24> commaLanguages{
        "de", "fr", "nb", "nn", "no", "sv", "da", "fi", "es", "it", "nl", "pt",
        "ru", "pl", "cs", "sk", "tr", "uk", "hu", "ro", "el", "is", "id", "vi"};
    static constexpr std::array<std::string_view, 15> spacedPercentLanguages{
        "de", "nb", "nn", "no", "sv", "da", "fi", "es", "ru", "pl", "cs", "sk", "uk", "ro", "bg"};
    constexpr std::string_view kNoBreakSpace = "\u00a0", kNarrowNoBreakSpace = "\u202f";
    const std::string_view language = name.substr(0, name.find_first_of("_.@-"));
    FormatLocale locale;
    for (std::string_view comma : commaLanguages)
        if (language == comma)
            locale.decimalSeparator = ',';
    for (std::string_view spaced : spacedPercentLanguages)
        if (language == spaced)
            locale.percentSpace = kNoBreakSpace;
    if (language == "fr")
        locale.percentSpace = kNarrowNoBreakSpace;
    locale.percentFirst = language == "tr";
    // The territories that measure in Fahrenheit (CLDR).
    static constexpr std::array<std::string_view, 6> fahrenheitTerritories{"US", "BS", "BZ",
                                                                           "KY", "PW", "LR"};
    if (const auto underscore = name.find('_'); underscore != std::string_view::npos) {
        const std::string_view territory = name.substr(underscore + 1, 2);
        for (std::string_view fahrenheit : fahrenheitTerritories)
            if (territory == fahrenheit)
                locale.temperatureUnit = TemperatureUnit::fahrenheit;
    }
    return locale;
}

namespace {

const char* firstSet(std::initializer_list<const char*> variables) {
    for (const char* variable : variables)
        if (const char* value = std::getenv(variable); value && value[0])
            return value;
    return nullptr;
}

} // namespace

FormatLocale FormatLocale::fromEnvironment() {
    const char* numbers = firstSet({"LC_ALL", "LC_NUMERIC", "LANG"});
    FormatLocale locale = numbers ? named(numbers) : FormatLocale{};
    const char* measurement = firstSet({"LC_ALL", "LC_MEASUREMENT", "LANG"});
    locale.temperatureUnit =
        measurement ? named(measurement).temperatureUnit : TemperatureUnit::celsius;
    return locale;
}

std::string NumberFormat::decimal(double value, int digits, const FormatLocale& locale) {
    if (value == 0)
        value = 0; // no "-0"
    // to_chars rounds as printf does, without its locale and format-string machinery.
    char buffer[400]; // the widest double in fixed notation
    const auto written =
        std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed, digits);
    std::string text(buffer, written.ec == std::errc() ? written.ptr : buffer);
    if (const auto dot = text.find('.'); dot != std::string::npos) {
        while (text.back() == '0')
            text.pop_back();
        if (text.back() == '.')
            text.pop_back();
        else
            text[dot] = locale.decimalSeparator;
    }
    return text;
}

} // namespace ravo
