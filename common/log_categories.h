#pragma once

#include <QLoggingCategory>

// One category per coordinator, "io.halvorsund.Ravo.<name>".
Q_DECLARE_LOGGING_CATEGORY(lcApp)
Q_DECLARE_LOGGING_CATEGORY(lcMetrics)
Q_DECLARE_LOGGING_CATEGORY(lcConnection)
Q_DECLARE_LOGGING_CATEGORY(lcSync)
Q_DECLARE_LOGGING_CATEGORY(lcUpdates)

namespace ravo::common {

// Routes the core's log lines to the category of the same name.
void installCoreLogSink();

} // namespace ravo::common
