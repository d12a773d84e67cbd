#include "app/environment_locale.h"

#include <cstdlib>

namespace ravo::app {

metrics::FormatLocale environmentLocale() {
    for (const char* name : {"LC_ALL", "LC_NUMERIC", "LANG"})
        if (const char* value = std::getenv(name); value && value[0])
            return metrics::FormatLocale::named(value);
    return {};
}

} // namespace ravo::app
