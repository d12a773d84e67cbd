#pragma once

#include "ui/coordinators.h"

#include <QString>

#include <functional>
#include <optional>
#include <string>

namespace ravo::app {

// Answers another process's `report sites json|text` with the sites as this Ravo has them
// after asking the server once more, so the command and the views agree; nothing when it is
// not signed in (the asker looks itself).
void answerSitesReport(const ui::Coordinators& parts, bool json,
                       std::function<void(std::optional<std::string>)> reply);

// The question `ravo sites` asks a running Ravo.
QString sitesQuestion(bool json);

} // namespace ravo::app
