#pragma once

#include "base/time.h"
#include "usage/core/usage_model.h"

#include <qcoro/qcorotask.h>

namespace ravo::usage {

// One source of a provider's limits, asked by the refresher on every pass.
class UsageProvider {
public:
    virtual ~UsageProvider() = default;
    virtual QCoro::Task<UsageOutcome> fetch(TimePoint now) = 0;
};

} // namespace ravo::usage
