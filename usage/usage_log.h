#pragma once

#include <QLoggingCategory>

Q_DECLARE_LOGGING_CATEGORY(lcRefresh)
Q_DECLARE_LOGGING_CATEGORY(lcSnapshot)
