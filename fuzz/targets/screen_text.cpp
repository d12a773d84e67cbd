// What the terminal dashboard measures and cuts: project names, titles and messages from
// outside. The first byte picks the width.
#include "fuzz_check.h"
#include "ui/terminal/screen_grid.h"

#include <clocale>
#include <cstddef>
#include <cstdint>
#include <string_view>

using namespace ravo::ui;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const bool utf8 = std::setlocale(LC_CTYPE, "C.UTF-8") != nullptr;
    (void)utf8;
    if (size == 0)
        return 0;
    const int width = data[0] % 90;
    const std::string_view text(reinterpret_cast<const char*>(data + 1), size - 1);

    const std::string fitted = fitText(text, width);
    FUZZ_CHECK(displayWidth(fitted) <= width);
    if (displayWidth(text) <= width)
        FUZZ_CHECK(displayWidth(fitted) == displayWidth(text));
    for (const auto& line : wrapText(text, width))
        FUZZ_CHECK(displayWidth(line) <= width && !line.empty());

    ScreenGrid grid(width, 2);
    const int end = grid.put(1, width / 3, text);
    FUZZ_CHECK(end <= width);
    FUZZ_CHECK(displayWidth(grid.rowText(1)) <= width);
    return 0;
}
