#include "usage/usage_log.h"

Q_LOGGING_CATEGORY(lcRefresh, "io.halvorsund.Ravo.refresh")
Q_LOGGING_CATEGORY(lcSnapshot, "io.halvorsund.Ravo.snapshot")
