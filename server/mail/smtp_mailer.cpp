#include "server/mail/smtp_mailer.h"

#include "server/config/secrets.h"
#include "server/net/ip_address.h"
#include "server/net/ip_network.h"

#include <curl/curl.h>

#include <cstring>
#include <ctime>

namespace ravo::server {

namespace {

struct Upload {
    std::string data;
    std::size_t offset = 0;
};

std::size_t readUpload(char* buffer, std::size_t size, std::size_t count, void* user) {
    auto* upload = static_cast<Upload*>(user);
    const std::size_t room = size * count;
    const std::size_t left = upload->data.size() - upload->offset;
    const std::size_t n = std::min(room, left);
    std::memcpy(buffer, upload->data.data() + upload->offset, n);
    upload->offset += n;
    return n;
}

// Header values never carry a line break a client sent.
std::string oneLine(std::string text) {
    for (char& c : text)
        if (c == '\r' || c == '\n')
            c = ' ';
    return text;
}

} // namespace

SmtpMailer::SmtpMailer(const ServerConfig& config)
    : url_(config.smtpURL.value_or("")), from_(config.mailFrom), user_(config.smtpUser),
      password_(config.smtpPassword), caFile_(config.smtpCAFile),
      tlsRequired_(requiresTls(url_, config.smtpTls)) {}

bool SmtpMailer::requiresTls(const std::string& url, bool tlsSetting) {
    if (!tlsSetting)
        return false;
    const auto scheme = url.find("://");
    std::string_view host =
        std::string_view(url).substr(scheme == std::string::npos ? 0 : scheme + 3);
    host = host.substr(0, host.find('/'));
    if (const auto at = host.rfind('@'); at != std::string_view::npos)
        host.remove_prefix(at + 1);
    if (host.starts_with('['))
        host = host.substr(0, host.find(']') + 1);
    else
        host = host.substr(0, host.find(':'));
    if (host == "localhost")
        return false;
    const auto address = parseIpAddress(host);
    static const IpNetwork loopback4 = parseIpNetwork("127.0.0.0/8").value();
    static const IpNetwork loopback6 = parseIpNetwork("::1/128").value();
    return !address || !(loopback4.contains(*address) || loopback6.contains(*address));
}

std::string SmtpMailer::compose(const std::string& from, const MailMessage& message) {
    char date[64];
    const std::time_t now = std::time(nullptr);
    std::tm tm{};
    gmtime_r(&now, &tm);
    std::strftime(date, sizeof date, "%a, %d %b %Y %H:%M:%S +0000", &tm);
    const std::string domain = from.substr(from.find('@') + 1);
    std::string text = message.text;
    std::string body;
    for (char c : text) {
        if (c == '\n')
            body += "\r\n";
        else if (c != '\r')
            body += c;
    }
    return "Date: " + std::string(date) + "\r\n" + "From: " + oneLine(from) + "\r\n" +
           "To: " + oneLine(message.to) + "\r\n" + "Message-ID: <" + Secrets::randomUUID() + "@" +
           oneLine(domain) + ">\r\n" + "Subject: " + oneLine(message.subject) + "\r\n" +
           "MIME-Version: 1.0\r\n" + "Content-Type: text/plain; charset=utf-8\r\n" +
           "Content-Transfer-Encoding: 8bit\r\n\r\n" + body + "\r\n";
}

Status SmtpMailer::send(const MailMessage& message) {
    if (url_.empty())
        return Failure{"no SMTP server is configured (--smtp)"};
    CURL* curl = curl_easy_init();
    if (!curl)
        return Failure{"cannot start an SMTP client"};
    Upload upload{compose(from_, message)};
    curl_slist* recipients = curl_slist_append(nullptr, ("<" + message.to + ">").c_str());
    curl_easy_setopt(curl, CURLOPT_URL, url_.c_str());
    curl_easy_setopt(curl, CURLOPT_MAIL_FROM, ("<" + from_ + ">").c_str());
    curl_easy_setopt(curl, CURLOPT_MAIL_RCPT, recipients);
    curl_easy_setopt(curl, CURLOPT_READFUNCTION, readUpload);
    curl_easy_setopt(curl, CURLOPT_READDATA, &upload);
    curl_easy_setopt(curl, CURLOPT_UPLOAD, 1L);
    // Required: a server that does not offer STARTTLS fails the mail instead of getting it in
    // plain text. smtps:// is encrypted from the start either way.
    curl_easy_setopt(curl, CURLOPT_USE_SSL,
                     static_cast<long>(tlsRequired_ ? CURLUSESSL_ALL : CURLUSESSL_TRY));
    if (caFile_)
        curl_easy_setopt(curl, CURLOPT_CAINFO, caFile_->c_str());
    curl_easy_setopt(curl, CURLOPT_TIMEOUT, 20L);
    curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
    if (user_)
        curl_easy_setopt(curl, CURLOPT_USERNAME, user_->c_str());
    if (password_)
        curl_easy_setopt(curl, CURLOPT_PASSWORD, password_->c_str());
    const CURLcode result = curl_easy_perform(curl);
    curl_slist_free_all(recipients);
    curl_easy_cleanup(curl);
    if (result == CURLE_USE_SSL_FAILED)
        return Failure{"the mail server does not offer STARTTLS, and mail goes out encrypted "
                       "(smtp-tls = off sends it in plain text)"};
    if (result != CURLE_OK)
        return Failure{std::string("the mail could not be sent: ") + curl_easy_strerror(result)};
    return success();
}

} // namespace ravo::server
