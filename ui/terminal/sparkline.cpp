#include "ui/terminal/sparkline.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace ravo::ui {

std::string sparkline(const std::vector<double>& values, std::optional<double> ceiling) {
    static constexpr std::array<const char*, 8> blocks{"▁", "▂", "▃", "▄", "▅", "▆", "▇", "█"};
    double top = ceiling.value_or(0.0);
    if (!ceiling)
        for (double value : values)
            top = std::max(top, value);
    std::string line;
    for (double value : values) {
        double share = top > 0 && std::isfinite(value) ? value / top : 0.0;
        share = std::clamp(share, 0.0, 1.0);
        line += blocks[static_cast<std::size_t>(std::lround(share * (blocks.size() - 1)))];
    }
    return line;
}

} // namespace ravo::ui
