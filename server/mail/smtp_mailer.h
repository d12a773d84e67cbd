#pragma once

#include "server/mail/mailer.h"
#include "server/config/server_config.h"

namespace ravo::server {

// Mail over SMTP through libcurl: smtps:// is TLS from the start, smtp:// upgrades with
// STARTTLS, which a server that is not on loopback must offer (unless smtp-tls is off).
class SmtpMailer final : public Mailer {
public:
    explicit SmtpMailer(const ServerConfig& config);
    Status send(const MailMessage& message) override;

    // The message as it goes on the wire, headers and all.
    static std::string compose(const std::string& from, const MailMessage& message);
    // Whether mail to `url` must be encrypted: anywhere but loopback, unless turned off.
    static bool requiresTls(const std::string& url, bool tlsSetting);

private:
    std::string url_, from_;
    std::optional<std::string> user_, password_, caFile_;
    bool tlsRequired_;
};

} // namespace ravo::server
