#pragma once

#include "cloud/cloud_account.h"
#include "cloud/core/websites_status.h"

#include <QSettings>

namespace ravo::cloud {

// The saved sites with the server's latest states, for the terminal commands. The account
// is resumed from the secret store, waited for at most CloudAccount::kSecretWait; a server failure goes through the account (a 401
// signs out) and into `error`.
QCoro::Task<WebsitesStatus> readWebsitesStatus(CloudAccount& account, QSettings& settings);

} // namespace ravo::cloud
