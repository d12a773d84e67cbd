#include "base/desktop_entry.h"

#include "base/trimmed.h"

namespace ravo {

namespace {

constexpr std::string_view kMainGroup = "[Desktop Entry]";

// The escapes every string value may hold. An unknown one stays as written: Exec's own
// quoting reads "\"" and "\$" after this.
std::string unescapedValue(std::string_view value) {
    std::string out;
    out.reserve(value.size());
    for (std::size_t i = 0; i < value.size(); ++i) {
        if (value[i] != '\\' || i + 1 == value.size()) {
            out += value[i];
            continue;
        }
        switch (value[i + 1]) {
        case 's':
            out += ' ';
            break;
        case 'n':
            out += '\n';
            break;
        case 't':
            out += '\t';
            break;
        case 'r':
            out += '\r';
            break;
        case '\\':
            out += '\\';
            break;
        default:
            out += value[i];
            out += value[i + 1];
            break;
        }
        ++i;
    }
    return out;
}

// Sets `slot` once: a key repeated in the group keeps its first value.
void keepFirst(std::optional<std::string>& slot, std::string_view value) {
    if (!slot)
        slot = unescapedValue(value);
}

bool isFieldCodeDropped(char code) {
    // The deprecated codes (d D n N v m) are dropped too, as the format asks of readers.
    constexpr std::string_view dropped = "fFuUickdDnNvm";
    return dropped.find(code) != std::string_view::npos;
}

bool isSpace(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

} // namespace

Result<DesktopEntry> parseDesktopEntry(std::string_view text) {
    bool seenMainGroup = false;
    bool inMainGroup = false;
    std::optional<std::string> name;
    DesktopEntry entry;
    std::optional<std::string> hidden;
    while (!text.empty()) {
        const std::size_t end = text.find('\n');
        const std::string_view line =
            trimmedView(end == std::string_view::npos ? text : text.substr(0, end));
        text = end == std::string_view::npos ? std::string_view{} : text.substr(end + 1);
        if (line.empty() || line.front() == '#')
            continue;
        if (line.front() == '[') {
            // Only the first [Desktop Entry] counts; actions and other groups follow it.
            inMainGroup = !seenMainGroup && line == kMainGroup;
            seenMainGroup = seenMainGroup || inMainGroup;
            continue;
        }
        const std::size_t equals = line.find('=');
        if (!inMainGroup || equals == std::string_view::npos)
            continue;
        const std::string_view key = trimmedView(line.substr(0, equals));
        const std::string_view value = trimmedView(line.substr(equals + 1));
        if (key == "Name")
            keepFirst(name, value);
        else if (key == "Exec")
            keepFirst(entry.exec, value);
        else if (key == "TryExec")
            keepFirst(entry.tryExec, value);
        else if (key == "Hidden")
            keepFirst(hidden, value);
    }
    if (!seenMainGroup)
        return Failure{"No [Desktop Entry] group"};
    entry.name = name.value_or("");
    entry.hidden = hidden == "true";
    return entry;
}

Result<std::vector<std::string>> splitExecLine(std::string_view exec) {
    std::vector<std::string> argv;
    std::string argument;
    // An argument made of field codes alone goes; a quoted empty one stays.
    bool hasArgument = false;
    bool quoted = false;
    for (std::size_t i = 0; i < exec.size(); ++i) {
        const char c = exec[i];
        if (c == '%') {
            if (i + 1 == exec.size())
                return Failure{"Exec ends in a lone %"};
            const char code = exec[++i];
            if (code == '%') {
                argument += '%';
                hasArgument = true;
            } else if (!isFieldCodeDropped(code)) {
                return Failure{std::string("Exec has an unknown field code %") + code};
            }
        } else if (quoted) {
            if (c == '"') {
                quoted = false;
            } else if (c == '\\' && i + 1 < exec.size() &&
                       std::string_view("\"`$\\").find(exec[i + 1]) != std::string_view::npos) {
                argument += exec[++i];
            } else {
                argument += c;
            }
        } else if (c == '"') {
            quoted = true;
            hasArgument = true;
        } else if (isSpace(c)) {
            if (hasArgument)
                argv.push_back(std::move(argument));
            argument.clear();
            hasArgument = false;
        } else {
            argument += c;
            hasArgument = true;
        }
    }
    if (quoted)
        return Failure{"Exec has a quote that is not closed"};
    if (hasArgument)
        argv.push_back(std::move(argument));
    if (argv.empty() || argv.front().empty())
        return Failure{"Exec names no program"};
    return argv;
}

} // namespace ravo
