#pragma once

#include "base/result.h"

#include <string>

namespace ravo::server {

struct MailMessage {
    std::string to;
    std::string subject;
    std::string text;
};

class Mailer {
public:
    virtual ~Mailer() = default;
    virtual Status send(const MailMessage& message) = 0;
};

} // namespace ravo::server
