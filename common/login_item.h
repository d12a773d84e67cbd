#pragma once

#include "base/result.h"

namespace ravo::common {

// Starting Ravo when the user logs in.
class LoginItem {
public:
    virtual ~LoginItem() = default;
    virtual bool isEnabled() const = 0;
    virtual Status setEnabled(bool enabled) = 0;
};

} // namespace ravo::common
