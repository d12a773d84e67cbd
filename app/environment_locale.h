#pragma once

#include "metrics/core/metric_format.h"

namespace ravo::app {

// The number format of the user's locale (LC_ALL, LC_NUMERIC, LANG).
metrics::FormatLocale environmentLocale();

} // namespace ravo::app
