// A .desktop file as any package or the user may have written it, and its Exec line.
#include "base/desktop_entry.h"
#include "fuzz_check.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

using namespace ravo;

namespace {

// The argument as an Exec line quotes it, so splitting gives it back.
std::string quoted(const std::string& argument) {
    std::string out = "\"";
    for (char c : argument) {
        if (c == '"' || c == '`' || c == '$' || c == '\\')
            out += '\\';
        if (c == '%')
            out += '%';
        out += c;
    }
    return out + "\"";
}

void checkSplit(std::string_view exec) {
    const auto argv = splitExecLine(exec);
    if (!argv) {
        FUZZ_CHECK(!argv.error().empty());
        return;
    }
    FUZZ_CHECK(!argv->empty() && !argv->front().empty());
    std::string line;
    for (const std::string& argument : *argv)
        line += quoted(argument) + " ";
    const auto again = splitExecLine(line);
    FUZZ_CHECK(again.ok() && *again == *argv);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const auto entry = parseDesktopEntry(text);
    if (!entry) {
        FUZZ_CHECK(!entry.error().empty());
    } else if (entry->exec) {
        FUZZ_CHECK(entry->exec->size() <= text.size());
        checkSplit(*entry->exec);
    }
    checkSplit(text);
    return 0;
}
